// Field sizes: a key field holds at most 1K, a value field 128k before server 3.29.0, 256k from
// 3.29.0 and 10M from 3.39.0. Sizes are unit size times count, judged and printed in 64 bits.
#include <climits>
#include <cstdint>
#include <string>
#include <vector>

#include "check_table_probe.h"
#include <velmora/check_table.h>
#include <velmora/zem.h>
#include "test_support.h"

namespace {

using ::testing::ElementsAre;

const char* const kCheck = "CheckValueFieldLen";

// A field of count elements of unit_size bytes each.
ZemEntryDef Sized(const std::string& name, uint32_t unit_size, int count = 1,
                  int type = ZEM_TYPE_BYTE) {
  ZemEntryDef entry = Field(name, type, count);
  entry.unit_size = unit_size;
  return entry;
}

class ValueFieldLenTest : public ::testing::Test {
 protected:
  // Runs the check on table "t" with these entries and key members.
  bool Run(std::vector<ZemEntryDef> entries, std::vector<std::string> key,
           const std::string& version) {
    return RunTable(Table("t", std::move(entries), std::move(key)), version);
  }
  bool RunTable(ZemMetaDef table, const std::string& version) {
    log_.Clear();
    lib_ = BuildLib({std::move(table)});
    return CheckTableProbe::CheckValueFieldLen(checker_, zem_get_meta_by_name(lib_.get(), "t"),
                                               log_.handle(), version);
  }
  std::string Message() const { return checker_.GetErrType(); }

  ZemMetaLibPtr lib_;
  CheckTable checker_;
  LogCapture log_;
};

TEST_F(ValueFieldLenTest, NullMetaFails) {
  EXPECT_FALSE(CheckTableProbe::CheckValueFieldLen(checker_, nullptr, log_.handle(), "3.39.0"));
  EXPECT_EQ(Message(), "meta is NULL");
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(300, "meta is NULL", kCheck)));
}

TEST_F(ValueFieldLenTest, NullLogHandleStillFillsTheErrorBuffer) {
  lib_ = BuildLib({Table("t", {Sized("k", 1025)}, {"k"})});
  EXPECT_FALSE(CheckTableProbe::CheckValueFieldLen(checker_, zem_get_meta_by_name(lib_.get(), "t"),
                                                   nullptr, "3.39.0"));
  EXPECT_EQ(Message(), "ERR_ENTRY_LEN;k|");
  EXPECT_FALSE(CheckTableProbe::CheckValueFieldLen(checker_, nullptr, nullptr, "3.39.0"));
  EXPECT_EQ(Message(), "meta is NULL");
}

TEST_F(ValueFieldLenTest, MetaWithoutEntriesIsInvalidNotAnEmptyList) {
  EXPECT_FALSE(Run({}, {}, "3.39.0"));
  EXPECT_EQ(Message(), "Zem meta is invalid! Meta name: t");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(300, "Zem meta is invalid! Meta name: t", kCheck)));
}

TEST_F(ValueFieldLenTest, NegativeEntryCountIsInvalid) {
  ZemMetaDef table = Table("t", {});
  table.entry_num = -1;
  EXPECT_FALSE(RunTable(table, "3.39.0"));
  EXPECT_EQ(Message(), "Zem meta is invalid! Meta name: t");
}

TEST_F(ValueFieldLenTest, KeyOf1024BytesPassesWhateverTheVersion) {
  for (const char* version : {"", "3.28.9", "3.29.0", "3.39.0", "9.0"}) {
    EXPECT_TRUE(Run({Sized("k", 1024), Sized("v", 4)}, {"k"}, version)) << version;
  }
}

TEST_F(ValueFieldLenTest, KeyOf1025BytesFailsWhateverTheVersion) {
  for (const char* version : {"", "3.28.9", "3.29.0", "3.39.0", "9.0"}) {
    EXPECT_FALSE(Run({Sized("k", 1025), Sized("v", 4)}, {"k"}, version)) << version;
    EXPECT_EQ(Message(), "ERR_ENTRY_LEN;k|");
  }
}

TEST_F(ValueFieldLenTest, KeyOf2000BytesFailsOnNewServerWithLogLines) {
  EXPECT_FALSE(Run({Sized("k", 500, 4, ZEM_TYPE_INT32)}, {"k"}, "3.39.0"));
  EXPECT_EQ(Message(), "ERR_ENTRY_LEN;k|");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(300, "key k length(2000) is greater than 1K", kCheck),
                          LogLineIs(700, "type:7 size:2000,version:3.39.0", kCheck)));
}

TEST_F(ValueFieldLenTest, Before329ValueLimitIs128k) {
  EXPECT_TRUE(Run({Sized("v", 131072)}, {}, "3.28.9"));
  EXPECT_FALSE(Run({Sized("v", 131073)}, {}, "3.28.9"));
  EXPECT_EQ(Message(), "ERR_ENTRY_LEN;v|");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(300, "entry v length(131073) is greater than 128k", kCheck),
                          LogLineIs(700, "type:4 size:131073,version:3.28.9", kCheck)));
}

TEST_F(ValueFieldLenTest, EmptyVersionGetsTheOldestLimit) {
  EXPECT_TRUE(Run({Sized("v", 131072)}, {}, ""));
  EXPECT_FALSE(Run({Sized("v", 131073)}, {}, ""));
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(300, "entry v length(131073) is greater than 128k", kCheck),
                          LogLineIs(700, "type:4 size:131073,version:", kCheck)));
}

TEST_F(ValueFieldLenTest, From329ValueLimitIs256k) {
  EXPECT_TRUE(Run({Sized("v", 262144)}, {}, "3.29.0"));
  EXPECT_TRUE(Run({Sized("v", 1024, 256)}, {}, "3.38.9"));
  EXPECT_FALSE(Run({Sized("v", 262145)}, {}, "3.29.0"));
  EXPECT_EQ(Message(), "ERR_ENTRY_LEN;v|");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(300, "entry v length(262145) is greater than 256k", kCheck),
                          LogLineIs(700, "type:4 size:262145,version:3.29.0", kCheck)));
}

TEST_F(ValueFieldLenTest, From339ValueLimitIs10M) {
  EXPECT_TRUE(Run({Sized("v", 10485760)}, {}, "3.39.0"));
  EXPECT_TRUE(Run({Sized("v", 1024, 10240)}, {}, "4.0.0"));
  EXPECT_FALSE(Run({Sized("v", 10485761)}, {}, "3.39.0"));
  EXPECT_EQ(Message(), "ERR_ENTRY_LEN;v|");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(300, "entry v length(10485761) is greater than 10M", kCheck),
                          LogLineIs(700, "type:4 size:10485761,version:3.39.0", kCheck)));
}

TEST_F(ValueFieldLenTest, EveryOffendingEntryIsListedInOrder) {
  EXPECT_FALSE(Run({Sized("a", 131073), Sized("m", 8), Sized("b", 200000)}, {}, "3.28.9"));
  EXPECT_EQ(Message(), "ERR_ENTRY_LEN;a|b|");
  // The list itself is not logged: each offending entry was, in its own line.
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(300, "entry a length(131073) is greater than 128k", kCheck),
                          LogLineIs(700, "type:4 size:131073,version:3.28.9", kCheck),
                          LogLineIs(700, "type:4 size:8,version:3.28.9", kCheck),
                          LogLineIs(300, "entry b length(200000) is greater than 128k", kCheck),
                          LogLineIs(700, "type:4 size:200000,version:3.28.9", kCheck)));
}

TEST_F(ValueFieldLenTest, KeyAndValueLimitsApplyInOneWalk) {
  EXPECT_FALSE(Run({Sized("k", 2048), Sized("v", 300000)}, {"k"}, "3.29.0"));
  EXPECT_EQ(Message(), "ERR_ENTRY_LEN;k|v|");
}

TEST_F(ValueFieldLenTest, NullEntryStopsTheWalkAndDropsTheList) {
  ZemMetaDef table = Table("t", {Sized("big", 200000), Sized("gone", 4)});
  table.entries[1].null_slot = true;
  EXPECT_FALSE(RunTable(table, "3.28.9"));
  EXPECT_EQ(Message(), "entry 1 is null! Meta name: t");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(300, "entry big length(200000) is greater than 128k", kCheck),
                          LogLineIs(700, "type:4 size:200000,version:3.28.9", kCheck),
                          LogLineIs(300, "entry 1 is null! Meta name: t", kCheck)));
}

TEST_F(ValueFieldLenTest, SuccessLogsEachEntryThenInfoLineAndLeavesBufferAlone) {
  EXPECT_TRUE(
      Run({Sized("k", 8, 1, ZEM_TYPE_INT64), Field("v", ZEM_TYPE_STRING)}, {"k"}, "3.39.0"));
  EXPECT_EQ(Message(), "");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(700, "type:11 size:8,version:3.39.0", kCheck),
                          LogLineIs(700, "type:21 size:1,version:3.39.0", kCheck),
                          LogLineIs(600, "CheckValueFieldLen successed! table: 't' ", kCheck)));
  EXPECT_EQ(log_.lines()[2].file, "src/common/check_table_fields.cpp");
}

TEST_F(ValueFieldLenTest, SizeBeyondIntRangeIsJudgedAndPrintedIn64Bits) {
  // 2147483647 elements of a 64-byte struct.
  std::vector<ZemEntryDef> members;
  for (int i = 0; i < 16; ++i) members.push_back(Field("m" + std::to_string(i)));
  ZemEntryDef huge = Sized("huge", 64, INT_MAX, ZEM_TYPE_STRUCT);
  huge.type_meta = "item";
  log_.Clear();
  lib_ = BuildLib({Table("item", members), Table("t", {huge})});
  EXPECT_FALSE(CheckTableProbe::CheckValueFieldLen(checker_, zem_get_meta_by_name(lib_.get(), "t"),
                                                   log_.handle(), "3.39.0"));
  EXPECT_EQ(Message(), "ERR_ENTRY_LEN;huge|");
  EXPECT_THAT(
      log_.lines(),
      ElementsAre(LogLineIs(300, "entry huge length(137438953408) is greater than 10M", kCheck),
                  LogLineIs(700, "type:1 size:137438953408,version:3.39.0", kCheck)));
}

TEST_F(ValueFieldLenTest, SizeThatWouldWrapToZeroIn32BitsIsRejected) {
  EXPECT_FALSE(Run({Sized("wrap", 65536, 65536)}, {}, "3.39.0"));
  EXPECT_EQ(Message(), "ERR_ENTRY_LEN;wrap|");
  EXPECT_THAT(
      log_.lines(),
      ElementsAre(LogLineIs(300, "entry wrap length(4294967296) is greater than 10M", kCheck),
                  LogLineIs(700, "type:4 size:4294967296,version:3.39.0", kCheck)));
}

TEST_F(ValueFieldLenTest, KeySizeBeyondIntRangeIsRejected) {
  EXPECT_FALSE(Run({Sized("k", 4294967295u, 2)}, {"k"}, "3.39.0"));
  EXPECT_EQ(Message(), "ERR_ENTRY_LEN;k|");
  EXPECT_THAT(log_.lines()[0],
              LogLineIs(300, "key k length(8589934590) is greater than 1K", kCheck));
}

TEST_F(ValueFieldLenTest, NegativeCountGivesANegativeSizeThatPasses) {
  EXPECT_TRUE(Run({Sized("v", 4, -3)}, {}, "3.39.0"));
  EXPECT_THAT(log_.lines()[0], LogLineIs(700, "type:4 size:-12,version:3.39.0", kCheck));
}

TEST_F(ValueFieldLenTest, LongListIsCutTo1023Characters) {
  std::vector<ZemEntryDef> entries;
  for (int i = 0; i < 100; ++i) {
    entries.push_back(Sized("field_number_" + std::to_string(i), 131073));
  }
  EXPECT_FALSE(Run(entries, {}, "3.28.9"));
  EXPECT_EQ(Message().size(), 1023u);
  EXPECT_EQ(Message().rfind("ERR_ENTRY_LEN;field_number_0|field_number_1|", 0), 0u);
}

}  // namespace
