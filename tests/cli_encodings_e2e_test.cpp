// velmora-check-table on the same schema saved in several encodings: UTF-8, UTF-8 with a byte
// order mark, UTF-16 little and big endian with a byte order mark, each with LF or CRLF line
// ends. Every one gives the same report, positions included. Warnings quote names with '%',
// control bytes and invalid UTF-8 as they stand in text and as valid JSON.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli_test_support.h"
#include "text_encodings.h"

namespace {

using ::testing::ElementsAre;
using OrderedJson = nlohmann::ordered_json;

// A failing table, a passing one, a warning after Chinese text and a customattr2 key typo.
const char* const SCHEMA =
    "<metalib name=\"game\" version=\"1\">\n"
    "  <struct name=\"player\" primarykey=\"uid\" desc=\"玩家\" colour=\"red\">\n"
    "    <entry name=\"uid\" type=\"uint64\"/>\n"
    "    <entry name=\"名字\" type=\"string\" size=\"32\"/>\n"
    "  </struct>\n"
    "  <struct name=\"mail\" primarykey=\"uid\"\n"
    "          customattr2=\"TableType=LIST;ListNum=5;SortRul=DESC\">\n"
    "    <entry name=\"uid\" type=\"uint64\"/>\n"
    "    <entry name=\"body\" type=\"string\" size=\"64\"/>\n"
    "  </struct>\n"
    "</metalib>\n";

struct Twin {
  const char* name;
  std::string bytes;
};

std::vector<Twin> Twins() {
  const std::string crlf = WithCrLf(SCHEMA);
  return {{"UTF-8 with BOM", "\xEF\xBB\xBF" + std::string(SCHEMA)},
          {"UTF-8 CRLF", crlf},
          {"UTF-16LE", Utf16(SCHEMA, false)},
          {"UTF-16BE", Utf16(SCHEMA, true)},
          {"UTF-16LE CRLF", Utf16(crlf, false)},
          {"UTF-16BE CRLF", Utf16(crlf, true)}};
}

CommandResult RunOn(const ScratchDir& dir, const std::string& bytes,
                    std::vector<std::string> args) {
  const std::string path = dir.File("schema.xml");
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
  args.push_back(path);
  return RunCheckTable(args);
}

TEST(CheckTableEncodings, TheUtf8ReportAsExpected) {
  const ScratchDir dir;
  const std::string path = dir.File("schema.xml");
  const CommandResult result = RunOn(dir, SCHEMA, {});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(Lines(result.err),
              ElementsAre(path + ":2:52: warning: unknown attribute 'colour' of <struct> is "
                                 "ignored",
                          path + ":7:11: warning: struct 'mail': unknown key 'SortRul' in "
                                 "customattr2; did you mean 'SortRule'?"));
  EXPECT_THAT(Lines(result.out),
              ElementsAre(path + ":4:5: error: player.名字: field name[名字] has illegal "
                                 "character. [ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR]",
                          "    note: CheckFieldNameLength failed! table:'player',ret:-18",
                          "    help: A field name may hold only ASCII letters, digits and "
                          "underscores (no blank, '-' or non-ASCII character): rename the field.",
                          path + ":6: ok: mail (list of 5)", "2 tables checked, 1 failed"));
}

TEST(CheckTableEncodings, EveryTwinGivesTheUtf8Report) {
  const ScratchDir dir;
  const CommandResult text = RunOn(dir, SCHEMA, {});
  const CommandResult json = RunOn(dir, SCHEMA, {"-f", "json"});
  const CommandResult strict = RunOn(dir, SCHEMA, {"--strict"});
  for (const Twin& twin : Twins()) {
    SCOPED_TRACE(twin.name);
    const CommandResult twin_text = RunOn(dir, twin.bytes, {});
    EXPECT_EQ(twin_text.status, text.status);
    EXPECT_EQ(twin_text.out, text.out);
    EXPECT_EQ(twin_text.err, text.err);
    EXPECT_EQ(RunOn(dir, twin.bytes, {"-f", "json"}).out, json.out);
    EXPECT_EQ(RunOn(dir, twin.bytes, {"--strict"}).out, strict.out);
  }
}

TEST(CheckTableEncodings, WarningsQuoteOddNamesAsTheyStand) {
  const ScratchDir dir;
  const std::string path = dir.File("schema.xml");
  const std::string schema =
      "<metalib name=\"g\">\n"
      "  <struct name=\"t\" primarykey=\"k\" \xff\xfe" "Bad=\"2\"\n"
      "          customattr2=\"TableType=GENERIC;%s%n&#1;\xff=1;c\xc3=2\">\n"
      "    <entry name=\"k\" type=\"int32\"/><entry name=\"v\" type=\"int32\"/>\n"
      "  </struct>\n"
      "</metalib>\n";
  const CommandResult text = RunOn(dir, schema, {});
  EXPECT_EQ(text.status, 0);
  EXPECT_THAT(Lines(text.err),
              ElementsAre(path + ":2:35: warning: unknown attribute '\xff\xfe" "Bad' of <struct> "
                                 "is ignored",
                          path + ":3:11: warning: struct 't': unknown key '%s%n\x01\xff' in "
                                 "customattr2; the keys the table checks read are "
                                 "DataProtocolType, TableType, ListNum, SortFieldNum, SortRule "
                                 "and stringdisplaycharset",
                          path + ":3:11: warning: struct 't': unknown key 'c\xc3' in "
                                 "customattr2; the keys the table checks read are "
                                 "DataProtocolType, TableType, ListNum, SortFieldNum, SortRule "
                                 "and stringdisplaycharset"));
  const CommandResult json = RunOn(dir, schema, {"--strict", "-f", "json"});
  EXPECT_EQ(json.status, 1);
  const OrderedJson report = OrderedJson::parse(json.out);
  EXPECT_EQ(report.at("errors")[0].at("message"),
            "unknown attribute '\xef\xbf\xbd\xef\xbf\xbd" "Bad' of <struct> is ignored");
  EXPECT_EQ(report.at("errors")[1].at("message").get<std::string>().substr(0, 30),
            "struct 't': unknown key '%s%n\x01");
  EXPECT_EQ(report.at("warnings")[2].at("message").get<std::string>().substr(0, 30),
            "struct 't': unknown key 'c\xef\xbf\xbd'");
  // The strict error lines of the text report carry the same bytes.
  const CommandResult strict = RunOn(dir, schema, {"--strict"});
  EXPECT_EQ(Lines(strict.out)[0], path + ":2:35: error: unknown attribute '\xff\xfe" "Bad' of "
                                         "<struct> is ignored [strict]");
}

TEST(CheckTableEncodings, InputLimitCountsTheFilesOwnBytes) {
  // The UTF-16 file has about twice the bytes of its UTF-8 twin; the limit meets it first.
  const ScratchDir dir;
  const std::string utf16 = Utf16(SCHEMA, false);
  const std::string limit = std::to_string(utf16.size() - 1);
  EXPECT_EQ(RunOn(dir, SCHEMA, {"--max-input-size", limit}).status, 1);
  const CommandResult refused = RunOn(dir, utf16, {"--max-input-size", limit});
  EXPECT_EQ(refused.status, 2);
  EXPECT_EQ(refused.err, dir.File("schema.xml") + ": error: the file has " +
                             std::to_string(utf16.size()) + " bytes, more than the maximum input "
                             "size of " + limit + " bytes (" + limit + " bytes); set a larger "
                             "limit with --max-input-size\n");
  EXPECT_EQ(RunOn(dir, utf16, {"--max-input-size", std::to_string(utf16.size())}).status, 1);
}

}  // namespace
