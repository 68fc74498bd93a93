// Lines and columns of load errors and warnings on files as editors save them: CRLF line ends,
// tabs, a UTF-8 byte order mark, GBK text, UTF-16 with a byte order mark, and elements spread over
// several lines. A column counts characters of the decoded text: a tab, a Chinese character and a
// character outside the Basic Multilingual Plane are one column each.
#include <velmora/zem_xml_loader.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "both_readings.h"
#include "text_encodings.h"

namespace {

// The full parser alone reads each text to the same result.
ZemLoadResult Load(const std::string& text) { return LoadReadBothWays("game.xml", text); }

// The warnings, then the load error, as the command prints them.
std::vector<std::string> MessagesOf(const std::string& text) {
  const ZemLoadResult result = Load(text);
  std::vector<std::string> lines;
  for (const ZemLoadMessage& warning : result.warnings) {
    lines.push_back(FormatZemLoadMessage(warning, "warning"));
  }
  if (!result.ok) lines.push_back(FormatZemLoadMessage(result.error, "error"));
  return lines;
}

// A warning after Chinese text on line 2, and an error on the second line of an entry spread
// over two.
const char* const SCHEMA =
    "<metalib name=\"game\">\n"
    "  <struct name=\"p\" desc=\"玩家表\" Version=\"1\">\n"
    "    <entry desc=\"名字\" name=\"a\"\n"
    "           type=\"nope\"/>\n"
    "  </struct>\n"
    "</metalib>\n";

const char* const WARNING =
    "warning: unknown attribute 'Version' of <struct> is ignored; did you mean 'version'?";
const char* const ERROR =
    "error: entry 'a': type 'nope' is neither a base type nor a struct or union defined earlier";

std::vector<std::string> Expected(int line_offset, int warning_column, int error_column) {
  return {"game.xml:" + std::to_string(2 + line_offset) + ":" + std::to_string(warning_column) +
              ": " + WARNING,
          "game.xml:" + std::to_string(4 + line_offset) + ":" + std::to_string(error_column) +
              ": " + ERROR};
}

TEST(ZemXmlPositions, ColumnsCountCharactersOfUtf8Text) {
  EXPECT_EQ(MessagesOf(SCHEMA), Expected(0, 31, 12));
}

TEST(ZemXmlPositions, CrLfLineEndsGiveTheSamePositions) {
  EXPECT_EQ(MessagesOf(WithCrLf(SCHEMA)), Expected(0, 31, 12));
}

TEST(ZemXmlPositions, MixedCrLfAndLfLineEndsCountOneLineEach) {
  EXPECT_EQ(MessagesOf("<metalib name=\"game\">\r\n\n  <struct name=\"p\" Version=\"1\"/>\r\n"
                       "  <struct name=\"q\"\r\n     type=\"x\"/>\r\n</metalib>\r\n"),
            (std::vector<std::string>{
                std::string("game.xml:3:20: ") + WARNING,
                "game.xml:5:6: warning: attribute 'type' does not apply to <struct> and is "
                "ignored"}));
}

TEST(ZemXmlPositions, ATabIsOneColumn) {
  EXPECT_EQ(MessagesOf("<metalib name=\"game\">\n"
                       "\t<struct name=\"p\"\tdesc=\"玩家表\" Version=\"1\">\n"
                       "\t\t<entry desc=\"名字\" name=\"a\"\n"
                       "\t\t\ttype=\"nope\"/>\n"
                       "\t</struct>\n"
                       "</metalib>\n"),
            Expected(0, 30, 4));
}

TEST(ZemXmlPositions, ByteOrderMarkTakesNoColumn) {
  EXPECT_EQ(MessagesOf("\xEF\xBB\xBF" + std::string(SCHEMA)), Expected(0, 31, 12));
  EXPECT_EQ(MessagesOf("\xEF\xBB\xBF<metalib name=\"g\" Version=\"1\"/>"),
            (std::vector<std::string>{
                "game.xml:1:19: warning: unknown attribute 'Version' of <metalib> is ignored; "
                "did you mean 'version'?"}));
}

TEST(ZemXmlPositions, GbkColumnsCountDecodedCharacters) {
  // 玩家表 and 名字 in GBK: two bytes each, one column each.
  const std::string gbk =
      "<?xml version=\"1.0\" encoding=\"GBK\"?>\n"
      "<metalib name=\"game\">\n"
      "  <struct name=\"p\" desc=\"\xcd\xe6\xbc\xd2\xb1\xed\" Version=\"1\">\n"
      "    <entry desc=\"\xc3\xfb\xd7\xd6\" name=\"a\"\n"
      "           type=\"nope\"/>\n"
      "  </struct>\n"
      "</metalib>\n";
  EXPECT_EQ(MessagesOf(gbk), Expected(1, 31, 12));
  EXPECT_EQ(MessagesOf(WithCrLf(gbk)), Expected(1, 31, 12));
}

TEST(ZemXmlPositions, Utf16WithByteOrderMarkHasThePositionsOfItsUtf8Twin) {
  for (bool big_endian : {false, true}) {
    SCOPED_TRACE(big_endian ? "UTF-16BE" : "UTF-16LE");
    EXPECT_EQ(MessagesOf(Utf16(SCHEMA, big_endian)), Expected(0, 31, 12));
    EXPECT_EQ(MessagesOf(Utf16(WithCrLf(SCHEMA), big_endian)), Expected(0, 31, 12));
    EXPECT_EQ(MessagesOf(Utf16("<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n" +
                               std::string(SCHEMA), big_endian)),
              Expected(1, 31, 12));
  }
}

TEST(ZemXmlPositions, CharacterBeyondTheBasicPlaneIsOneColumnInEveryEncoding) {
  // U+1F600: four bytes of UTF-8, a surrogate pair of UTF-16, one column.
  const std::string text =
      "<metalib name=\"game\">\n  <struct name=\"\xF0\x9F\x98\x80\" Version=\"1\"/>\n</metalib>\n";
  const std::vector<std::string> expected = {std::string("game.xml:2:20: ") + WARNING};
  EXPECT_EQ(MessagesOf(text), expected);
  EXPECT_EQ(MessagesOf(Utf16(text, false)), expected);
  EXPECT_EQ(MessagesOf(Utf16(text, true)), expected);
}

TEST(ZemXmlPositions, AttributeValueOverSeveralLinesKeepsLaterPositions) {
  // A customattr2 wrapped over lines, with CRLF and an entity inside it: the parser shortens the
  // value in place, and what follows keeps its place.
  const std::string text = WithCrLf(
      "<metalib name=\"game\">\n"
      "  <struct name=\"q\" primarykey=\"k\"\n"
      "          customattr2=\"TableType=GENERIC;&#10;\n"
      "                       Foo=1\" Version=\"1\">\n"
      "    <entry name=\"k\" type=\"int32\"/><entry name=\"v\" type=\"nope\"/>\n"
      "  </struct>\n"
      "</metalib>\n");
  EXPECT_EQ(MessagesOf(text),
            (std::vector<std::string>{
                std::string("game.xml:4:31: ") + WARNING,
                "game.xml:3:11: warning: struct 'q': unknown key 'Foo' in customattr2; the keys "
                "the table checks read are DataProtocolType, TableType, ListNum, SortFieldNum, "
                "SortRule and stringdisplaycharset",
                "game.xml:5:51: error: entry 'v': type 'nope' is neither a base type nor a "
                "struct or union defined earlier"}));
}

TEST(ZemXmlPositions, UnknownElementSpreadOverLinesIsPlacedAtItsStart) {
  EXPECT_EQ(MessagesOf(WithCrLf("<metalib name=\"game\">\n  <!-- a\n  comment -->\t<strcut\n"
                                "    name=\"p\"\n  />\n</metalib>\n")),
            (std::vector<std::string>{
                "game.xml:3:15: warning: unknown element <strcut> in <metalib> is ignored; did "
                "you mean 'struct'?"}));
}

// ---- UTF-16 that cannot be decoded ----------------------------------------------------------

std::string ErrorOf(const std::string& text) {
  const ZemLoadResult result = Load(text);
  EXPECT_FALSE(result.ok);
  return FormatZemLoadMessage(result.error, "error");
}

TEST(ZemXmlUtf16, OddNumberOfBytesIsNamedAtTheEnd) {
  EXPECT_EQ(ErrorOf(Utf16("<metalib name=\"g\"/>\n", false) + "\n"),
            "game.xml:2:1: error: the file has an odd number of bytes, but UTF-16LE text is made "
            "of pairs of bytes");
  EXPECT_EQ(ErrorOf(Utf16("<metalib name=\"g\"/>", true) + "x"),
            "game.xml:1:20: error: the file has an odd number of bytes, but UTF-16BE text is made "
            "of pairs of bytes");
}

TEST(ZemXmlUtf16, UnpairedSurrogateIsNamedAtItsPlace) {
  // A high surrogate followed by a letter, and a low surrogate with nothing before it.
  EXPECT_EQ(ErrorOf(Utf16("<metalib name=\"g\">\n  <struct name=\"a", false) + "\x3D\xD8" +
                    Utf16("\"/>\n</metalib>\n", false).substr(2)),
            "game.xml:2:18: error: unpaired surrogate 0xD83D in UTF-16LE text: a high surrogate "
            "must be followed by a low one (0xDC00 to 0xDFFF)");
  EXPECT_EQ(ErrorOf(Utf16("<metalib name=\"g\">\n  <struct name=\"a", true) +
                    std::string("\xDC\x00", 2) + Utf16("\"/>\n</metalib>\n", true).substr(2)),
            "game.xml:2:18: error: unpaired surrogate 0xDC00 in UTF-16BE text: a low surrogate "
            "must follow a high one (0xD800 to 0xDBFF)");
  // A high surrogate that ends the file.
  EXPECT_EQ(ErrorOf(Utf16("<metalib name=\"g\"/>", false) + std::string("\x00\xD8", 2)),
            "game.xml:1:20: error: unpaired surrogate 0xD800 in UTF-16LE text: a high surrogate "
            "must be followed by a low one (0xDC00 to 0xDFFF)");
}

TEST(ZemXmlUtf16, WithoutByteOrderMarkOrDeclarationGetsAClearError) {
  const std::string little = Utf16("<metalib name=\"g\"/>\n", false).substr(2);
  const std::string big = Utf16("<metalib name=\"g\"/>\n", true).substr(2);
  const char* const advice =
      ": error: a NUL byte, which an XML document must not hold; the file looks like UTF-16 "
      "without a byte order mark: save it as UTF-8, or as UTF-16 with a byte order mark";
  EXPECT_EQ(ErrorOf(little), std::string("game.xml:1:2") + advice);
  EXPECT_EQ(ErrorOf(big), std::string("game.xml:1:1") + advice);
  // A NUL byte further on is only a NUL byte.
  EXPECT_EQ(ErrorOf(std::string("<metalib name=\"g\"/>\0", 20)),
            "game.xml:1:20: error: a NUL byte, which an XML document must not hold");
}

}  // namespace
