// Value fields: how many a table may have, of which types, and the string-with-count rule that
// closes the check; also the type test and the value field count of the public interface.
#include <string>
#include <vector>

#include "check_table_probe.h"
#include <velmora/check_table.h>
#include <velmora/zem.h>
#include "test_support.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const char* const kCheck = "CheckValueField";

// A table "t" with one key field k and value_num int32 value fields v0, v1, ...
ZemMetaDef TableWithValues(int value_num, std::vector<ZemEntryDef> extra = {}) {
  std::vector<ZemEntryDef> entries = {Field("k")};
  for (int i = 0; i < value_num; ++i) entries.push_back(Field("v" + std::to_string(i)));
  for (ZemEntryDef& entry : extra) entries.push_back(entry);
  return Table("t", entries, {"k"});
}

class ValueFieldTest : public ::testing::Test {
 protected:
  // Runs the check on table "t" of the given description.
  int Run(ZemMetaDef table, int table_type, const std::string& version) {
    lib_ = BuildLib({std::move(table)});
    return CheckTableProbe::CheckValueField(checker_, zem_get_meta_by_name(lib_.get(), "t"),
                                            table_type, version, log_.handle());
  }
  std::string Message() const { return checker_.GetErrType(); }

  ZemMetaLibPtr lib_;
  CheckTable checker_;
  LogCapture log_;
};

TEST_F(ValueFieldTest, NullMetaIsAnInvalidParameter) {
  EXPECT_EQ(CheckTableProbe::CheckValueField(checker_, nullptr, 0, "", log_.handle()),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Message(), "meta is NULL");
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(300, "meta is NULL", kCheck)));
}

TEST_F(ValueFieldTest, NullLogHandleStillFillsTheErrorBuffer) {
  lib_ = BuildLib({TableWithValues(257)});
  EXPECT_EQ(CheckTableProbe::CheckValueField(checker_, zem_get_meta_by_name(lib_.get(), "t"), 0, "",
                                             nullptr),
            -3);
  EXPECT_EQ(Message(), "The number of value field can not more than 256! table: 't'");
  EXPECT_EQ(CheckTableProbe::CheckValueField(checker_, nullptr, 0, "", nullptr),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Message(), "meta is NULL");
}

TEST_F(ValueFieldTest, MetaWithoutEntriesHasZeroValueFields) {
  EXPECT_EQ(Run(Table("t", {}), 0, ""), ERROR_VALUE_FIELD);
  EXPECT_EQ(Message(), "The number of value field can not be zero! table: 't'");
  EXPECT_THAT(
      log_.lines(),
      ElementsAre(LogLineIs(300, "The number of value field can not be zero! table: 't'", kCheck)));
}

TEST_F(ValueFieldTest, NegativeEntryCountHasZeroValueFields) {
  ZemMetaDef table = Table("t", {});
  table.entry_num = -4;
  EXPECT_EQ(Run(table, 0, ""), ERROR_VALUE_FIELD);
  EXPECT_EQ(Message(), "The number of value field can not be zero! table: 't'");
}

TEST_F(ValueFieldTest, KeyFieldsOnlyHaveZeroValueFields) {
  EXPECT_EQ(Run(Table("t", {Field("k1"), Field("k2")}, {"k1", "k2"}), 1, "3.40.0.193253"),
            ERROR_VALUE_FIELD);
  EXPECT_EQ(Message(), "The number of value field can not be zero! table: 't'");
}

TEST_F(ValueFieldTest, GenericTableWith256ValuesPassesFromGateVersionOn) {
  EXPECT_EQ(Run(TableWithValues(256), 0, "3.40.0.193253"), 0);
  EXPECT_EQ(Run(TableWithValues(256), 0, "3.41.0"), 0);
}

TEST_F(ValueFieldTest, GenericTableWith256ValuesPassesWithoutServerVersion) {
  EXPECT_EQ(Run(TableWithValues(256), 0, ""), 0);
}

TEST_F(ValueFieldTest, GenericTableWith257ValuesFailsWhateverTheVersion) {
  for (const char* version : {"", "3.39.0", "3.40.0.193253", "99.0.0"}) {
    log_.Clear();
    EXPECT_EQ(Run(TableWithValues(257), 0, version), -3) << version;
    EXPECT_EQ(Message(), "The number of value field can not more than 256! table: 't'");
    EXPECT_THAT(log_.lines(),
                ElementsAre(LogLineIs(
                    300, "The number of value field can not more than 256! table: 't'", kCheck)));
  }
}

TEST_F(ValueFieldTest, GenericTableAbove128ValuesNeedsGateVersion) {
  EXPECT_EQ(Run(TableWithValues(129), 0, "3.39.0"), ERROR_VALUE_FIELD);
  EXPECT_EQ(Message(), "svr version 3.39.0 < 3.40.0.193253, not support 256 value! table: 't'");
  EXPECT_THAT(
      log_.lines(),
      ElementsAre(LogLineIs(
          300, "svr version 3.39.0 < 3.40.0.193253, not support 256 value! table: 't'", kCheck)));
}

TEST_F(ValueFieldTest, GenericTableWith128ValuesPassesOnOlderServer) {
  EXPECT_EQ(Run(TableWithValues(128), 0, "3.39.0"), 0);
}

TEST_F(ValueFieldTest, GateComparesAllFourVersionParts) {
  EXPECT_EQ(Run(TableWithValues(129), 0, "3.40.0.193252"), ERROR_VALUE_FIELD);
  EXPECT_EQ(Message(),
            "svr version 3.40.0.193252 < 3.40.0.193253, not support 256 value! table: 't'");
}

TEST_F(ValueFieldTest, ListTableAbove127ValuesNeedsGateVersion) {
  EXPECT_EQ(Run(TableWithValues(128), 1, "3.39.0"), ERROR_VALUE_FIELD);
  EXPECT_EQ(Message(), "svr version 3.39.0 < 3.40.0.193253, not support 256 value! table: 't'");
}

TEST_F(ValueFieldTest, ListTableWith127ValuesPassesOnOlderServer) {
  EXPECT_EQ(Run(TableWithValues(127), 1, "3.39.0"), 0);
}

TEST_F(ValueFieldTest, ListTableWith255ValuesPassesFromGateVersionOrWithoutVersion) {
  EXPECT_EQ(Run(TableWithValues(255), 1, "3.40.0.193253"), 0);
  EXPECT_EQ(Run(TableWithValues(255), 1, ""), 0);
}

TEST_F(ValueFieldTest, OtherTableKindsHaveNoVersionGate) {
  EXPECT_EQ(Run(TableWithValues(200), 2, "3.39.0"), 0);
  EXPECT_EQ(Run(TableWithValues(200), 2, ""), 0);
  EXPECT_EQ(Run(TableWithValues(255), -1, "1.0"), 0);
}

TEST_F(ValueFieldTest, AnyNonZeroKindWith256ValuesFailsAsListTable) {
  for (int table_type : {1, 2, -1}) {
    log_.Clear();
    EXPECT_EQ(Run(TableWithValues(256), table_type, "3.40.0.193253"), -3) << table_type;
    EXPECT_EQ(Message(), "The number of value field can not more than 255! list table: 't'");
    EXPECT_THAT(
        log_.lines(),
        ElementsAre(LogLineIs(
            300, "The number of value field can not more than 255! list table: 't'", kCheck)));
  }
}

TEST_F(ValueFieldTest, KeyFieldOfUnsupportedTypeIsSkipped) {
  ZemMetaDef table = Table("t", {Field("k", ZEM_TYPE_WSTRING), Field("v")}, {"k"});
  EXPECT_EQ(Run(table, 0, ""), 0);
}

TEST_F(ValueFieldTest, UnsupportedValueTypeFailsBeforeCountLimits) {
  EXPECT_EQ(Run(TableWithValues(300, {Field("w", ZEM_TYPE_WSTRING)}), 0, ""),
            ERROR_FIELD_TYPE_ILLEGAL);
  EXPECT_EQ(Message(), "The entry type is not supported! entry_name:'w' table='t'");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(
                  300, "The entry type is not supported! entry_name:'w' table='t'", kCheck)));
}

TEST_F(ValueFieldTest, NegativeTypeCodeIsUnsupported) {
  EXPECT_EQ(Run(TableWithValues(1, {Field("neg", -1)}), 0, ""), ERROR_FIELD_TYPE_ILLEGAL);
  EXPECT_EQ(Message(), "The entry type is not supported! entry_name:'neg' table='t'");
}

TEST_F(ValueFieldTest, FirstUnsupportedEntryInOrderIsReported) {
  EXPECT_EQ(Run(TableWithValues(1, {Field("w1", 30), Field("w2", 22)}), 0, ""),
            ERROR_FIELD_TYPE_ILLEGAL);
  EXPECT_EQ(Message(), "The entry type is not supported! entry_name:'w1' table='t'");
}

TEST_F(ValueFieldTest, StringValueWithCountFailsWithItsReport) {
  EXPECT_EQ(Run(TableWithValues(1, {Field("s", ZEM_TYPE_STRING, 2)}), 0, ""),
            ERROR_FIELD_TYPE_ILLEGAL);
  EXPECT_EQ(Message(), "these string entry should not have 'count' attribute : s ");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(
                  300, "these string entry should not have 'count' attribute : s ", kCheck)));
}

TEST_F(ValueFieldTest, StringValueWithCountOneAndAllSupportedTypesPass) {
  std::vector<ZemEntryDef> extra = {Field("s", ZEM_TYPE_STRING, 1)};
  for (int type = 0; type <= ZEM_TYPE_STRING; ++type) {
    extra.push_back(Field("t" + std::to_string(type), type));
  }
  EXPECT_EQ(Run(TableWithValues(0, extra), 0, ""), 0);
}

TEST_F(ValueFieldTest, StringReportShowsPercentNamesAsText) {
  EXPECT_EQ(
      Run(TableWithValues(1, {Field("a%n", ZEM_TYPE_STRING, 2), Field("b%%c", ZEM_TYPE_STRING, 3)}),
          0, ""),
      -16);
  EXPECT_EQ(Message(), "these string entry should not have 'count' attribute : a%n b%c ");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(
                  300, "these string entry should not have 'count' attribute : a%n b%c ", kCheck)));
}

TEST_F(ValueFieldTest, StringReportComesAfterCountLimits) {
  EXPECT_EQ(Run(TableWithValues(256, {Field("s", ZEM_TYPE_STRING, 2)}), 0, ""), ERROR_VALUE_FIELD);
  EXPECT_EQ(Message(), "The number of value field can not more than 256! table: 't'");
}

TEST_F(ValueFieldTest, NullEntryInTheWalkIsAnInvalidParameter) {
  ZemMetaDef table = TableWithValues(2);
  table.entries[1].null_slot = true;
  EXPECT_EQ(Run(table, 0, ""), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Message(), "entry 1 is null! Meta name: t");
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(300, "entry 1 is null! Meta name: t", kCheck)));
}

TEST_F(ValueFieldTest, SuccessLogsInfoLineAndLeavesBufferAlone) {
  EXPECT_EQ(Run(TableWithValues(3), 0, "3.40.0.193253"), 0);
  EXPECT_EQ(Message(), "");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(600, "CheckValueField success! table: 't' ", kCheck)));
  EXPECT_EQ(log_.lines()[0].file, "src/common/check_table_fields.cpp");
}

// The type test on its own.

TEST(WhetherTypeSupportedTest, NullEntryIsAnInvalidParameter) {
  CheckTable checker;
  LogCapture log;
  EXPECT_EQ(CheckTableProbe::CheckWhetherTypeSupportted(checker, nullptr, log.handle()),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_STREQ(checker.GetErrType(), "pstEntry is NULL");
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLineIs(300, "pstEntry is NULL", "CheckWhetherTypeSupportted")));
}

TEST(WhetherTypeSupportedTest, CodesBelow22AreSupportedOthersAreNotAndNothingIsReported) {
  auto lib = BuildLib({Table(
      "t", {Field("u", 0), Field("s", 21), Field("w", 22), Field("n", -1), Field("x", 1000)})});
  LPZEMMETA meta = zem_get_meta_by_name(lib.get(), "t");
  CheckTable checker;
  LogCapture log;
  const int expected[] = {0, 0, -7, -7, -7};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(CheckTableProbe::CheckWhetherTypeSupportted(checker, zem_get_entry_by_index(meta, i),
                                                          log.handle()),
              expected[i])
        << i;
  }
  EXPECT_STREQ(checker.GetErrType(), "");
  EXPECT_THAT(log.lines(), IsEmpty());
}

// The value field count of the public interface.

TEST(ValueFieldNumTest, NullMetaOnlyLogs) {
  CheckTable checker;
  LogCapture log;
  EXPECT_EQ(checker.GetValueFieldNum(nullptr, log.handle()), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_STREQ(checker.GetErrType(), "");
  EXPECT_THAT(log.lines(), ElementsAre(LogLineIs(300, "meta is NULL", "GetValueFieldNum")));
}

TEST(ValueFieldNumTest, CountsEveryNonKeyEntryWhateverItsType) {
  auto lib = BuildLib({Table("t",
                             {Field("k1"), Field("k2"), Field("v"), Field("w", ZEM_TYPE_WSTRING),
                              Field("s", ZEM_TYPE_STRING, 4)},
                             {"k1", "k2"})});
  CheckTable checker;
  LogCapture log;
  EXPECT_EQ(checker.GetValueFieldNum(zem_get_meta_by_name(lib.get(), "t"), log.handle()), 3);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(ValueFieldNumTest, SubtractsTheDeclaredKeyCount) {
  ZemMetaDef table = Table("t", {Field("k1"), Field("k2"), Field("v")}, {"k1", "k2"});
  table.primary_key_num = 1;
  auto lib = BuildLib({table});
  CheckTable checker;
  EXPECT_EQ(checker.GetValueFieldNum(zem_get_meta_by_name(lib.get(), "t"), nullptr), 2);
}

}  // namespace
