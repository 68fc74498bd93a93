// velmora-check-table on hostile and careless input: the input size limit and its option, devices
// that never end, bytes XML forbids, floods of warnings, and names too long for a screen. Each
// limit is named in the message that enforces it, and the help lists them all.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli_test_support.h"

namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;
using Json = nlohmann::json;

std::string Example(const std::string& name) {
  return std::string(VELMORA_EXAMPLES_DIR) + "/" + name;
}

// A temporary schema file, removed with the object.
class TempSchema {
 public:
  explicit TempSchema(const std::string& text) {
    char path[] = "/tmp/velmora-cli-limits-XXXXXX";
    const int fd = mkstemp(path);
    m_path = path;
    if (fd < 0 || write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
      ADD_FAILURE() << "cannot write " << m_path;
    }
    if (fd >= 0) close(fd);
  }
  ~TempSchema() { std::remove(m_path.c_str()); }
  const std::string& path() const { return m_path; }

 private:
  std::string m_path;
};

TEST(CheckTableLimits, FileOverTheInputLimitIsRefusedNamingTheLimitAndTheOption) {
  const std::string game = Example("game.xml");
  const std::string size = std::to_string(ReadFile(game).size());
  const CommandResult text = RunCheckTable({"--max-input-size", "1K", game});
  EXPECT_EQ(text.status, 2);
  EXPECT_EQ(text.out, "");
  EXPECT_EQ(text.err, game + ": error: the file has " + size +
                          " bytes, more than the maximum input size of 1 KiB (1024 bytes); set a "
                          "larger limit with --max-input-size\n");
  const CommandResult json = RunCheckTable({"--max-input-size", "1024", "-f", "json", game});
  EXPECT_EQ(json.status, 2);
  const Json document = Json::parse(json.out);
  EXPECT_EQ(document["error"]["line"], nullptr);
  EXPECT_THAT(document["error"]["message"].get<std::string>(), HasSubstr("--max-input-size"));
}

TEST(CheckTableLimits, InputLimitTakesSuffixesAndAppliesToTheOldSchemaToo) {
  const std::string game = Example("game.xml");
  EXPECT_EQ(RunCheckTable({"--max-input-size", "4k", game}).status, 0);
  EXPECT_EQ(RunCheckTable({"--max-input-size", "1M", game}).status, 0);
  EXPECT_EQ(RunCheckTable({"--max-input-size", "1g", game}).status, 0);
  const CommandResult old = RunCheckTable({"--max-input-size", "3K", "--old", game, game});
  EXPECT_EQ(old.status, 2);
  EXPECT_THAT(old.err, HasSubstr("maximum input size of 3 KiB (3072 bytes)"));
}

TEST(CheckTableLimits, InputLimitThatIsNoSizeIsAUsageError) {
  for (const char* size : {"0", "12X", "K", "1.5M", "-1", "20000000000G", "1 K"}) {
    const CommandResult result = RunCheckTable({"--max-input-size", size, Example("game.xml")});
    EXPECT_EQ(result.status, 2) << size;
    EXPECT_THAT(result.err, HasSubstr("--max-input-size: '" + std::string(size) +
                                      "' is not a size: a whole number of bytes of at least 1, "
                                      "optionally followed by K, M or G"))
        << size;
  }
}

TEST(CheckTableLimits, EndlessDeviceEndsAtTheDefaultLimit) {
  const CommandResult result = RunCheckTable({"/dev/zero"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, "/dev/zero: error: the input goes on past the maximum input size of 64 MiB "
                        "(67108864 bytes); set a larger limit with --max-input-size\n");
}

TEST(CheckTableLimits, NulByteIsALoadError) {
  const TempSchema schema(std::string("<metalib name=\"g\">\0</metalib>", 29));
  const CommandResult result = RunCheckTable({schema.path()});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err,
            schema.path() + ":1:19: error: a NUL byte, which an XML document must not hold\n");
}

TEST(CheckTableLimits, FloodOfWarningsIsListedUpToTheLimitInEveryFormat) {
  std::string text = "<metalib name=\"g\">";
  for (int i = 0; i < 1000; ++i) text += "<x/>";
  const TempSchema schema(text + "</metalib>");
  const CommandResult result = RunCheckTable({schema.path()});
  EXPECT_EQ(result.status, 0);
  const std::vector<std::string> lines = Lines(result.err);
  ASSERT_EQ(lines.size(), 101u);
  EXPECT_EQ(lines.back(), schema.path() + ": warning: 900 more warnings about unknown elements "
                                          "are not listed (at most 100 warnings of one kind are "
                                          "listed)");
  const Json document = Json::parse(RunCheckTable({"-f", "json", schema.path()}).out);
  ASSERT_EQ(document["warnings"].size(), 101u);
  EXPECT_EQ(document["warnings"][100]["line"], nullptr);
  EXPECT_EQ(document["warnings"][100]["message"],
            "900 more warnings about unknown elements are not listed (at most 100 warnings of one "
            "kind are listed)");
}

TEST(CheckTableLimits, LongTableNameIsShortenedInTextAndExactInJson) {
  const std::string table(10000, 'a');
  const std::string game = Example("game.xml");
  const CommandResult text = RunCheckTable({"-t", table, game});
  EXPECT_EQ(text.status, 1);
  const std::string shown = std::string(48, 'a') + "...(10000 bytes)";
  EXPECT_EQ(text.out, game + ": error: " + shown + ": table name '" + shown +
                          " [ERROR_TABLE_NAME_TOO_LONG]\n    help: A table name has at most 31 "
                          "bytes; 32 or more fail although the text says 32 (it counts the "
                          "terminator): shorten the name.\n1 table checked, 1 failed\n");
  const Json document = Json::parse(RunCheckTable({"-f", "json", "-t", table, game}).out);
  const Json& check = document["tables"][0]["checks"][0];
  EXPECT_EQ(document["tables"][0]["table"], table);
  EXPECT_EQ(check["message"], "table name '" + table.substr(0, 1011));
}

TEST(CheckTableLimits, LongEntryNameInAFindingIsShortenedInText) {
  const std::string name(100, 'f');
  const TempSchema schema("<metalib name=\"g\"><struct name=\"t\" primarykey=\"k\">"
                          "<entry name=\"k\" type=\"int32\"/><entry name=\"" + name +
                          "-x\" type=\"int32\"/></struct></metalib>");
  const CommandResult result = RunCheckTable({schema.path()});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.out, HasSubstr("field name[" + std::string(48, 'f') +
                                    "...(102 bytes)] has illegal character."));
  EXPECT_THAT(result.out, Not(HasSubstr(name)));
}

// 63 struct types, each holding `width` entries of the type before it and an array without refer
// (of the empty struct at the bottom, so that no size grows); the table is the top one.
std::string SharedLevels(int width) {
  std::string text = "<metalib name=\"g\">\n<struct name=\"s0\"/>\n";
  for (int level = 1; level < 63; ++level) {
    const std::string below = "s" + std::to_string(level - 1);
    text += "<struct name=\"s" + std::to_string(level) + "\"" +
            (level == 62 ? " primarykey=\"k\"><entry name=\"k\" type=\"int32\"/>" : ">");
    for (int w = 0; w < width; ++w) {
      text += "<entry name=\"e" + std::to_string(w) + "\" type=\"" + below + "\"/>";
    }
    text += "<entry name=\"a" + std::to_string(level) + "\" type=\"s0\" count=\"2\"/></struct>\n";
  }
  return text + "</metalib>\n";
}

TEST(CheckTableLimits, SharedStructTypesOfSixtyThreeLevelsAreCheckedAtOnce) {
  // Depth first: the lowest level's array comes first.
  std::string report = "these entry have 'count' without 'refer' : ";
  for (int level = 1; level < 63; ++level) report += "a" + std::to_string(level) + " ";
  for (int width : {2, 10}) {
    const TempSchema schema(SharedLevels(width));
    const CommandResult result = RunCheckTable({"-f", "json", schema.path()});
    EXPECT_EQ(result.status, 1) << width;
    const Json check = Json::parse(result.out)["tables"][0]["checks"][2];
    EXPECT_EQ(check["check"], "CheckWhetherCountWithRefer");
    EXPECT_EQ(check["result"], -36);
    EXPECT_EQ(check["report"], report);
    EXPECT_EQ(check["log"], Json::array());
    // Against itself nothing is added.
    const CommandResult old = RunCheckTable({"--old", schema.path(), schema.path()});
    EXPECT_EQ(old.status, 0) << old.out;
  }
}

TEST(CheckTableLimits, HelpListsEveryLimit) {
  const std::vector<std::string> help = Lines(RunCheckTable({"--help"}).out);
  EXPECT_THAT(help, Contains("Limits:"));
  for (const char* limit :
       {"  input size    64 MiB per schema file unless --max-input-size says otherwise; a larger",
        "  names         struct, union and entry names of at most 127 bytes",
        "  customattr2   at most 2047 bytes on an entry",
        "  sizes         entries, structs and unions of at most 2147483647 bytes",
        "  primary key   at most 32767 members", "  index         at most 32767 columns",
        "  struct depth  the count/refer checks follow struct entries at most 64 levels deep",
        "  warnings      at most 100 of one kind are listed per file; one more line counts the rest",
        "  text report   names longer than 64 bytes are shown shortened, with their length"}) {
    EXPECT_THAT(help, Contains(limit));
  }
}

}  // namespace
