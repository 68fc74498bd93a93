// Field sort marks: only a sorted list table marks fields, with "sort1" to "sort4", each once,
// without gaps, on value fields of numeric types, as many as its SortFieldNum says.
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <velmora/check_table.h>
#include "test_support.h"

namespace {

const char* const kCheck = "CheckTableTypeByCustomAttr";
const char* const kAttrsFile = "src/common/check_table_attrs.cpp";
const int kUntouched = -7;

const char* const kUnknownMark =
    "The customattr2 is just used to SortList,it must be sort1,sort2,sort3,sort4";

ZemEntryDef Marked(const std::string& name, const std::string& mark, int type = ZEM_TYPE_INT32) {
  ZemEntryDef entry = Field(name, type);
  entry.customattr2 = mark;
  return entry;
}

std::string Mismatch(int sum, int sort_field_num) {
  return "pstEntry 's curstomaattr num's sort num " + std::to_string(sum) +
         " not match with meta's SortFieldNum=" + std::to_string(sort_field_num);
}

std::string TypeMessage(const std::string& name, int type) {
  return "sortfield(" + name + ")'s type(" + std::to_string(type) +
         ") just support:uint8,uint16,uint32,uint64,int8,int16,int32,int64,float,double";
}

class SortFieldsTest : public ::testing::Test {
 protected:
  // The table "player" with key uid, then these fields, under this attribute string.
  void Define(const std::string& attr, std::vector<ZemEntryDef> fields,
              std::optional<int> entry_num = std::nullopt) {
    std::vector<ZemEntryDef> entries = {Field("uid")};
    for (ZemEntryDef& field : fields) entries.push_back(std::move(field));
    ZemMetaDef meta = Table("player", std::move(entries), {"uid"});
    meta.customattr2 = attr;
    meta.entry_num = entry_num;
    lib_ = BuildLib({meta});
  }
  void DefineSorted(int sort_field_num, std::vector<ZemEntryDef> fields) {
    Define("TableType=SORTLIST;ListNum=10;SortFieldNum=" + std::to_string(sort_field_num),
           std::move(fields));
  }

  int Parse() {
    log_.Clear();
    table_type_ = list_num_ = sort_field_num_ = sort_rule_ = kUntouched;
    checker_ = std::make_unique<CheckTable>();
    return checker_->CheckTableTypeByCustomAttr(lib_.get(), "player", table_type_, list_num_,
                                                sort_field_num_, sort_rule_, data_protocol_, false,
                                                log_.handle());
  }

  int ErrorLines() const {
    int n = 0;
    for (const WlogRecord& line : log_.lines()) n += line.priority == WLOG_PRIORITY_ERROR;
    return n;
  }

  // The walk failed with this code and message, logged once at error priority by the walk.
  void ExpectFailure(int ret, int code, const std::string& message, const char* walk) {
    EXPECT_EQ(ret, code);
    EXPECT_EQ(std::string(checker_->GetErrType()), message);
    ASSERT_FALSE(log_.lines().empty());
    EXPECT_THAT(log_.lines().back(), LogLineIs(WLOG_PRIORITY_ERROR, message, walk));
    EXPECT_EQ(log_.lines().back().file, kAttrsFile);
    EXPECT_EQ(ErrorLines(), 1);
  }
  void ExpectSortFailure(int ret, const std::string& message) {
    ExpectFailure(ret, CHECK_TABLE_ERROR_INVALID_PARAMETER, message, "CheckTableTypeByCustomAttr");
  }

  void ExpectOutParameters(int table_type, int list_num, int sort_field_num, int sort_rule) {
    EXPECT_EQ(table_type_, table_type);
    EXPECT_EQ(list_num_, list_num);
    EXPECT_EQ(sort_field_num_, sort_field_num);
    EXPECT_EQ(sort_rule_, sort_rule);
  }

  ZemMetaLibPtr lib_;
  LogCapture log_;
  std::unique_ptr<CheckTable> checker_;
  int table_type_ = kUntouched;
  int list_num_ = kUntouched;
  int sort_field_num_ = kUntouched;
  int sort_rule_ = kUntouched;
  char data_protocol_[16] = {};
};

// ---- Generic and plain list tables -----------------------------------------------------------

TEST_F(SortFieldsTest, GenericTableRejectsAnyFieldAttribute) {
  for (const char* mark : {"sort1", "index", "x"}) {
    SCOPED_TRACE(mark);
    Define("TableType=GENERIC", {Field("v"), Marked("score", mark)});
    ExpectFailure(Parse(), CHECK_TABLE_ERROR_SYSTEM_ERROR,
                  "table_type is generic,entry field can't contain customattr2.",
                  "CheckTableTypeByCustomAttr");
    ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
  }
}

TEST_F(SortFieldsTest, GenericTableRejectsAnAttributeOnTheKeyToo) {
  ZemEntryDef key = Marked("uid", "sort1");
  ZemMetaDef meta = Table("player", {key, Field("v")}, {"uid"});
  meta.customattr2 = "TableType=GENERIC";
  lib_ = BuildLib({meta});
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_SYSTEM_ERROR,
                "table_type is generic,entry field can't contain customattr2.",
                "CheckTableTypeByCustomAttr");
}

TEST_F(SortFieldsTest, EmptyFieldAttributeCountsAsNone) {
  Define("TableType=GENERIC", {Marked("v", "")});
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(0, 0, kUntouched, kUntouched);
  Define("TableType=LIST;ListNum=5", {Marked("v", "")});
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(1, 5, 0, kUntouched);
}

TEST_F(SortFieldsTest, PlainListRejectsAnyFieldAttribute) {
  for (const char* mark : {"sort1", "index"}) {
    SCOPED_TRACE(mark);
    Define("TableType=LIST;ListNum=5", {Marked("score", mark)});
    ExpectFailure(Parse(), CHECK_TABLE_ERROR_SYSTEM_ERROR,
                  "table_type is list,entry field can't contain customattr2.", "CheckTableTypeByCustomAttr");
    // The type and size were handed back before the fields were walked.
    ExpectOutParameters(1, 5, 0, kUntouched);
  }
}

TEST_F(SortFieldsTest, GenericWalkReportsAMissingEntry) {
  ZemEntryDef hole = Field("hole");
  hole.null_slot = true;
  Define("TableType=GENERIC", {hole, Field("v")});
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, "pstEntry 1 is error,system error.",
                "CheckTableTypeByCustomAttr");
  ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
}

TEST_F(SortFieldsTest, ListWalkReportsAMissingEntry) {
  Define("TableType=LIST;ListNum=5", {Field("v")}, 3);
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, "pstEntry 2 is error,system error.",
                "CheckTableTypeByCustomAttr");
  ExpectOutParameters(1, 5, 0, kUntouched);
}

TEST_F(SortFieldsTest, SortWalkReportsAMissingEntry) {
  ZemEntryDef hole = Field("hole");
  hole.null_slot = true;
  DefineSorted(1, {Marked("score", "sort1"), hole});
  ExpectSortFailure(Parse(), "pstEntry 2 is error,system error.");
  ExpectOutParameters(2, 10, 1, 0);
}

TEST_F(SortFieldsTest, TablesWithoutEntriesPassTheGenericAndListWalks) {
  Define("TableType=GENERIC", {}, -1);
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(0, 0, kUntouched, kUntouched);
  Define("TableType=LIST;ListNum=5", {}, 0);
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(1, 5, 0, kUntouched);
}

// ---- Sorted list tables ----------------------------------------------------------------------

TEST_F(SortFieldsTest, SortWalkLogsTheEntryCountAtDebugPriority) {
  DefineSorted(1, {Marked("score", "sort1"), Field("v")});
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  const std::vector<WlogRecord>& lines = log_.lines();
  ASSERT_GE(lines.size(), 2u);
  EXPECT_THAT(lines[lines.size() - 2],
              LogLineIs(WLOG_PRIORITY_DEBUG, "continue Start CheckTableTypeByCustomAttr 3...",
                        "CheckTableTypeByCustomAttr"));
  EXPECT_THAT(lines.back(),
              LogLineIs(WLOG_PRIORITY_INFO,
                        "customattr parse result:TableType=2;ListNum=10;SortFieldNum=1;SortRule=0",
                        kCheck));
}

TEST_F(SortFieldsTest, SortedListWithoutMarksFailsWithSumZero) {
  DefineSorted(1, {Field("v"), Field("w")});
  ExpectSortFailure(Parse(), Mismatch(0, 1));
  ExpectOutParameters(2, 10, 1, 0);
}

TEST_F(SortFieldsTest, SortedListWithoutEntriesFailsWithSumZero) {
  Define("TableType=SORTLIST;ListNum=10;SortFieldNum=2", {}, -1);
  const int ret = Parse();
  ExpectSortFailure(ret, Mismatch(0, 2));
  ASSERT_GE(log_.lines().size(), 2u);
  EXPECT_THAT(log_.lines()[log_.lines().size() - 2],
              LogLineIs(WLOG_PRIORITY_DEBUG, "continue Start CheckTableTypeByCustomAttr -1...",
                        "CheckTableTypeByCustomAttr"));
}

TEST_F(SortFieldsTest, AttributeWithoutSortIsIgnored) {
  DefineSorted(1, {Marked("v", "index"), Marked("score", "sort1")});
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(2, 10, 1, 0);
}

TEST_F(SortFieldsTest, CapitalSortIsNotAMarkAndIsIgnored) {
  DefineSorted(1, {Marked("v", "Sort1")});
  ExpectSortFailure(Parse(), Mismatch(0, 1));
}

TEST_F(SortFieldsTest, AttributeContainingSortMustBeAKnownMark) {
  for (const char* mark : {"resort", "sort", "sort5", "mysort1", "sort1 ", "sort0"}) {
    SCOPED_TRACE(mark);
    DefineSorted(1, {Marked("score", "sort1"), Marked("v", mark)});
    ExpectSortFailure(Parse(), kUnknownMark);
    ExpectOutParameters(2, 10, 1, 0);
  }
}

TEST_F(SortFieldsTest, SortMarkOnAKeyFieldIsRejected) {
  ZemMetaDef meta = Table("player", {Marked("uid", "sort1"), Field("v")}, {"uid"});
  meta.customattr2 = "TableType=SORTLIST;ListNum=10;SortFieldNum=1";
  lib_ = BuildLib({meta});
  ExpectSortFailure(Parse(), "sortfield not support keyfield uid");
}

TEST_F(SortFieldsTest, KeyFieldIsReportedBeforeTypeAndMarkName) {
  ZemMetaDef meta =
      Table("player", {Marked("name", "sortx", ZEM_TYPE_STRING), Field("v")}, {"name"});
  meta.customattr2 = "TableType=SORTLIST;ListNum=10;SortFieldNum=1";
  lib_ = BuildLib({meta});
  ExpectSortFailure(Parse(), "sortfield not support keyfield name");
}

TEST_F(SortFieldsTest, TypeIsReportedBeforeMarkName) {
  DefineSorted(1, {Marked("name", "sortx", ZEM_TYPE_STRING)});
  ExpectSortFailure(Parse(), TypeMessage("name", ZEM_TYPE_STRING));
}

TEST_F(SortFieldsTest, SortMarkOnAStringFieldIsRejectedWhateverTheSortFieldNum) {
  for (int sort_field_num = 1; sort_field_num <= 4; ++sort_field_num) {
    SCOPED_TRACE(sort_field_num);
    DefineSorted(sort_field_num, {Marked("name", "sort1", ZEM_TYPE_STRING)});
    ExpectSortFailure(Parse(), TypeMessage("name", ZEM_TYPE_STRING));
    ExpectOutParameters(2, 10, sort_field_num, 0);
  }
}

TEST_F(SortFieldsTest, IntegerAndFloatingTypesMaySortAndNoOthers) {
  const std::vector<int> accepted = {ZEM_TYPE_INT8,   ZEM_TYPE_UINT8,  ZEM_TYPE_BYTE,
                                     ZEM_TYPE_INT16,  ZEM_TYPE_UINT16, ZEM_TYPE_INT32,
                                     ZEM_TYPE_UINT32, ZEM_TYPE_LONG,   ZEM_TYPE_ULONG,
                                     ZEM_TYPE_INT64,  ZEM_TYPE_UINT64, ZEM_TYPE_FLOAT,
                                     ZEM_TYPE_DOUBLE};
  for (int type : accepted) {
    SCOPED_TRACE(type);
    DefineSorted(1, {Marked("score", "sort1", type)});
    EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  }
  const std::vector<int> rejected = {ZEM_TYPE_DATE,   ZEM_TYPE_TIME,   ZEM_TYPE_DATETIME,
                                     ZEM_TYPE_DECIMAL, ZEM_TYPE_IPV4,  ZEM_TYPE_CHAR16,
                                     ZEM_TYPE_STRING, ZEM_TYPE_WSTRING};
  for (int type : rejected) {
    SCOPED_TRACE(type);
    DefineSorted(1, {Marked("score", "sort1", type)});
    ExpectSortFailure(Parse(), TypeMessage("score", type));
  }
}

TEST_F(SortFieldsTest, StructFieldMayNotSort) {
  ZemMetaDef inner = Table("inner", {Field("a")});
  ZemEntryDef nested = Marked("nested", "sort1", ZEM_TYPE_STRUCT);
  nested.type_meta = "inner";
  ZemMetaDef meta = Table("player", {Field("uid"), nested}, {"uid"});
  meta.customattr2 = "TableType=SORTLIST;ListNum=10;SortFieldNum=1";
  lib_ = BuildLib({inner, meta});
  ExpectSortFailure(Parse(), TypeMessage("nested", ZEM_TYPE_STRUCT));
}

TEST_F(SortFieldsTest, FourMarksInAnyFieldOrderMatchFourSortFields) {
  DefineSorted(4, {Marked("d", "sort4"), Marked("b", "sort2", ZEM_TYPE_DOUBLE),
                   Marked("a", "sort1", ZEM_TYPE_UINT64), Marked("c", "sort3", ZEM_TYPE_FLOAT)});
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(2, 10, 4, 0);
}

TEST_F(SortFieldsTest, SortFourWithoutAllLowerMarksIsRejected) {
  DefineSorted(4, {Marked("a", "sort1"), Marked("b", "sort2"), Marked("d", "sort4")});
  ExpectSortFailure(Parse(), "Has sort4,but it does not have sort1/sort2/sort3");
}

TEST_F(SortFieldsTest, SortThreeWithoutSortTwoIsRejected) {
  DefineSorted(2, {Marked("a", "sort1"), Marked("c", "sort3")});
  ExpectSortFailure(Parse(), "Has sort3,but it does not have sort1/sort2");
}

TEST_F(SortFieldsTest, SortThreeWithoutSortTwoIsRejectedAlsoWhenSortOneRepeats) {
  DefineSorted(3, {Marked("a", "sort1"), Marked("b", "sort1"), Marked("c", "sort3")});
  ExpectSortFailure(Parse(), "Has sort3,but it does not have sort1/sort2");
}

TEST_F(SortFieldsTest, SortTwoWithoutSortOneIsRejected) {
  DefineSorted(1, {Marked("b", "sort2")});
  ExpectSortFailure(Parse(), "Has sort2,but it does not have sort1");
}

TEST_F(SortFieldsTest, SortOneTwiceIsRejected) {
  DefineSorted(1, {Marked("a", "sort1"), Marked("b", "sort1")});
  ExpectSortFailure(
      Parse(), "Every sort flag should be 1 time(sort1:2,sort2:0,sort3:0,sort4:0),please check.");
}

TEST_F(SortFieldsTest, RepeatedHigherMarkIsRejected) {
  DefineSorted(2, {Marked("a", "sort1"), Marked("b", "sort2"), Marked("c", "sort2")});
  ExpectSortFailure(
      Parse(), "Every sort flag should be 1 time(sort1:1,sort2:2,sort3:0,sort4:0),please check.");
}

TEST_F(SortFieldsTest, TwoMarksDoNotMatchThreeSortFields) {
  DefineSorted(3, {Marked("a", "sort1"), Marked("b", "sort2")});
  ExpectSortFailure(Parse(), Mismatch(2, 3));
  ExpectOutParameters(2, 10, 3, 0);
}

TEST_F(SortFieldsTest, ThreeMarksDoNotMatchTwoSortFields) {
  DefineSorted(2, {Marked("a", "sort1"), Marked("b", "sort2"), Marked("c", "sort3")});
  ExpectSortFailure(Parse(), Mismatch(3, 2));
}

TEST_F(SortFieldsTest, NullLogHandleStillFillsTheBuffer) {
  DefineSorted(1, {Marked("a", "sort1"), Marked("b", "sort1")});
  checker_ = std::make_unique<CheckTable>();
  log_.Clear();
  const int ret = checker_->CheckTableTypeByCustomAttr(lib_.get(), "player", table_type_, list_num_,
                                                       sort_field_num_, sort_rule_, data_protocol_,
                                                       false, nullptr);
  EXPECT_EQ(ret, CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_STREQ(checker_->GetErrType(),
               "Every sort flag should be 1 time(sort1:2,sort2:0,sort3:0,sort4:0),please check.");
  EXPECT_TRUE(log_.lines().empty());
}

}  // namespace
