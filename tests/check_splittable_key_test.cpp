// The split table key decides how a table's records are spread over the store: every field it
// names must be a primary key member and a column of every index, and be named once. A table
// without split table key passes.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "check_table_probe.h"
#include <velmora/check_table.h>
#include "test_support.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const char* const kFunction = "CheckSplittableKey";

// A table "t" keyed by a and b, with a value field v, split by the given text.
ZemMetaDef SplitTable(const std::string& split_table_key) {
  ZemMetaDef meta = Table("t", {Field("a"), Field("b"), Field("v")}, {"a", "b"});
  meta.split_table_key = split_table_key;
  return meta;
}

auto StartLine() {
  return LogLineIs(WLOG_PRIORITY_INFO, "Start CheckSplittableKey...table:'t'", kFunction);
}

class CheckSplittableKeyTest : public ::testing::Test {
 protected:
  LPZEMMETA Build(const ZemMetaDef& def) {
    lib_ = BuildLib({def});
    return lib_ == nullptr ? nullptr : zem_get_meta_by_name(lib_.get(), def.name.c_str());
  }
  int Check(LPZEMMETA meta) {
    return CheckTableProbe::CheckSplittableKey(checker_, meta, log_.handle());
  }
  int Check(const ZemMetaDef& def) { return Check(Build(def)); }

  CheckTable checker_;
  LogCapture log_;
  ZemMetaLibPtr lib_;
};

TEST_F(CheckSplittableKeyTest, LogsNullMetaWithoutWritingBuffer) {
  ASSERT_EQ(Check(Table("t", {Field("a")})), ERROR_PRIMARYKEY_FIELD);
  log_.Clear();
  EXPECT_EQ(Check(nullptr), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_STREQ(checker_.GetErrType(), "Table dose not have primaykey, table:'t' ");
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, "meta is NULL", kFunction)));
}

TEST_F(CheckSplittableKeyTest, RejectsTableWithoutPrimaryKeyEvenWithoutSplitKey) {
  EXPECT_EQ(Check(Table("t", {Field("a")})), ERROR_PRIMARYKEY_FIELD);
  const char* message = "Table dose not have primaykey, table:'t' ";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(),
              ElementsAre(StartLine(), LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckSplittableKeyTest, RejectsKeyCountWhoseKeyArrayIsAbsent) {
  ZemMetaDef def = Table("t", {Field("a")});
  def.primary_key_num = 1;
  def.primary_key_base_absent = true;
  def.split_table_key = "a";
  EXPECT_EQ(Check(def), ERROR_PRIMARYKEY_FIELD);
  EXPECT_STREQ(checker_.GetErrType(), "Table dose not have primaykey, table:'t' ");
}

TEST_F(CheckSplittableKeyTest, PassesTableWithoutSplitKeyLeavingANote) {
  EXPECT_EQ(Check(Table("t", {Field("a"), Field("v")}, {"a"})), CHECK_TABLE_SUCCESS);
  const char* note = "Table t does not have splittablekey";
  EXPECT_STREQ(checker_.GetErrType(), note);
  EXPECT_THAT(log_.lines(),
              ElementsAre(StartLine(), LogLineIs(WLOG_PRIORITY_INFO, note, kFunction)));
}

TEST_F(CheckSplittableKeyTest, ReportsSystemErrorForMetaOfNoLibrary) {
  // A meta record placed so that the library derived from it would start at address zero.
  static const char kName[] = "ghost";
  const uintptr_t header_size = sizeof(tagZEMMetaLib);
  tagZEMMeta meta{};
  meta.ptrMeta = static_cast<ZEMPTR>(reinterpret_cast<uintptr_t>(&meta) - header_size);
  meta.ptrName = static_cast<ZEMPTR>(reinterpret_cast<uintptr_t>(kName) - header_size);
  meta.nPrimayKeyMemberNum = 1;
  meta.ptrPrimayKeyBase = 0;
  meta.stSplitTableKey.ptrEntry = 0;
  ASSERT_EQ(zem_meta_metalib(&meta), nullptr);

  EXPECT_EQ(Check(&meta), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  const char* message = "system error,get meta from table:ghost failed";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_INFO, "Start CheckSplittableKey...table:'ghost'",
                                    kFunction),
                          LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckSplittableKeyTest, LogsLibraryReasonWithoutWritingBuffer) {
  // A split key text that does not fit the 1024-byte buffer makes the library fail with a reason.
  LPZEMMETA meta = Build(SplitTable(std::string(1100, 'x')));
  ASSERT_NE(meta, nullptr);
  char buffer[1024];
  const char* reason = nullptr;
  ASSERT_NE(zem_get_meta_splittablekey(meta, buffer, sizeof(buffer), &reason), 0);
  ASSERT_NE(reason, nullptr);
  const std::string line = std::string("table:'t' ") + reason;
  // An earlier message in the buffer survives the failure.
  ASSERT_EQ(checker_.CheckTableNameValidity("1t", nullptr), ERROR_TABLE_NAME_STARTWITH_DIGIT);

  EXPECT_EQ(Check(meta), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_STREQ(checker_.GetErrType(), "table name startswith digit.");
  EXPECT_THAT(log_.lines(),
              ElementsAre(StartLine(), LogLineIs(WLOG_PRIORITY_ERROR, line, kFunction)));
}

TEST_F(CheckSplittableKeyTest, PassesDeclaredKeyWithEmptyText) {
  EXPECT_EQ(Check(SplitTable("")), CHECK_TABLE_SUCCESS);
  const char* note = "Table t does not have splittablekey";
  EXPECT_STREQ(checker_.GetErrType(), note);
  EXPECT_THAT(log_.lines(),
              ElementsAre(StartLine(), LogLineIs(WLOG_PRIORITY_INFO, note, kFunction)));
}

TEST_F(CheckSplittableKeyTest, AcceptsKeyMembersWithoutIndexes) {
  EXPECT_EQ(Check(SplitTable("a,b")), CHECK_TABLE_SUCCESS);
  EXPECT_STREQ(checker_.GetErrType(), "");
  EXPECT_THAT(log_.lines(),
              ElementsAre(StartLine(), LogLineIs(WLOG_PRIORITY_INFO,
                                                 " CheckSplittableKey successed! table:'t'",
                                                 kFunction)));
}

TEST_F(CheckSplittableKeyTest, AcceptsKeyMemberInEveryIndex) {
  ZemMetaDef def = SplitTable("a");
  def.indexes = {Index("i1", {"a", "b"}), Index("i2", {"a"})};
  EXPECT_EQ(Check(def), CHECK_TABLE_SUCCESS);
  EXPECT_THAT(log_.lines(),
              ElementsAre(StartLine(), LogLineIs(WLOG_PRIORITY_INFO,
                                                 " CheckSplittableKey successed! table:'t'",
                                                 kFunction)));
}

TEST_F(CheckSplittableKeyTest, RejectsFieldThatIsNoKeyMember) {
  EXPECT_EQ(Check(SplitTable("v")), ERROR_SPLITTABLE_FIELD);
  const char* message = "Primaykey must include splittablekey! Splittablekey:'v',table:'t' ";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(),
              ElementsAre(StartLine(),
                          LogLineIs(WLOG_PRIORITY_ERROR,
                                    "Entry is not belong to primarykey!Entry:'v' table:'t'",
                                    "CheckWhetherPrimaryKey"),
                          LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckSplittableKeyTest, RejectsFieldDifferingFromKeyMemberOnlyInCase) {
  EXPECT_EQ(Check(SplitTable("A")), ERROR_SPLITTABLE_FIELD);
  const char* message = "Primaykey must include splittablekey! Splittablekey:'A',table:'t' ";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(),
              ElementsAre(StartLine(),
                          LogLineIs(WLOG_PRIORITY_ERROR,
                                    "Entry is not belong to primarykey!Entry:'A' table:'t'",
                                    "CheckWhetherPrimaryKey"),
                          LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckSplittableKeyTest, RejectsEmptyPieceAsNoKeyMember) {
  EXPECT_EQ(Check(SplitTable("a,")), ERROR_SPLITTABLE_FIELD);
  EXPECT_STREQ(checker_.GetErrType(),
               "Primaykey must include splittablekey! Splittablekey:'',table:'t' ");
}

TEST_F(CheckSplittableKeyTest, RejectsKeyMemberMissingFromOneOfTwoIndexes) {
  ZemMetaDef def = SplitTable("a");
  def.indexes = {Index("i1", {"a", "b"}), Index("i2", {"b"})};
  EXPECT_EQ(Check(def), ERROR_INDEX_FIELD);
  const char* message =
      "The index field has not include splittablekey! Splittablekey:'a',table:'t' ";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(),
              ElementsAre(StartLine(),
                          LogLineIs(WLOG_PRIORITY_ERROR,
                                    "Splittablekey field is not belong to index field! "
                                    "Splittablekey:'a',table:'t'",
                                    "CheckWhetherIndex"),
                          LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckSplittableKeyTest, RejectsKeyMemberWhenAnIndexHasNoColumns) {
  ZemMetaDef def = SplitTable("a");
  def.indexes = {Index("i1", {"a"}), Index("empty", {})};
  EXPECT_EQ(Check(def), ERROR_INDEX_FIELD);
  EXPECT_STREQ(checker_.GetErrType(),
               "The index field has not include splittablekey! Splittablekey:'a',table:'t' ");
}

TEST_F(CheckSplittableKeyTest, SkipsIndexTestForNegativeIndexCount) {
  ZemMetaDef def = SplitTable("a");
  def.indexes = {Index("i1", {"b"})};
  def.index_num = -1;
  EXPECT_EQ(Check(def), CHECK_TABLE_SUCCESS);
}

TEST_F(CheckSplittableKeyTest, RejectsRepeatedKeyMemberOnSecondPiece) {
  ZemMetaDef def = SplitTable("a,a");
  def.indexes = {Index("i1", {"a", "b"})};
  EXPECT_EQ(Check(def), ERROR_REPEATED_FIELD_NAME);
  const char* message =
      "repeated field name in split table key, invalid! Splittablekey:'a' table='t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(),
              ElementsAre(StartLine(), LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckSplittableKeyTest, ReportsRepeatedNonMemberAsNoKeyMember) {
  EXPECT_EQ(Check(SplitTable("a,v,v")), ERROR_SPLITTABLE_FIELD);
  EXPECT_STREQ(checker_.GetErrType(),
               "Primaykey must include splittablekey! Splittablekey:'v',table:'t' ");
}

TEST_F(CheckSplittableKeyTest, ReportsRepeatedNonMemberOnItsFirstPiece) {
  EXPECT_EQ(Check(SplitTable("v,v")), ERROR_SPLITTABLE_FIELD);
  EXPECT_STREQ(checker_.GetErrType(),
               "Primaykey must include splittablekey! Splittablekey:'v',table:'t' ");
}

TEST_F(CheckSplittableKeyTest, FillsBufferWithoutLogHandle) {
  EXPECT_EQ(CheckTableProbe::CheckSplittableKey(checker_, Build(SplitTable("v")), nullptr),
            ERROR_SPLITTABLE_FIELD);
  EXPECT_STREQ(checker_.GetErrType(),
               "Primaykey must include splittablekey! Splittablekey:'v',table:'t' ");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

}  // namespace
