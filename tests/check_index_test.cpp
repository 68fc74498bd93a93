// Indexes of a table: a list table may have none, an index names each field once, every column is
// a primary key member, and no two indexes hold the same set of columns.
#include <string>
#include <vector>

#include "check_table_probe.h"
#include <velmora/check_table.h>
#include "test_support.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const char* const kFunction = "CheckIndex";

// A table "t" keyed by a, b, c and d, with a value field v, and these indexes.
ZemMetaDef IndexedTable(std::vector<ZemIndexDef> indexes) {
  ZemMetaDef meta = Table("t", {Field("a"), Field("b"), Field("c"), Field("d"), Field("v")},
                          {"a", "b", "c", "d"});
  meta.indexes = std::move(indexes);
  return meta;
}

auto SuccessLine() {
  return LogLineIs(WLOG_PRIORITY_INFO, "CheckIndex Successed! table:'t'", kFunction);
}

class CheckIndexTest : public ::testing::Test {
 protected:
  LPZEMMETA Build(const ZemMetaDef& def) {
    lib_ = BuildLib({def});
    return lib_ == nullptr ? nullptr : zem_get_meta_by_name(lib_.get(), def.name.c_str());
  }
  int Check(LPZEMMETA meta, int table_type = 0) {
    return CheckTableProbe::CheckIndex(checker_, meta, table_type, log_.handle());
  }
  int Check(const ZemMetaDef& def, int table_type = 0) { return Check(Build(def), table_type); }
  int Compare(LPZEMMETAINDEX index1, LPZEMMETAINDEX index2, LPZEMMETA meta) {
    return CheckTableProbe::CompareIndexColumn(checker_, index1, index2, meta, log_.handle());
  }

  CheckTable checker_;
  LogCapture log_;
  ZemMetaLibPtr lib_;
};

TEST_F(CheckIndexTest, RejectsNullMeta) {
  EXPECT_EQ(Check(nullptr), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  const char* message = "CheckIndex failure.meta is NULL";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckIndexTest, RejectsTableKindTwoEvenWithoutIndexes) {
  EXPECT_EQ(Check(IndexedTable({}), 2), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  const char* message = "Table_type is invalid! table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckIndexTest, RejectsNegativeTableKind) {
  EXPECT_EQ(Check(IndexedTable({Index("i", {"a"})}), -1), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  const char* message = "Table_type is invalid! table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckIndexTest, PassesGenericTableWithoutIndexesWithAnErrorLine) {
  EXPECT_EQ(Check(IndexedTable({}), 0), CHECK_TABLE_SUCCESS);
  const char* message = "Table dose not have indexs, table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckIndexTest, PassesListTableWithoutIndexesWithAnErrorLine) {
  EXPECT_EQ(Check(IndexedTable({}), 1), CHECK_TABLE_SUCCESS);
  const char* message = "Table dose not have indexs, table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckIndexTest, RejectsListTableWithAnIndex) {
  EXPECT_EQ(Check(IndexedTable({Index("i", {"a"})}), 1), ERROR_INDEX_FIELD);
  const char* message = "List-type-table isn't allowed to configure index field! table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckIndexTest, RejectsListTableWithNegativeIndexCount) {
  ZemMetaDef def = IndexedTable({Index("i", {"a"})});
  def.index_num = -1;
  EXPECT_EQ(Check(def, 1), ERROR_INDEX_FIELD);
}

TEST_F(CheckIndexTest, PassesGenericTableWithNegativeIndexCountUnread) {
  ZemMetaDef def = IndexedTable({Index("i", {"v", "v"})});
  def.index_num = -1;
  EXPECT_EQ(Check(def, 0), CHECK_TABLE_SUCCESS);
  EXPECT_STREQ(checker_.GetErrType(), "");
  EXPECT_THAT(log_.lines(), ElementsAre(SuccessLine()));
}

TEST_F(CheckIndexTest, AcceptsIndexesOverKeyMembers) {
  EXPECT_EQ(Check(IndexedTable({Index("i1", {"a"}), Index("i2", {"b", "a"})})),
            CHECK_TABLE_SUCCESS);
  EXPECT_STREQ(checker_.GetErrType(), "");
  EXPECT_THAT(log_.lines(), ElementsAre(SuccessLine()));
}

TEST_F(CheckIndexTest, RejectsIndexNamingKeyMemberTwice) {
  EXPECT_EQ(Check(IndexedTable({Index("i", {"a", "b", "a"})})), ERROR_INDEX_FIELD);
  const char* message = "The index field has repeated field 'a', table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckIndexTest, RejectsIndexOfOneKeyMemberNamedTwice) {
  EXPECT_EQ(Check(IndexedTable({Index("i", {"a", "a"})})), ERROR_INDEX_FIELD);
  const char* message = "The index field has repeated field 'a', table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckIndexTest, ReportsRepetitionBeforeKeyMembership) {
  EXPECT_EQ(Check(IndexedTable({Index("i", {"v", "v"})})), ERROR_INDEX_FIELD);
  const char* message = "The index field has repeated field 'v', table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckIndexTest, RejectsIndexOverNonKeyFieldNamingTheField) {
  EXPECT_EQ(Check(IndexedTable({Index("i", {"a", "v"})})), ERROR_INDEX_FIELD);
  const char* message = "The index field should be primarykey field! index:'v', table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR,
                                    "Entry is not belong to primarykey!Entry:'v' table:'t'",
                                    "CheckWhetherPrimaryKey"),
                          LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckIndexTest, RejectsIndexOfTableWithoutPrimaryKey) {
  ZemMetaDef def = Table("t", {Field("a")});
  def.indexes = {Index("i", {"a"})};
  EXPECT_EQ(Check(def), ERROR_INDEX_FIELD);
  const char* message = "The index field should be primarykey field! index:'a', table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, "Table should have primaykey! table:'t'",
                                    "CheckWhetherPrimaryKey"),
                          LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckIndexTest, RejectsSameColumnsInAnotherOrder) {
  EXPECT_EQ(Check(IndexedTable({Index("i1", {"a", "b"}), Index("i2", {"b", "a"})})),
            ERROR_INDEX_FIELD);
  const char* message = "The index field can't be repeated!  table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR,
                                    "Index field is repeated! index1:'i1', index2:'i2', table:'t'",
                                    "CompareIndexColumn"),
                          LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckIndexTest, ReportsFirstDuplicatePairInOrder) {
  EXPECT_EQ(Check(IndexedTable({Index("i0", {"a"}), Index("i1", {"b"}), Index("i2", {"c"}),
                                Index("i3", {"b"}), Index("i4", {"a"})})),
            ERROR_INDEX_FIELD);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR,
                                    "Index field is repeated! index1:'i0', index2:'i4', table:'t'",
                                    "CompareIndexColumn"),
                          LogLineIs(WLOG_PRIORITY_ERROR,
                                    "The index field can't be repeated!  table:'t'", kFunction)));
}

TEST_F(CheckIndexTest, RejectsTwoIndexesWithoutColumns) {
  EXPECT_EQ(Check(IndexedTable({Index("e1", {}), Index("e2", {})})), ERROR_INDEX_FIELD);
  EXPECT_STREQ(checker_.GetErrType(), "The index field can't be repeated!  table:'t'");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR,
                                    "Index field is repeated! index1:'e1', index2:'e2', table:'t'",
                                    "CompareIndexColumn"),
                          LogLineIs(WLOG_PRIORITY_ERROR,
                                    "The index field can't be repeated!  table:'t'", kFunction)));
}

TEST_F(CheckIndexTest, AcceptsIndexesWhoseColumnCountsDiffer) {
  EXPECT_EQ(Check(IndexedTable({Index("i1", {"a"}), Index("i2", {"a", "b"})})),
            CHECK_TABLE_SUCCESS);
  EXPECT_THAT(log_.lines(), ElementsAre(SuccessLine()));
}

TEST_F(CheckIndexTest, DoesNotLimitTheNumberOfIndexes) {
  EXPECT_EQ(Check(IndexedTable({Index("i1", {"a"}), Index("i2", {"b"}), Index("i3", {"c"}),
                                Index("i4", {"d"}), Index("i5", {"a", "b"}),
                                Index("i6", {"a", "c"}), Index("i7", {"a", "d"}),
                                Index("i8", {"b", "c"}), Index("i9", {"b", "d"})})),
            CHECK_TABLE_SUCCESS);
  EXPECT_THAT(log_.lines(), ElementsAre(SuccessLine()));
}

TEST_F(CheckIndexTest, FillsBufferWithoutLogHandle) {
  EXPECT_EQ(CheckTableProbe::CheckIndex(checker_, Build(IndexedTable({Index("i", {"v"})})), 0,
                                        nullptr),
            ERROR_INDEX_FIELD);
  EXPECT_STREQ(checker_.GetErrType(),
               "The index field should be primarykey field! index:'v', table:'t'");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CheckIndexTest, CompareRejectsNullIndex) {
  LPZEMMETA meta = Build(IndexedTable({Index("i1", {"a"})}));
  ASSERT_NE(meta, nullptr);
  const char* message = "Invaild parameter! table:'t'";
  EXPECT_EQ(Compare(nullptr, zem_meta_index(meta, 0), meta), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_EQ(Compare(zem_meta_index(meta, 0), nullptr, meta), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, "CompareIndexColumn"),
                          LogLineIs(WLOG_PRIORITY_ERROR, message, "CompareIndexColumn")));
}

TEST_F(CheckIndexTest, CompareFindsIndexesOfOtherColumnsDifferentSilently) {
  LPZEMMETA meta = Build(IndexedTable({Index("i1", {"a", "b"}), Index("i2", {"a", "c"}),
                                       Index("i3", {"a"})}));
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(Compare(zem_meta_index(meta, 0), zem_meta_index(meta, 1), meta), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(Compare(zem_meta_index(meta, 0), zem_meta_index(meta, 2), meta), CHECK_TABLE_SUCCESS);
  EXPECT_STREQ(checker_.GetErrType(), "");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CheckIndexTest, CompareFindsSameColumnsRepeated) {
  LPZEMMETA meta = Build(IndexedTable({Index("i1", {"c", "a"}), Index("i2", {"a", "c"})}));
  ASSERT_NE(meta, nullptr);
  EXPECT_EQ(Compare(zem_meta_index(meta, 1), zem_meta_index(meta, 0), meta), ERROR_INDEX_FIELD);
  const char* message = "Index field is repeated! index1:'i2', index2:'i1', table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, "CompareIndexColumn")));
}

}  // namespace
