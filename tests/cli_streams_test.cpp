// The command's building blocks for large schemas: JSON written as a stream, laid out byte for
// byte as the JSON library lays out the same document, and tables spread over worker threads.
#include <atomic>
#include <cstdio>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "cli/json_stream.h"
#include "cli/utf8.h"
#include "cli/workers.h"
#include "test_support.h"

namespace {

using Json = nlohmann::ordered_json;

// Text of any bytes below 0x80 (every control character, quotes and backslashes included) and a
// few UTF-8 sequences.
std::string RandomText(std::mt19937& random) {
  static const char* const kPieces[] = {"\xc3\xa9", "\xe4\xb8\xad", "\xf0\x9f\x98\x80", "\x7f"};
  std::string text;
  const int length = static_cast<int>(random() % 8);
  for (int i = 0; i < length; ++i) {
    if (random() % 5 == 0) {
      text += kPieces[random() % 4];
    } else {
      text += static_cast<char>(random() % 0x80);
    }
  }
  return text;
}

// Writes a random value both ways: into the tree and into the stream.
Json RandomValue(std::mt19937& random, int depth, JsonStream& stream) {
  switch (depth > 2 ? random() % 4 : random() % 6) {
    case 0: {
      const std::string text = RandomText(random);
      stream.String(text);
      return Json(text);
    }
    case 1: {
      const long long number = static_cast<long long>(random() % 2000) - 1000;
      stream.Number(number);
      return Json(number);
    }
    case 2: {
      const bool value = random() % 2 == 0;
      stream.Bool(value);
      return Json(value);
    }
    case 3:
      stream.Null();
      return Json(nullptr);
    case 4: {
      Json array = Json::array();
      stream.BeginArray();
      const int size = static_cast<int>(random() % 4);
      for (int i = 0; i < size; ++i) array.push_back(RandomValue(random, depth + 1, stream));
      stream.EndArray();
      return array;
    }
    default: {
      Json object = Json::object();
      stream.BeginObject();
      const int size = static_cast<int>(random() % 4);
      for (int i = 0; i < size; ++i) {
        const std::string key = "k" + std::to_string(i);
        stream.Key(key.c_str());
        object[key] = RandomValue(random, depth + 1, stream);
      }
      stream.EndObject();
      return object;
    }
  }
}

TEST(JsonStream, LaysOutDocumentsAsTheLibraryDumpsThem) {
  std::mt19937 random(7);
  for (int round = 0; round < 2000; ++round) {
    std::ostringstream out;
    JsonStream stream(out, 0);
    const Json tree = RandomValue(random, 0, stream);
    EXPECT_EQ(out.str(), tree.dump(2)) << "round " << round;
  }
}

TEST(JsonStream, EscapesQuotesBackslashesAndControlCharacters) {
  std::ostringstream out;
  JsonStream stream(out, 1);
  stream.BeginObject();
  stream.Key("text");
  stream.String(std::string("a\"b\\c\b\f\n\r\t\x01\x1f\x7f\xc3\xa9", 15));
  stream.Key("empty");
  stream.BeginArray();
  stream.EndArray();
  stream.Key("not utf-8");
  stream.String("a\xff\xc3");
  stream.EndObject();
  EXPECT_EQ(out.str(),
            "{\n    \"text\": \"a\\\"b\\\\c\\b\\f\\n\\r\\t\\u0001\\u001f\x7f\xc3\xa9\",\n"
            "    \"empty\": [],\n"
            "    \"not utf-8\": \"a\xef\xbf\xbd\xef\xbf\xbd\"\n  }");
}

// A string as the stream must write it: made valid UTF-8 first, then quoted and escaped.
std::string QuotedAsDefined(const std::string& text) {
  std::string quoted = "\"";
  for (const char byte : ToValidUtf8(text)) {
    const unsigned char c = static_cast<unsigned char>(byte);
    if (c == '"' || c == '\\') {
      quoted += '\\';
      quoted += byte;
    } else if (c < 0x20) {
      const char* const named = c == '\b'   ? "\\b"
                                : c == '\f' ? "\\f"
                                : c == '\n' ? "\\n"
                                : c == '\r' ? "\\r"
                                : c == '\t' ? "\\t"
                                            : nullptr;
      char escaped[8];
      std::snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned>(c));
      quoted += named != nullptr ? named : escaped;
    } else {
      quoted += byte;
    }
  }
  return quoted + "\"";
}

TEST(JsonStream, WritesAnyBytesAsTheirValidEscapedText) {
  std::mt19937 random(3);
  // Runs of plain text, with quotes, controls, valid and broken multi-byte sequences between.
  const char* const pieces[] = {"plain text",
                                "\"",
                                "\\",
                                "\n",
                                "\x01",
                                "\x7f",
                                "\xc3\xa9",
                                "\xe4\xb8\xad",
                                "\xf0\x9f\x98\x80",
                                "\xff",
                                "\xc3",
                                "\xed\xa0\x80",
                                "\xe0\x80\x80",
                                "\x80",
                                "abcdefgh",
                                "12345678901234567"};
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    const int count = static_cast<int>(random() % 12);
    for (int i = 0; i < count; ++i) text += pieces[random() % 16];
    std::ostringstream out;
    {
      JsonStream stream(out, 0);
      stream.String(text);
    }
    ASSERT_EQ(out.str(), QuotedAsDefined(text)) << "round " << round;
  }
}

TEST(Workers, CallsEveryItemOnceWhateverTheWorkerCount) {
  for (const unsigned workers : {0U, 1U, 3U, 16U}) {
    std::vector<std::atomic<int>> calls(100);
    ForEachOnWorkers(calls.size(), workers, [&](size_t i) { ++calls[i]; });
    for (const std::atomic<int>& count : calls) EXPECT_EQ(count.load(), 1) << workers;
  }
  ForEachOnWorkers(0, 4, [](size_t) { FAIL() << "no item to call"; });
}

TEST(Workers, ThrowsTheFailureOfAnItemAfterEveryWorkerStopped) {
  std::atomic<int> calls{0};
  EXPECT_THROW(ForEachOnWorkers(50, 4,
                                [&](size_t i) {
                                  ++calls;
                                  if (i == 3) throw std::runtime_error("item 3");
                                }),
               std::runtime_error);
  EXPECT_GE(calls.load(), 4);
  EXPECT_LE(calls.load(), 50);
}

}  // namespace
