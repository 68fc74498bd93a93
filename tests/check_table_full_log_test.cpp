// The whole log of a table that passes every rule, line by line: what an operator reads when a
// definition is accepted. Each check leaves its success and trace lines in the order the entry
// point runs them, from the name rules to the closing "succees" line.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <velmora/check_table.h>
#include "test_support.h"

namespace {

using ::testing::AllOf;
using ::testing::ElementsAreArray;
using ::testing::Matcher;

const char* const kNamesFile = "src/common/check_table_names.cpp";
const char* const kEntryFile = "src/common/check_table.cpp";
const char* const kKeysFile = "src/common/check_table_keys.cpp";
const char* const kFieldsFile = "src/common/check_table_fields.cpp";

// A field of the given type, count and unit size.
ZemEntryDef Sized(const std::string& name, int type, uint32_t unit_size, int count = 1) {
  ZemEntryDef entry = Field(name, type, count);
  entry.unit_size = unit_size;
  return entry;
}

// The log as expected, line by line: priority, text, function and source file.
class ExpectedLog {
 public:
  ExpectedLog& Line(int priority, const std::string& text, const char* function, const char* file) {
    lines_.push_back(AllOf(LogLineIs(priority, text, function),
                           ::testing::Field(&WlogRecord::file, std::string(file))));
    return *this;
  }
  const std::vector<Matcher<const WlogRecord&>>& lines() const { return lines_; }

 private:
  std::vector<Matcher<const WlogRecord&>> lines_;
};

// The name rules, run first by the validity check and once more after the key count gate.
void NameLines(ExpectedLog& log, const std::string& name) {
  log.Line(600, "CheckTableNameValidity successed! table: '" + name + "'", "CheckTableNameValidity",
           kNamesFile);
  log.Line(600, "CheckTableNameLength successed! table: '" + name + "' ", "CheckTableNameLength",
           kNamesFile);
}

// Field name lengths, once for each name, then the length check's success line.
void FieldNameLines(ExpectedLog& log, const std::string& table,
                    const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    log.Line(600, "length of entry name " + name + " is " + std::to_string(name.size()),
             "CheckFieldNameLength", kFieldsFile);
  }
  log.Line(600, "CheckFieldNameLength successed! table: '" + table + "' ", "CheckFieldNameLength",
           kFieldsFile);
}

// One size trace line for each field, then the size check's success line.
void FieldSizeLines(ExpectedLog& log, const std::string& table,
                    const std::vector<std::pair<int, int>>& type_and_size,
                    const std::string& version) {
  for (const auto& field : type_and_size) {
    log.Line(700,
             "type:" + std::to_string(field.first) + " size:" + std::to_string(field.second) +
                 ",version:" + version,
             "CheckValueFieldLen", kFieldsFile);
  }
  log.Line(600, "CheckValueFieldLen successed! table: '" + table + "' ", "CheckValueFieldLen",
           kFieldsFile);
}

// The repetition check logs each name's length and has no success line of its own.
void RepeatedNameLines(ExpectedLog& log, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    log.Line(600, "length of entry name " + name + " is " + std::to_string(name.size()),
             "CheckRepeatedFieldName", kFieldsFile);
  }
}

TEST(FullLogTest, GenericTableWithSplitKeyAndWholeKeyIndexLogsEveryCheckInOrder) {
  ZemMetaDef player = Table("player",
                            {Field("uid", ZEM_TYPE_INT32), Field("zone", ZEM_TYPE_UINT64),
                             Field("level", ZEM_TYPE_INT32), Sized("nick", ZEM_TYPE_STRING, 64),
                             Field("score", ZEM_TYPE_INT64), Field("slots", ZEM_TYPE_INT32, 4)},
                            {"uid", "zone"});
  player.split_table_key = "uid";
  player.indexes = {{"by_key", {"uid", "zone"}}};
  ZemMetaLibPtr lib = BuildLib({player});
  ASSERT_NE(lib, nullptr);

  CheckTable checker;
  LogCapture log;
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "player", 0, log.handle(), "3.39.0", "3.37.0",
                                      "none"),
            CHECK_TABLE_SUCCESS);

  const std::vector<std::string> names = {"uid", "zone", "level", "nick", "score", "slots"};
  ExpectedLog expected;
  NameLines(expected, "player");
  expected.Line(600, "CheckPrimaryKey successed!table: 'player' ,primary key num: 2",
                "CheckPrimaryKey", kKeysFile);
  expected.Line(600, "CheckTableNameLength successed! table: 'player' ", "CheckTableNameLength",
                kNamesFile);
  expected.Line(600, "CheckValueField success! table: 'player' ", "CheckValueField", kFieldsFile);
  expected.Line(600, "Start CheckSplittableKey...table:'player'", "CheckSplittableKey", kKeysFile);
  expected.Line(600, " CheckSplittableKey successed! table:'player'", "CheckSplittableKey",
                kKeysFile);
  expected.Line(600, "CheckIndex Successed! table:'player'", "CheckIndex", kKeysFile);
  FieldNameLines(expected, "player", names);
  FieldSizeLines(expected, "player",
                 {{ZEM_TYPE_INT32, 4},
                  {ZEM_TYPE_UINT64, 8},
                  {ZEM_TYPE_INT32, 4},
                  {ZEM_TYPE_STRING, 64},
                  {ZEM_TYPE_INT64, 8},
                  {ZEM_TYPE_INT32, 16}},
                 "3.39.0");
  RepeatedNameLines(expected, names);
  expected.Line(600, "CheckTable succees! table:'player'", "VelmoraCheckTable", kEntryFile);

  EXPECT_THAT(log.lines(), ElementsAreArray(expected.lines()));
  // Every check passed and none left a note: the buffer is as the constructor left it.
  EXPECT_STREQ(checker.GetErrType(), "");
}

TEST(FullLogTest, ListTableWithoutSplitKeyOrIndexLogsItsNotesAndKeepsTheLastOne) {
  // Three key fields are the most a list table may show to proxies before 3.37.0.
  ZemMetaLibPtr lib = BuildLib({Table(
      "mail",
      {Field("uid", ZEM_TYPE_UINT32), Field("box", ZEM_TYPE_INT16), Field("seq", ZEM_TYPE_UINT64),
       Sized("title", ZEM_TYPE_STRING, 128), Sized("body", ZEM_TYPE_STRING, 262144),
       Field("sent", ZEM_TYPE_DATETIME)},
      {"uid", "box", "seq"})});
  ASSERT_NE(lib, nullptr);

  CheckTable checker;
  LogCapture log;
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "mail", 1, log.handle(), "3.29.0", "3.36.0",
                                      "3.36.0"),
            CHECK_TABLE_SUCCESS);

  const std::vector<std::string> names = {"uid", "box", "seq", "title", "body", "sent"};
  ExpectedLog expected;
  NameLines(expected, "mail");
  expected.Line(600, "CheckPrimaryKey successed!table: 'mail' ,primary key num: 3",
                "CheckPrimaryKey", kKeysFile);
  expected.Line(600, "CheckTableNameLength successed! table: 'mail' ", "CheckTableNameLength",
                kNamesFile);
  expected.Line(600, "CheckValueField success! table: 'mail' ", "CheckValueField", kFieldsFile);
  expected.Line(600, "Start CheckSplittableKey...table:'mail'", "CheckSplittableKey", kKeysFile);
  expected.Line(600, "Table mail does not have splittablekey", "CheckSplittableKey", kKeysFile);
  // A table without indexes passes, though the note is logged at error priority.
  expected.Line(300, "Table dose not have indexs, table:'mail'", "CheckIndex", kKeysFile);
  FieldNameLines(expected, "mail", names);
  FieldSizeLines(expected, "mail",
                 {{ZEM_TYPE_UINT32, 4},
                  {ZEM_TYPE_INT16, 2},
                  {ZEM_TYPE_UINT64, 8},
                  {ZEM_TYPE_STRING, 128},
                  {ZEM_TYPE_STRING, 262144},
                  {ZEM_TYPE_DATETIME, 8}},
                 "3.29.0");
  RepeatedNameLines(expected, names);
  expected.Line(600, "CheckTable succees! table:'mail'", "VelmoraCheckTable", kEntryFile);

  EXPECT_THAT(log.lines(), ElementsAreArray(expected.lines()));
  // The index note overwrote the split key note; the success wrote nothing over it.
  EXPECT_STREQ(checker.GetErrType(), "Table dose not have indexs, table:'mail'");
}

}  // namespace
