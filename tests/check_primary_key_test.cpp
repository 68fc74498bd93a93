// The primary key of a table: present, of a table kind the store knows, at most 8 members on a
// generic table and 7 on a list table, each member named once, of a usable type, a field of the
// table, and, when the table has no split table key, a column of every index.
#include <string>
#include <vector>

#include "check_table_probe.h"
#include <velmora/check_table.h>
#include "test_support.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const char* const kFunction = "CheckPrimaryKey";

// A table "t" whose key is the fields k1 .. k<key_num>, followed by a value field v.
ZemMetaDef KeyTable(int key_num) {
  ZemMetaDef meta = Table("t", {});
  for (int k = 1; k <= key_num; ++k) {
    meta.entries.push_back(Field("k" + std::to_string(k)));
    meta.primary_key.push_back("k" + std::to_string(k));
  }
  meta.entries.push_back(Field("v"));
  return meta;
}

class CheckPrimaryKeyTest : public ::testing::Test {
 protected:
  LPZEMMETA Build(const ZemMetaDef& def) {
    lib_ = BuildLib({def});
    return lib_ == nullptr ? nullptr : zem_get_meta_by_name(lib_.get(), def.name.c_str());
  }
  int Check(LPZEMMETA meta, int table_type = 0) {
    return CheckTableProbe::CheckPrimaryKey(checker_, meta, table_type, log_.handle());
  }
  int Check(const ZemMetaDef& def, int table_type = 0) { return Check(Build(def), table_type); }

  CheckTable checker_;
  LogCapture log_;
  ZemMetaLibPtr lib_;
};

TEST_F(CheckPrimaryKeyTest, RejectsNullMeta) {
  EXPECT_EQ(Check(nullptr), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_STREQ(checker_.GetErrType(), "Meta is NULL!");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, "Meta is NULL!", kFunction)));
}

TEST_F(CheckPrimaryKeyTest, CallsTableWithoutKeyMembersPossiblyAPureStruct) {
  EXPECT_EQ(Check(Table("t", {Field("a")})), ERROR_NO_PRIMARY_KEY_IN_META);
  const char* message = "There is no Primaykey in meta:'t', maybe it is a pure struct.";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckPrimaryKeyTest, TakesNegativeKeyMemberCountAsNoKey) {
  ZemMetaDef def = KeyTable(1);
  def.primary_key_num = -1;
  EXPECT_EQ(Check(def), ERROR_NO_PRIMARY_KEY_IN_META);
  EXPECT_STREQ(checker_.GetErrType(),
               "There is no Primaykey in meta:'t', maybe it is a pure struct.");
}

TEST_F(CheckPrimaryKeyTest, RejectsKeyCountWhoseKeyArrayIsAbsent) {
  ZemMetaDef def = Table("t", {Field("a")});
  def.primary_key_num = 2;
  def.primary_key_base_absent = true;
  EXPECT_EQ(Check(def), ERROR_PRIMARYKEY_FIELD);
  const char* message = "Primaykey is not exist!  table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckPrimaryKeyTest, ReportsMissingKeyBeforeLookingAtTableKind) {
  EXPECT_EQ(Check(Table("t", {Field("a")}), 2), ERROR_NO_PRIMARY_KEY_IN_META);
  const char* message = "There is no Primaykey in meta:'t', maybe it is a pure struct.";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckPrimaryKeyTest, ReportsAbsentKeyArrayBeforeLookingAtTableKind) {
  ZemMetaDef def = Table("t", {Field("a")});
  def.primary_key_num = 1;
  def.primary_key_base_absent = true;
  EXPECT_EQ(Check(def, -1), ERROR_PRIMARYKEY_FIELD);
  EXPECT_STREQ(checker_.GetErrType(), "Primaykey is not exist!  table:'t'");
}

TEST_F(CheckPrimaryKeyTest, RejectsTableKindTwoBeforeCountingMembers) {
  EXPECT_EQ(Check(KeyTable(9), 2), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  const char* message = "Table_type is invaild type! table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckPrimaryKeyTest, RejectsNegativeTableKind) {
  EXPECT_EQ(Check(KeyTable(9), -1), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  const char* message = "Table_type is invaild type! table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckPrimaryKeyTest, AcceptsEightKeyMembersOnGenericTable) {
  EXPECT_EQ(Check(KeyTable(8), 0), CHECK_TABLE_SUCCESS);
  EXPECT_STREQ(checker_.GetErrType(), "");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_INFO,
                                    "CheckPrimaryKey successed!table: 't' ,primary key num: 8",
                                    kFunction)));
}

TEST_F(CheckPrimaryKeyTest, RejectsNineKeyMembersOnGenericTable) {
  EXPECT_EQ(Check(KeyTable(9), 0), ERROR_PRIMARYKEY_FIELD);
  const char* message = "The number of generic_table's primarykey can't be more than 8! table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckPrimaryKeyTest, AcceptsSevenKeyMembersOnListTable) {
  EXPECT_EQ(Check(KeyTable(7), 1), CHECK_TABLE_SUCCESS);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_INFO,
                                    "CheckPrimaryKey successed!table: 't' ,primary key num: 7",
                                    kFunction)));
}

TEST_F(CheckPrimaryKeyTest, RejectsEightKeyMembersOnListTable) {
  EXPECT_EQ(Check(KeyTable(8), 1), ERROR_PRIMARYKEY_FIELD);
  const char* message = "The number of list_table's primarykey  can't be more than 7! table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckPrimaryKeyTest, RejectsSecondMemberRepeatingTheFirst) {
  EXPECT_EQ(Check(Table("t", {Field("a"), Field("v")}, {"a", "a"})), ERROR_REPEATED_FIELD_NAME);
  const char* message = "repeated field name in primary key, invalid! entry_name:'a' table='t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckPrimaryKeyTest, ReportsRepeatedMemberBeforeItsUnsupportedType) {
  // Two fields of the same name: the second key member is made of the wide string one.
  LPZEMMETA meta =
      Build(Table("t", {Field("a"), Field("a", ZEM_TYPE_WSTRING), Field("v")}, {"a", "a"}));
  ASSERT_NE(meta, nullptr);
  const_cast<tagZEMDBKeyInfo*>(zem_meta_key_member(meta, 1))->ptrEntry =
      zem_get_entry_by_index(meta, 1)->ptrSelf;
  EXPECT_EQ(Check(meta), ERROR_REPEATED_FIELD_NAME);
  const char* message = "repeated field name in primary key, invalid! entry_name:'a' table='t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckPrimaryKeyTest, RejectsKeyMemberOfUnsupportedType) {
  EXPECT_EQ(Check(Table("t", {Field("w", ZEM_TYPE_WSTRING), Field("v")}, {"w"})),
            ERROR_FIELD_TYPE_ILLEGAL);
  const char* message = "The entry type is not supported! entry_name:'w' table='t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckPrimaryKeyTest, RejectsKeyMemberOfNegativeTypeCode) {
  EXPECT_EQ(Check(Table("t", {Field("n", -1), Field("v")}, {"n"})), ERROR_FIELD_TYPE_ILLEGAL);
  EXPECT_STREQ(checker_.GetErrType(), "The entry type is not supported! entry_name:'n' table='t'");
}

TEST_F(CheckPrimaryKeyTest, RejectsKeyMemberThatIsNoFieldOfTheTable) {
  ZemMetaDef def = Table("t", {Field("a"), Field("b"), Field("v")}, {"a", "b"});
  def.entries[1].null_slot = true;  // b's record exists, but the table does not list it
  EXPECT_EQ(Check(def), ERROR_PRIMARYKEY_FIELD);
  const char* message = "Primaykey is not exist entry! Primaykey:'b', table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, "The entry: b is not exist! table:'t'",
                                    "CheckWhetherExistEntry"),
                          LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckPrimaryKeyTest, RejectsKeyOfTableWithNegativeEntryCount) {
  ZemMetaDef def = KeyTable(1);
  def.entry_num = -1;
  EXPECT_EQ(Check(def), ERROR_PRIMARYKEY_FIELD);
  const char* message = "Primaykey is not exist entry! Primaykey:'k1', table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, "Table dose not have entry, table:'t'",
                                    "CheckWhetherExistEntry"),
                          LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckPrimaryKeyTest, RejectsMemberMissingFromIndexWhenNoSplitKey) {
  ZemMetaDef def = KeyTable(2);
  def.indexes = {Index("by_k1", {"k1"})};
  EXPECT_EQ(Check(def), ERROR_PRIMARYKEY_FIELD);
  const char* message =
      "The index field has not include primarykey if splittablekey not exist! primarykey:'k2' "
      "table:'t'";
  EXPECT_STREQ(checker_.GetErrType(), message);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR,
                                    "Splittablekey field is not belong to index field! "
                                    "Splittablekey:'k2',table:'t'",
                                    "CheckWhetherIndex"),
                          LogLineIs(WLOG_PRIORITY_ERROR, message, kFunction)));
}

TEST_F(CheckPrimaryKeyTest, AcceptsIndexOverWholeKeyWhenNoSplitKey) {
  ZemMetaDef def = KeyTable(2);
  def.indexes = {Index("by_key", {"k2", "k1"})};
  EXPECT_EQ(Check(def), CHECK_TABLE_SUCCESS);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_INFO,
                                    "CheckPrimaryKey successed!table: 't' ,primary key num: 2",
                                    kFunction)));
}

TEST_F(CheckPrimaryKeyTest, ExemptsTableWithSplitKeyFromIndexRule) {
  ZemMetaDef def = KeyTable(2);
  def.split_table_key = "k1";
  def.indexes = {Index("by_k1", {"k1"}), Index("by_v", {"v"})};
  EXPECT_EQ(Check(def), CHECK_TABLE_SUCCESS);
  EXPECT_STREQ(checker_.GetErrType(), "");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(WLOG_PRIORITY_INFO,
                                    "CheckPrimaryKey successed!table: 't' ,primary key num: 2",
                                    kFunction)));
}

TEST_F(CheckPrimaryKeyTest, SkipsIndexRuleForNegativeIndexCount) {
  ZemMetaDef def = KeyTable(2);
  def.indexes = {Index("by_k1", {"k1"})};
  def.index_num = -1;
  EXPECT_EQ(Check(def), CHECK_TABLE_SUCCESS);
}

TEST_F(CheckPrimaryKeyTest, FillsBufferWithoutLogHandle) {
  EXPECT_EQ(CheckTableProbe::CheckPrimaryKey(checker_, Build(KeyTable(9)), 0, nullptr),
            ERROR_PRIMARYKEY_FIELD);
  EXPECT_STREQ(checker_.GetErrType(),
               "The number of generic_table's primarykey can't be more than 8! table:'t'");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(CheckPrimaryKeyTest, LogsFromItsOwnSourceFile) {
  EXPECT_EQ(Check(KeyTable(1)), CHECK_TABLE_SUCCESS);
  ASSERT_EQ(log_.lines().size(), 1u);
  EXPECT_EQ(log_.lines()[0].file, "src/common/check_table_keys.cpp");
}

}  // namespace
