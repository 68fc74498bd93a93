// The lookups of the key and index checks: is a name a field of the table, a primary key member,
// a column of every index, a column of one index. Names are compared exactly, letter case included.
#include <string>
#include <vector>

#include "check_table_probe.h"
#include <velmora/check_table.h>
#include "test_support.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A table "t" keyed by uid and zone, with a value field v.
ZemMetaDef KeyedTable(std::vector<ZemIndexDef> indexes = {}) {
  ZemMetaDef meta = Table("t", {Field("uid"), Field("zone"), Field("v")}, {"uid", "zone"});
  meta.indexes = std::move(indexes);
  return meta;
}

class KeyLookupsTest : public ::testing::Test {
 protected:
  LPZEMMETA Build(const ZemMetaDef& def) {
    lib_ = BuildLib({def});
    return lib_ == nullptr ? nullptr : zem_get_meta_by_name(lib_.get(), def.name.c_str());
  }
  int ExistEntry(const char* name, LPZEMMETA meta) {
    return CheckTableProbe::CheckWhetherExistEntry(checker_, name, meta, log_.handle());
  }
  int PrimaryKey(const char* name, LPZEMMETA meta) {
    return CheckTableProbe::CheckWhetherPrimaryKey(checker_, name, meta, log_.handle());
  }
  int InEveryIndex(const char* name, LPZEMMETA meta) {
    return CheckTableProbe::CheckWhetherIndex(checker_, name, meta, log_.handle());
  }
  int ColumnField(const char* name, LPZEMMETAINDEX index, LPZEMMETA meta) {
    return CheckTableProbe::CheckWhetherColumnField(checker_, name, index, meta, log_.handle());
  }

  // The message and the one error line a failed lookup leaves.
  void ExpectReported(const char* message, const char* function) {
    EXPECT_STREQ(checker_.GetErrType(), message);
    EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR, message, function)));
  }
  // Neither a message nor a log line.
  void ExpectSilent() {
    EXPECT_STREQ(checker_.GetErrType(), "");
    EXPECT_THAT(log_.lines(), IsEmpty());
  }

  CheckTable checker_;
  LogCapture log_;
  ZemMetaLibPtr lib_;
};

// ---- CheckWhetherExistEntry

TEST_F(KeyLookupsTest, ExistEntryFindsFieldOfTable) {
  LPZEMMETA meta = Build(KeyedTable());
  EXPECT_EQ(ExistEntry("v", meta), CHECK_TABLE_SUCCESS);
  ExpectSilent();
}

TEST_F(KeyLookupsTest, ExistEntryRejectsNullName) {
  EXPECT_EQ(ExistEntry(nullptr, Build(KeyedTable())), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  ExpectReported("Entry_name or meta is invalid", "CheckWhetherExistEntry");
}

TEST_F(KeyLookupsTest, ExistEntryRejectsNullMeta) {
  EXPECT_EQ(ExistEntry("v", nullptr), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  ExpectReported("Entry_name or meta is invalid", "CheckWhetherExistEntry");
}

TEST_F(KeyLookupsTest, ExistEntryRejectsTableWithNegativeEntryCount) {
  ZemMetaDef def = KeyedTable();
  def.entry_num = -1;
  EXPECT_EQ(ExistEntry("uid", Build(def)), ERROR_PRIMARYKEY_FIELD);
  ExpectReported("Table dose not have entry, table:'t'", "CheckWhetherExistEntry");
}

TEST_F(KeyLookupsTest, ExistEntryFindsNothingInTableWithoutEntries) {
  EXPECT_EQ(ExistEntry("uid", Build(Table("t", {}))), ERROR_EIXST_FIELD);
  ExpectReported("The entry: uid is not exist! table:'t'", "CheckWhetherExistEntry");
}

TEST_F(KeyLookupsTest, ExistEntryComparesLetterCase) {
  EXPECT_EQ(ExistEntry("UID", Build(KeyedTable())), ERROR_EIXST_FIELD);
  ExpectReported("The entry: UID is not exist! table:'t'", "CheckWhetherExistEntry");
}

TEST_F(KeyLookupsTest, ExistEntryPassesOverEmptyEntrySlots) {
  ZemMetaDef def = KeyedTable();
  def.entry_num = 5;  // slots 3 and 4 hold no entry
  LPZEMMETA meta = Build(def);
  EXPECT_EQ(ExistEntry("v", meta), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(ExistEntry("w", meta), ERROR_EIXST_FIELD);
  ExpectReported("The entry: w is not exist! table:'t'", "CheckWhetherExistEntry");
}

// ---- CheckWhetherPrimaryKey

TEST_F(KeyLookupsTest, PrimaryKeyFindsEveryMember) {
  LPZEMMETA meta = Build(KeyedTable());
  EXPECT_EQ(PrimaryKey("uid", meta), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(PrimaryKey("zone", meta), CHECK_TABLE_SUCCESS);
  ExpectSilent();
}

TEST_F(KeyLookupsTest, PrimaryKeyRejectsNullName) {
  EXPECT_EQ(PrimaryKey(nullptr, Build(KeyedTable())), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  ExpectReported("Entry_name or meta is invalid", "CheckWhetherPrimaryKey");
}

TEST_F(KeyLookupsTest, PrimaryKeyRejectsNullMeta) {
  EXPECT_EQ(PrimaryKey("uid", nullptr), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  ExpectReported("Entry_name or meta is invalid", "CheckWhetherPrimaryKey");
}

TEST_F(KeyLookupsTest, PrimaryKeyRejectsTableWithoutKey) {
  EXPECT_EQ(PrimaryKey("uid", Build(Table("t", {Field("uid")}))), ERROR_PRIMARYKEY_FIELD);
  ExpectReported("Table should have primaykey! table:'t'", "CheckWhetherPrimaryKey");
}

TEST_F(KeyLookupsTest, PrimaryKeyRejectsKeyCountWhoseKeyArrayIsAbsent) {
  ZemMetaDef def = Table("t", {Field("uid")});
  def.primary_key_num = 1;
  def.primary_key_base_absent = true;
  EXPECT_EQ(PrimaryKey("uid", Build(def)), ERROR_PRIMARYKEY_FIELD);
  ExpectReported("Table should have primaykey! table:'t'", "CheckWhetherPrimaryKey");
}

TEST_F(KeyLookupsTest, PrimaryKeyRejectsValueField) {
  EXPECT_EQ(PrimaryKey("v", Build(KeyedTable())), ERROR_EIXST_FIELD);
  ExpectReported("Entry is not belong to primarykey!Entry:'v' table:'t'", "CheckWhetherPrimaryKey");
}

TEST_F(KeyLookupsTest, PrimaryKeyRejectsNameDifferingOnlyInLetterCase) {
  EXPECT_EQ(PrimaryKey("Uid", Build(KeyedTable())), ERROR_EIXST_FIELD);
  ExpectReported("Entry is not belong to primarykey!Entry:'Uid' table:'t'",
                 "CheckWhetherPrimaryKey");
}

// ---- CheckWhetherIndex

TEST_F(KeyLookupsTest, IndexFindsNameInEveryIndex) {
  LPZEMMETA meta = Build(KeyedTable({Index("i1", {"zone", "uid"}), Index("i2", {"uid"})}));
  EXPECT_EQ(InEveryIndex("uid", meta), CHECK_TABLE_SUCCESS);
  ExpectSilent();
}

TEST_F(KeyLookupsTest, IndexRejectsNullName) {
  EXPECT_EQ(InEveryIndex(nullptr, Build(KeyedTable({Index("i", {"uid"})}))),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  ExpectReported("Entry_name or meta is invalid", "CheckWhetherIndex");
}

TEST_F(KeyLookupsTest, IndexRejectsNullMeta) {
  EXPECT_EQ(InEveryIndex("uid", nullptr), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  ExpectReported("Entry_name or meta is invalid", "CheckWhetherIndex");
}

TEST_F(KeyLookupsTest, IndexRejectsTableWithoutIndexes) {
  EXPECT_EQ(InEveryIndex("uid", Build(KeyedTable())), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  ExpectReported("Table dose not have index, table:'t'", "CheckWhetherIndex");
}

TEST_F(KeyLookupsTest, IndexAcceptsAnyNameForNegativeIndexCount) {
  ZemMetaDef def = KeyedTable({Index("i", {"zone"})});
  def.index_num = -1;
  EXPECT_EQ(InEveryIndex("uid", Build(def)), CHECK_TABLE_SUCCESS);
  ExpectSilent();
}

TEST_F(KeyLookupsTest, IndexRejectsNameMissingFromOneIndex) {
  LPZEMMETA meta = Build(KeyedTable({Index("i1", {"uid"}), Index("i2", {"zone"})}));
  EXPECT_EQ(InEveryIndex("uid", meta), ERROR_EIXST_FIELD);
  ExpectReported("Splittablekey field is not belong to index field! Splittablekey:'uid',table:'t'",
                 "CheckWhetherIndex");
}

TEST_F(KeyLookupsTest, IndexRejectsAnyNameWhenAnIndexHasNoColumns) {
  EXPECT_EQ(InEveryIndex("uid", Build(KeyedTable({Index("empty", {})}))), ERROR_EIXST_FIELD);
  ExpectReported("Splittablekey field is not belong to index field! Splittablekey:'uid',table:'t'",
                 "CheckWhetherIndex");
}

TEST_F(KeyLookupsTest, IndexFillsBufferWithoutLogHandle) {
  LPZEMMETA meta = Build(KeyedTable({Index("i", {"zone"})}));
  EXPECT_EQ(CheckTableProbe::CheckWhetherIndex(checker_, "uid", meta, nullptr), ERROR_EIXST_FIELD);
  EXPECT_STREQ(checker_.GetErrType(),
               "Splittablekey field is not belong to index field! Splittablekey:'uid',table:'t'");
  EXPECT_THAT(log_.lines(), IsEmpty());
}

// ---- CheckWhetherColumnField

TEST_F(KeyLookupsTest, ColumnFieldFindsColumnOfIndex) {
  LPZEMMETA meta = Build(KeyedTable({Index("i", {"zone", "uid"})}));
  EXPECT_EQ(ColumnField("uid", zem_meta_index(meta, 0), meta), CHECK_TABLE_SUCCESS);
  ExpectSilent();
}

TEST_F(KeyLookupsTest, ColumnFieldAnswersMissingColumnSilently) {
  LPZEMMETA meta = Build(KeyedTable({Index("i", {"zone"})}));
  EXPECT_EQ(ColumnField("uid", zem_meta_index(meta, 0), meta), ERROR_EIXST_FIELD);
  EXPECT_EQ(ColumnField("Zone", zem_meta_index(meta, 0), meta), ERROR_EIXST_FIELD);
  ExpectSilent();
}

TEST_F(KeyLookupsTest, ColumnFieldAnswersIndexWithoutColumnsSilently) {
  LPZEMMETA meta = Build(KeyedTable({Index("empty", {})}));
  EXPECT_EQ(ColumnField("uid", zem_meta_index(meta, 0), meta), ERROR_EIXST_FIELD);
  ExpectSilent();
}

TEST_F(KeyLookupsTest, ColumnFieldReportsNullIndexWithNotFoundCode) {
  EXPECT_EQ(ColumnField("uid", nullptr, Build(KeyedTable())), ERROR_EIXST_FIELD);
  ExpectReported("CHECK_TABLE_ERROR_INVALID_PARAMETER! table:'t'", "CheckWhetherColumnField");
}

TEST_F(KeyLookupsTest, ColumnFieldReportsNullNameWithNotFoundCode) {
  LPZEMMETA meta = Build(KeyedTable({Index("i", {"uid"})}));
  EXPECT_EQ(ColumnField(nullptr, zem_meta_index(meta, 0), meta), ERROR_EIXST_FIELD);
  ExpectReported("CHECK_TABLE_ERROR_INVALID_PARAMETER! table:'t'", "CheckWhetherColumnField");
}

}  // namespace
