// What the loader refuses or bounds in files that hostile or careless writers produce: inputs past
// the size limit (files, text, streams), NUL bytes, late XML declarations, encodings the bytes
// contradict, floods of warnings, huge lists of names; and positions that stay exact on long lines
// and many lines without a record per line.
#include <velmora/zem_xml_loader.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <velmora/zem.h>
#include "both_readings.h"
#include "schema/zem_xml_input.h"
#include "schema/zem_xml_text.h"

namespace {

// The full parser alone reads each text to the same result.
ZemLoadResult Load(const std::string& text, const ZemLoadOptions& options = {}) {
  return LoadReadBothWays("game.xml", text, options);
}

std::string ErrorOf(const std::string& text, const ZemLoadOptions& options = {}) {
  const ZemLoadResult result = Load(text, options);
  EXPECT_FALSE(result.ok);
  EXPECT_EQ(result.metalib, nullptr);
  return FormatZemLoadMessage(result.error, "error");
}

std::vector<std::string> WarningsOf(const ZemLoadResult& result) {
  std::vector<std::string> lines;
  for (const ZemLoadMessage& warning : result.warnings) {
    lines.push_back(FormatZemLoadMessage(warning, "warning"));
  }
  return lines;
}

ZemLoadOptions Limit(uint64_t bytes, const char* setting = "--max-input-size") {
  ZemLoadOptions options;
  options.max_input_bytes = bytes;
  options.max_input_setting = setting;
  return options;
}

// A temporary file holding text, removed with the object.
class TempFile {
 public:
  explicit TempFile(const std::string& text) {
    char path[] = "/tmp/velmora-limits-XXXXXX";
    const int fd = mkstemp(path);
    m_path = path;
    if (fd < 0 || write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
      ADD_FAILURE() << "cannot write " << m_path;
    }
    if (fd >= 0) close(fd);
  }
  ~TempFile() { std::remove(m_path.c_str()); }
  const std::string& path() const { return m_path; }

 private:
  std::string m_path;
};

const char* const kSchema = "<metalib name=\"g\">\n  <struct name=\"p\"/>\n</metalib>\n";

// ---- Input size ------------------------------------------------------------------------------

TEST(ZemXmlLimits, DefaultInputLimitIs64MiB) {
  EXPECT_EQ(ZemLoadOptions().max_input_bytes, 64u * 1024 * 1024);
  EXPECT_EQ(FormatZemByteSize(ZemLoadOptions().max_input_bytes), "64 MiB");
  EXPECT_EQ(FormatZemByteSize(1536), "1536 bytes");
  EXPECT_EQ(FormatZemByteSize(2048), "2 KiB");
  EXPECT_EQ(FormatZemByteSize(uint64_t{3} << 30), "3 GiB");
  EXPECT_EQ(FormatZemByteSize(1), "1 byte");
}

TEST(ZemXmlLimits, RegularFileOverTheLimitIsRefusedNamingFileLimitAndSetting) {
  const TempFile file(kSchema);
  const std::string size = std::to_string(std::string(kSchema).size());
  const ZemLoadResult refused = ZemLoadXmlFile(file.path(), Limit(20));
  EXPECT_FALSE(refused.ok);
  EXPECT_EQ(FormatZemLoadMessage(refused.error, "error"),
            file.path() + ": error: the file has " + size +
                " bytes, more than the maximum input size of 20 bytes (20 bytes); set a larger "
                "limit with --max-input-size");
  EXPECT_TRUE(ZemLoadXmlFile(file.path(), Limit(std::string(kSchema).size())).ok);
}

TEST(ZemXmlLimits, RegularFileIsReadIntoABufferOfItsSize) {
  // Large enough that growing the buffer for the end of the file would be a move of megabytes.
  std::string text(3 << 20, ' ');
  text.replace(0, std::string(kSchema).size(), kSchema);
  const TempFile file(text);
  ZemLoadOptions options;
  ZemBytes bytes;
  std::string error;
  ASSERT_TRUE(ZemReadInput(file.path(), options, &bytes, &error)) << error;
  EXPECT_EQ(std::string(bytes.data(), bytes.size()), text);
  // Its size and one byte, which the read that finds the end of the file asks for.
  EXPECT_EQ(bytes.capacity(), text.size() + 1);
}

TEST(ZemXmlLimits, TextOverTheLimitIsRefusedWithTheLibrarySettingByDefault) {
  ZemLoadOptions options;
  options.max_input_bytes = 1024;
  EXPECT_EQ(ErrorOf(std::string(2048, ' '), options),
            "game.xml: error: the file has 2048 bytes, more than the maximum input size of 1 KiB "
            "(1024 bytes); set a larger limit with the load option max_input_bytes");
}

TEST(ZemXmlLimits, DeviceIsReadInBlocksAndRefusedOncePastTheLimit) {
  EXPECT_EQ(FormatZemLoadMessage(ZemLoadXmlFile("/dev/zero", Limit(1 << 20)).error, "error"),
            "/dev/zero: error: the input goes on past the maximum input size of 1 MiB (1048576 "
            "bytes); set a larger limit with --max-input-size");
}

// A pipe: written by a thread, read by the loader, which stops once past the limit.
std::string LoadThroughPipe(const std::string& text, uint64_t limit, bool* ok) {
  char dir[] = "/tmp/velmora-pipe-XXXXXX";
  EXPECT_NE(mkdtemp(dir), nullptr);
  const std::string path = std::string(dir) + "/pipe";
  EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
  signal(SIGPIPE, SIG_IGN);  // the loader may close its end before the writer is done
  std::thread writer([&path, &text]() {
    const int fd = open(path.c_str(), O_WRONLY);
    for (size_t at = 0; fd >= 0 && at < text.size();) {
      const ssize_t wrote = write(fd, text.data() + at, text.size() - at);
      if (wrote <= 0) break;
      at += static_cast<size_t>(wrote);
    }
    if (fd >= 0) close(fd);
  });
  const ZemLoadResult result = ZemLoadXmlFile(path, Limit(limit));
  writer.join();
  std::remove(path.c_str());
  rmdir(dir);
  *ok = result.ok;
  return result.ok ? zem_get_meta_name(zem_get_meta_by_index(result.metalib.get(), 0))
                   : FormatZemLoadMessage(result.error, "error");
}

TEST(ZemXmlLimits, PipeIsReadWholeWithinTheLimitAndRefusedPastIt) {
  // Long enough to take many reads from the pipe.
  const std::string schema = "<metalib name=\"g\">" + std::string(300000, '\n') +
                             "<struct name=\"piped\"/></metalib>";
  bool ok = false;
  EXPECT_EQ(LoadThroughPipe(schema, schema.size(), &ok), "piped");
  EXPECT_TRUE(ok);
  const std::string refused = LoadThroughPipe(schema, schema.size() - 1, &ok);
  EXPECT_FALSE(ok);
  EXPECT_NE(refused.find(": error: the input goes on past the maximum input size of " +
                         std::to_string(schema.size() - 1) + " bytes"),
            std::string::npos)
      << refused;
}

// ---- Bytes and declarations ------------------------------------------------------------------

TEST(ZemXmlLimits, NulByteAnywhereIsALoadErrorAtItsPosition) {
  EXPECT_EQ(ErrorOf(std::string("<metalib name=\"g\">\n  <struct name=\"p\"/>\0<struct", 43)),
            "game.xml:2:21: error: a NUL byte, which an XML document must not hold");
  EXPECT_EQ(ErrorOf(std::string("<metalib name=\"g\"/>\n\0", 21)),
            "game.xml:2:1: error: a NUL byte, which an XML document must not hold");
}

TEST(ZemXmlLimits, NulCharacterInTranscodedTextIsALoadError) {
  std::string bytes = "\xFF\xFE";
  for (char c : std::string("<metalib name=\"g\"/>\n")) {
    bytes += c;
    bytes += '\0';
  }
  bytes += std::string("\0\0", 2);
  EXPECT_EQ(ErrorOf(bytes), "game.xml:2:1: error: a NUL byte, which an XML document must not hold");
}

TEST(ZemXmlLimits, DeclarationMustStandAtTheVeryStart) {
  EXPECT_EQ(ErrorOf("\n<?xml version=\"1.0\" encoding=\"GBK\"?>\n<metalib name=\"g\"/>\n"),
            "game.xml:2:1: error: the XML declaration must stand at the very start of the file");
  EXPECT_EQ(ErrorOf("<!-- c --><?xml version=\"1.0\"?><metalib name=\"g\"/>"),
            "game.xml:1:11: error: the XML declaration must stand at the very start of the file");
  EXPECT_EQ(ErrorOf("<?xml version=\"1.0\"?>\n<?xml version=\"1.0\"?><metalib name=\"g\"/>"),
            "game.xml:2:1: error: the XML declaration must stand at the very start of the file");
  EXPECT_EQ(ErrorOf("<metalib name=\"g\"><?xml version=\"1.0\"?></metalib>"),
            "game.xml:1:24: error: malformed XML: Error parsing document "
            "declaration/processing instruction");
  EXPECT_TRUE(Load("\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"UTF-8\"?><metalib name=\"g\"/>").ok);
  EXPECT_TRUE(Load("<?xml version=\"1.0\"?><?xml-stylesheet href=\"a\"?><metalib name=\"g\"/>").ok);
}

TEST(ZemXmlLimits, WideEncodingDeclaredInSingleBytesIsRefusedByTheNameRead) {
  for (const char* encoding : {"UCS-2", "ucs2", "UCS-4", "UCS-4LE", "UNICODE", "UNICODELITTLE",
                               "WCHAR_T", "UTF-16", "utf-16le", "UTF-32", "IBM037"}) {
    EXPECT_EQ(ErrorOf(std::string("<?xml version=\"1.0\" encoding=\"") + encoding +
                      "\"?>\n<metalib name=\"g\"/>\n"),
              std::string("game.xml:1:21: error: encoding '") + encoding +
                  "' does not match the file: its own declaration is not written in it");
  }
}

TEST(ZemXmlLimits, SingleByteEncodingsThatReadTheDeclarationBackLoad) {
  for (const char* encoding : {"GBK", "ISO-8859-1", "latin1", "windows-1252", "ASCII"}) {
    const ZemLoadResult result = Load(std::string("<?xml version=\"1.0\" encoding=\"") + encoding +
                                      "\"?>\n<metalib name=\"g\"/>\n");
    EXPECT_TRUE(result.ok) << encoding << ": " << FormatZemLoadMessage(result.error, "error");
  }
}

// Text in a four-byte encoding, little endian.
std::string Utf32Le(const std::string& ascii) {
  std::string bytes;
  for (char c : ascii) bytes += std::string(1, c) + std::string(3, '\0');
  return bytes;
}

std::string Utf16Le(const std::string& ascii) {
  std::string bytes;
  for (char c : ascii) bytes += std::string(1, c) + std::string(1, '\0');
  return bytes;
}

TEST(ZemXmlLimits, Utf32WithoutByteOrderMarkIsDecoded) {
  const ZemLoadResult result =
      Load(Utf32Le("<?xml version=\"1.0\" encoding=\"UCS-4LE\"?>\n<metalib name=\"wide\"/>\n"));
  ASSERT_TRUE(result.ok) << FormatZemLoadMessage(result.error, "error");
  EXPECT_STREQ(zem_get_metalib_name(result.metalib.get()), "wide");
}

TEST(ZemXmlLimits, FileAnnouncingItsEncodingMustDeclareOneOfItsWidth) {
  EXPECT_TRUE(Load("\xFF\xFE" + Utf16Le("<?xml version=\"1.0\" encoding=\"UTF-16\"?><metalib "
                                        "name=\"g\"/>")).ok);
  EXPECT_TRUE(Load(Utf16Le("<?xml version=\"1.0\" encoding=\"UCS-2\"?><metalib name=\"g\"/>")).ok);
  EXPECT_EQ(ErrorOf("\xFF\xFE" + Utf16Le("<?xml version=\"1.0\" encoding=\"GBK\"?><metalib "
                                         "name=\"g\"/>")),
            "game.xml:1:21: error: the file is in UTF-16LE by its first bytes but declares "
            "encoding 'GBK'");
  EXPECT_EQ(ErrorOf(Utf16Le("<?xml version=\"1.0\" encoding=\"KLINGON\"?><metalib name=\"g\"/>")),
            "game.xml:1:21: error: unknown encoding 'KLINGON'");
  EXPECT_EQ(ErrorOf("\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"GBK\"?><metalib name=\"g\"/>"),
            "game.xml:1:21: error: the file is in UTF-8 by its first bytes but declares encoding "
            "'GBK'");
}

// ---- Warnings --------------------------------------------------------------------------------

TEST(ZemXmlLimits, WarningsOfOneKindAreListedUpToTheLimitThenCounted) {
  std::string text = "<metalib name=\"g\">\n";
  for (int i = 0; i < 250; ++i) text += "<x/>";
  text += "\n";
  for (int i = 0; i < 101; ++i) text += "<entry name=\"e\"/>";
  text += "\n<struct name=\"p\" a=\"1\"/>\n</metalib>\n";
  const ZemLoadResult result = Load(text);
  ASSERT_TRUE(result.ok);
  const std::vector<std::string> lines = WarningsOf(result);
  ASSERT_EQ(lines.size(), 203u);
  EXPECT_EQ(lines[0], "game.xml:2:1: warning: unknown element <x> in <metalib> is ignored");
  EXPECT_EQ(lines[99], "game.xml:2:397: warning: unknown element <x> in <metalib> is ignored");
  EXPECT_EQ(lines[100], "game.xml:3:1: warning: element <entry> does not belong in <metalib> and "
                        "is ignored");
  EXPECT_EQ(lines[200], "game.xml:4:18: warning: unknown attribute 'a' of <struct> is ignored");
  EXPECT_EQ(lines[201], "game.xml: warning: 150 more warnings about unknown elements are not "
                        "listed (at most 100 warnings of one kind are listed)");
  EXPECT_EQ(lines[202], "game.xml: warning: 1 more warnings about elements out of place are not "
                        "listed (at most 100 warnings of one kind are listed)");
}

TEST(ZemXmlLimits, WarningsLeftOutAreCountedBeforeALoadErrorToo) {
  std::string text = "<metalib name=\"g\">";
  for (int i = 0; i < 105; ++i) text += "<macro name=\"M\" value=\"1\"/>";
  text += "<struct/></metalib>";
  const ZemLoadResult result = Load(text);
  EXPECT_FALSE(result.ok);
  ASSERT_EQ(result.warnings.size(), 101u);
  EXPECT_EQ(result.warnings.back().text, "4 more warnings about macros defined again are not "
                                         "listed (at most 100 warnings of one kind are listed)");
}

// ---- Lists of names --------------------------------------------------------------------------

std::string ListOf(const char* name, size_t count) {
  std::string list;
  for (size_t i = 0; i < count; ++i) list += i == 0 ? name : std::string(",") + name;
  return list;
}

TEST(ZemXmlLimits, IndexOfMoreThan32767ColumnsIsALoadError) {
  const std::string head = "<metalib name=\"g\"><struct name=\"p\"><entry name=\"a\" type=\"int8\"/>";
  EXPECT_EQ(ErrorOf(head + "<index name=\"i\" column=\"" + ListOf("a", 32768) +
                    "\"/></struct></metalib>"),
            "game.xml:1:81: error: index 'i' has 32768 columns; at most 32767 fit");
  const ZemLoadResult result = Load(head + "<index name=\"i\" column=\" " + ListOf("a", 32767) +
                                    ",, \"/></struct></metalib>");
  ASSERT_TRUE(result.ok) << FormatZemLoadMessage(result.error, "error");
  LPZEMMETA meta = zem_get_meta_by_name(result.metalib.get(), "p");
  EXPECT_EQ(zem_meta_index(meta, 0)->iColumnNum, 32767);
}

TEST(ZemXmlLimits, AnUnknownNameIsReportedBeforeTheCountOfAList) {
  const std::string head = "<metalib name=\"g\"><struct name=\"p\" primarykey=\"";
  EXPECT_EQ(ErrorOf(head + ListOf("a", 40000) + ",zz\"><entry name=\"a\" type=\"int8\"/>"
                    "</struct></metalib>"),
            "game.xml:1:36: error: struct 'p': primarykey member 'zz' names no entry of struct "
            "'p'");
}

// ---- Positions -------------------------------------------------------------------------------

// The line and column of every offset of a text, counted the plain way: the column counts the
// characters (bytes that are no UTF-8 continuation) since the line began.
std::vector<ZemTextPosition> CountedPositions(const std::string& text) {
  std::vector<ZemTextPosition> positions;
  int line = 1;
  int characters = 0;
  for (size_t i = 0; i <= text.size(); ++i) {
    positions.push_back(ZemTextPosition{line, characters + 1});
    if (i == text.size()) break;
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c == '\n') {
      ++line;
      characters = 0;
    } else if ((c & 0xC0) != 0x80) {
      ++characters;
    }
  }
  return positions;
}

// Decodes text and asks for the position of each offset, in the order given (one past the end
// stands for the end), comparing each with counting.
void ExpectCountedPositions(const std::string& text, const std::vector<size_t>& offsets) {
  ZemXmlText decoded;
  std::string error;
  ZemTextPosition error_at;
  ASSERT_TRUE(decoded.Decode(ZemBytes(text.data(), text.size()), &error, &error_at)) << error;
  const std::vector<ZemTextPosition> expected = CountedPositions(text);
  for (const size_t offset : offsets) {
    const ZemTextPosition at = decoded.PositionOf(offset);
    const ZemTextPosition& counted = expected[std::min(offset, text.size())];
    ASSERT_EQ(at.line, counted.line) << "offset " << offset;
    ASSERT_EQ(at.column, counted.column) << "offset " << offset;
  }
}

TEST(ZemXmlLimits, PositionsAreExactOnLongLinesAndManyLines) {
  std::mt19937 rng(5);
  const char* const pieces[] = {"a",       "\n",      "\n\n\n",          "\xe4\xb8\xad",
                                "bcdefgh", "\xc3\xa9", "\x0b\t\r\x0b", "\xf0\x9f\x98\x80"};
  for (int round = 0; round < 6; ++round) {
    std::string text;
    // Some texts of one long line, others of many short ones, across many 4096-byte blocks.
    const size_t target = 1000 + rng() % 40000;
    while (text.size() < target) {
      const unsigned pick = rng() % 8;
      if (round % 2 == 0 && (pick == 1 || pick == 2) && rng() % 50 != 0) continue;
      text += pieces[pick];
    }
    std::vector<size_t> every_offset(text.size() + 1);
    for (size_t offset = 0; offset <= text.size(); ++offset) every_offset[offset] = offset;
    SCOPED_TRACE("round " + std::to_string(round));
    ExpectCountedPositions(text, every_offset);
  }
}

TEST(ZemXmlLimits, PositionsAreExactInAsciiTextAndAfterItsFirstOtherCharacter) {
  // ASCII text is counted without a map of character starts until its first multi-byte
  // character, wherever that falls: at a word of the map, inside one, past a checkpoint, or never.
  for (const size_t ascii : {size_t{0}, size_t{1}, size_t{63}, size_t{64}, size_t{65}, size_t{4095},
                             size_t{4096}, size_t{9000}}) {
    std::string text;
    for (size_t i = 0; i < ascii; ++i) {
      text += i % 37 == 36 ? '\n' : static_cast<char>('a' + i % 26);
    }
    const std::string ascii_only = text;
    text += "\xe4\xb8\xad\xc3\xa9x\n\xf0\x9f\x98\x80yz";
    for (int i = 0; i < 300; ++i) text += i % 50 == 49 ? "\n" : "b";
    for (const std::string& sample : {ascii_only, text}) {
      std::vector<size_t> forward(sample.size() + 2);
      for (size_t offset = 0; offset < forward.size(); ++offset) forward[offset] = offset;
      const std::vector<size_t> backward(forward.rbegin(), forward.rend());
      SCOPED_TRACE("ascii " + std::to_string(ascii) + ", " + std::to_string(sample.size()) +
                   " bytes");
      ExpectCountedPositions(sample, forward);
      ExpectCountedPositions(sample, backward);
    }
  }
}

TEST(ZemXmlLimits, PositionsAreExactWhenAskedForInAnyOrder) {
  std::mt19937 rng(7);
  const char* const pieces[] = {"ab", "\n", "\xe4\xb8\xad", "\xf0\x9f\x98\x80", "cdefghijk"};
  for (int round = 0; round < 4; ++round) {
    std::string text;
    const size_t target = 20000 + rng() % 20000;
    while (text.size() < target) {
      const unsigned pick = rng() % 5;
      // Every other text is one long line.
      if (round % 2 == 0 && pick == 1) continue;
      text += pieces[pick];
    }
    // Forward jumps, steps back within a line and across many checkpoints, and past the end.
    std::vector<size_t> offsets;
    for (size_t ask = 0; ask < 3000; ++ask) {
      offsets.push_back(ask % 3 == 0 ? rng() % (text.size() + 1)
                                     : std::min<size_t>(text.size(), rng() % 64 + ask * 7));
    }
    offsets.push_back(text.size() + 100);
    SCOPED_TRACE("round " + std::to_string(round));
    ExpectCountedPositions(text, offsets);
  }
}

TEST(ZemXmlLimits, ErrorAfterManyBlankLinesHasItsLine) {
  std::string text = "<metalib name=\"g\">" + std::string(100000, '\n') + "  <struct/>\n</metalib>";
  EXPECT_EQ(ErrorOf(text), "game.xml:100001:3: error: struct has no 'name' attribute");
}

}  // namespace
