// The checker object and its entry point: construction, the error buffer, and the fixed order in
// which VelmoraCheckTable applies the table rules, including the gate that keeps keys of many
// fields away from proxies too old to serve them.
#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "test_support.h"
#include "check_table_probe.h"
#include <velmora/check_table.h>

namespace {

using ::testing::ElementsAre;

const char kInvalidParameter[] =
    "Invaild parameter\xef\xbc\x8c"
    "please check the parameter! table: '%s'";
const char kInvalidType[] =
    "Table_type is invaild type\xef\xbc\x8c"
    "please check the table type!  table:'%s'";

std::string Fill(const char* format, const std::string& name) {
  std::string text(format);
  const size_t at = text.find("%s");
  return text.replace(at, 2, name);
}

std::string MetaNotFound(const std::string& name) {
  return "Get meta info failed, please check the table name! table:'" + name + "'";
}
std::string ProxyGate(const std::string& name, int keys, int limit, const std::string& proxy) {
  return "This table:" + name + " 's key num:" + std::to_string(keys) + " is more than " +
         std::to_string(limit) + ",proxy version need >= 3.37.0,but now is :" + proxy;
}
std::string RestProxyGate(const std::string& name, int keys, int limit, const std::string& proxy) {
  return "This table:" + name + " 's key num:" + std::to_string(keys) + " is more than " +
         std::to_string(limit) + ",rest proxy version need >= 3.37.0,but now is :" + proxy;
}
std::string ValidityLine(const std::string& name) {
  return "CheckTableNameValidity successed! table: '" + name + "'";
}
std::string LengthLine(const std::string& name) {
  return "CheckTableNameLength successed! table: '" + name + "' ";
}
std::string SuccessLine(const std::string& name) {
  return "CheckTable succees! table:'" + name + "'";
}

// A table that passes every rule: key fields of int32 and uint64, one value field, no index.
ZemMetaDef KeyedTable(const std::string& name, int key_fields) {
  std::vector<ZemEntryDef> entries;
  std::vector<std::string> key;
  const char* const key_names[] = {"uid", "zone", "role", "slot", "day", "seq", "kind", "part"};
  for (int k = 0; k < key_fields; ++k) {
    entries.push_back(Field(key_names[k], k % 2 == 0 ? ZEM_TYPE_INT32 : ZEM_TYPE_UINT64));
    key.push_back(key_names[k]);
  }
  entries.push_back(Field("v", ZEM_TYPE_INT32));
  return Table(name, entries, key);
}

// Every table of these tests in one library.
ZemMetaLibPtr Lib() {
  ZemMetaDef split = KeyedTable("split", 2);
  split.split_table_key = "uid";
  split.indexes = {{"by_key", {"uid", "zone"}}};
  return BuildLib({KeyedTable("player", 1), KeyedTable("k3", 3), KeyedTable("k4", 4),
                   KeyedTable("k5", 5), KeyedTable("k8", 8), split,
                   KeyedTable(std::string(31, 'n'), 2)});
}

size_t CountLines(const std::vector<WlogRecord>& lines, const std::string& text) {
  return static_cast<size_t>(std::count_if(
      lines.begin(), lines.end(), [&text](const WlogRecord& r) { return r.text == text; }));
}

bool HasLineFrom(const std::vector<WlogRecord>& lines, const std::string& function) {
  return std::any_of(lines.begin(), lines.end(),
                     [&function](const WlogRecord& r) { return r.function == function; });
}

class EntryPointTest : public ::testing::Test {
 protected:
  int Check(const char* name, int table_type, const std::string& svr = "",
            const std::string& proxy = "", const std::string& rest = "none") {
    log_.Clear();
    return checker_.VelmoraCheckTable(lib_.get(), name, table_type, log_.handle(), svr, proxy,
                                      rest);
  }
  std::string Buffer() const { return checker_.GetErrType(); }

  ZemMetaLibPtr lib_ = Lib();
  CheckTable checker_;
  LogCapture log_;
};

// ---- Construction -------------------------------------------------------------------------

TEST(CheckTableObject, DefaultConstructorZeroFillsTheWholeBuffer) {
  alignas(CheckTable) unsigned char storage[sizeof(CheckTable)];
  std::memset(storage, 0xA5, sizeof(storage));
  CheckTable* checker = new (storage) CheckTable();
  const char* buffer = checker->GetErrType();
  for (size_t i = 0; i < 1024; ++i) ASSERT_EQ(buffer[i], '\0') << i;
  EXPECT_EQ(CheckTableProbe::ServerVersion(*checker), "");
  checker->~CheckTable();
}

TEST(CheckTableObject, VersionConstructorKeepsTheVersionAndZeroFillsTheBuffer) {
  alignas(CheckTable) unsigned char storage[sizeof(CheckTable)];
  std::memset(storage, 0x5A, sizeof(storage));
  CheckTable* checker = new (storage) CheckTable(std::string("3.40.0.193253"));
  EXPECT_EQ(CheckTableProbe::ServerVersion(*checker), "3.40.0.193253");
  const char* buffer = checker->GetErrType();
  for (size_t i = 0; i < 1024; ++i) ASSERT_EQ(buffer[i], '\0') << i;
  checker->~CheckTable();
}

TEST(CheckTableObject, VersionConstructorKeepsItsOwnCopy) {
  std::string version = "3.37.0";
  CheckTable checker(version);
  version = "changed";
  EXPECT_EQ(CheckTableProbe::ServerVersion(checker), "3.37.0");
  CheckTable empty{std::string()};
  EXPECT_EQ(CheckTableProbe::ServerVersion(empty), "");
}

TEST(CheckTableObject, GetErrTypeIsTheBufferItself) {
  CheckTable checker;
  const char* before = checker.GetErrType();
  EXPECT_EQ(checker.CheckTableNameValidity("1abc", nullptr), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(checker.GetErrType(), before);
  EXPECT_STREQ(before, "table name startswith digit.");
  const CheckTable& view = checker;
  EXPECT_EQ(view.GetErrType(), before);
}

TEST(CheckTableObject, OneObjectChecksTablesInTurn) {
  auto lib = Lib();
  CheckTable checker;
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "player", 0, nullptr, "", "", "none"), 0);
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "k3", 0, nullptr, "", "", "none"), 0);
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "nosuch", 0, nullptr, "", "", "none"),
            CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "k4", 1, nullptr, "", "3.37.0", "none"), 0);
}

// ---- The server version of the call ------------------------------------------------------

TEST_F(EntryPointTest, ServerVersionIsKeptEvenWhenTheParametersFail) {
  CheckTable checker(std::string("1.0.0"));
  EXPECT_EQ(checker.VelmoraCheckTable(nullptr, "player", 0, nullptr, "3.40.0", "", "none"),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(CheckTableProbe::ServerVersion(checker), "3.40.0");
  EXPECT_EQ(checker.VelmoraCheckTable(lib_.get(), nullptr, 0, nullptr, "3.41.0", "", "none"),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(CheckTableProbe::ServerVersion(checker), "3.41.0");
  EXPECT_EQ(checker.VelmoraCheckTable(lib_.get(), "1bad", 0, nullptr, "", "", "none"),
            ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(CheckTableProbe::ServerVersion(checker), "");
}

TEST_F(EntryPointTest, EachCallReplacesTheServerVersion) {
  EXPECT_EQ(Check("player", 0, ""), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(CheckTableProbe::ServerVersion(checker_), "");
  EXPECT_EQ(Check("player", 7, "3.29.0"), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(CheckTableProbe::ServerVersion(checker_), "3.29.0");
}

// ---- Missing library or name -------------------------------------------------------------

TEST_F(EntryPointTest, MissingLibraryIsAnInvalidParameter) {
  log_.Clear();
  EXPECT_EQ(checker_.VelmoraCheckTable(nullptr, "player", 0, log_.handle(), "", "", "none"),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  const std::string message = Fill(kInvalidParameter, "player");
  EXPECT_EQ(Buffer(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(300, message, "VelmoraCheckTable")));
}

TEST_F(EntryPointTest, MissingNamePrintsNull) {
  EXPECT_EQ(Check(nullptr, 0), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  const std::string message =
      "Invaild parameter\xef\xbc\x8c"
      "please check the parameter! table: '(null)'";
  EXPECT_EQ(Buffer(), message);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(300, message, "VelmoraCheckTable")));
}

TEST_F(EntryPointTest, MissingLibraryAndNamePrintsNull) {
  log_.Clear();
  EXPECT_EQ(checker_.VelmoraCheckTable(nullptr, nullptr, 5, log_.handle(), "", "", "none"),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Buffer(), Fill(kInvalidParameter, "(null)"));
  EXPECT_EQ(log_.lines().size(), 1u);
}

TEST_F(EntryPointTest, MissingLibraryIsReportedBeforeABadName) {
  log_.Clear();
  EXPECT_EQ(checker_.VelmoraCheckTable(nullptr, "", 0, log_.handle(), "", "", "none"),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Buffer(), Fill(kInvalidParameter, ""));
}

TEST_F(EntryPointTest, InvalidParameterMessageUsesAFullWidthComma) {
  EXPECT_EQ(Check(nullptr, 0), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_NE(Buffer().find("parameter\xef\xbc\x8cplease"), std::string::npos);
  EXPECT_EQ(Buffer().find(','), std::string::npos);
}

// ---- The table name ----------------------------------------------------------------------

TEST_F(EntryPointTest, NameFailuresAreReturnedWithTheirOwnMessage) {
  EXPECT_EQ(Check("", 0), ERROR_TABLE_NAME_EMPTY);
  EXPECT_EQ(Buffer(), "table name can't be empty");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(300, "table name can't be empty", "CheckTableNameValidity")));

  EXPECT_EQ(Check("1abc", 0), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(Buffer(), "table name startswith digit.");
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(300, "table name startswith digit.",
                                                  "CheckTableNameValidity")));

  EXPECT_EQ(Check("pla-yer", 0), ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR);
  EXPECT_EQ(Buffer(), "table name has illegal character.");
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(300, "table name has illegal character.",
                                                  "CheckTableNameValidity")));
}

TEST_F(EntryPointTest, NameOf32CharactersFailsBeforeTypeAndMeta) {
  const std::string name(32, 'n');  // no such meta, and a bad kind too
  EXPECT_EQ(Check(name.c_str(), 9), ERROR_TABLE_NAME_TOO_LONG);
  const std::string message = "table name '" + name + "' is too long,maximum 32 chars";
  EXPECT_EQ(Buffer(), message);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(600, ValidityLine(name), "CheckTableNameValidity"),
                          LogLineIs(300, message, "CheckTableNameLength")));
}

TEST_F(EntryPointTest, NameOf31CharactersIsChecked) {
  const std::string name(31, 'n');
  EXPECT_EQ(Check(name.c_str(), 0), CHECK_TABLE_SUCCESS);
  EXPECT_THAT(log_.lines().back(), LogLineIs(600, SuccessLine(name), "VelmoraCheckTable"));
}

TEST_F(EntryPointTest, BadNameWithBadTypeReportsTheName) {
  EXPECT_EQ(Check("a-b", 2), ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR);
  EXPECT_EQ(Buffer(), "table name has illegal character.");
  EXPECT_EQ(Check("", -1), ERROR_TABLE_NAME_EMPTY);
  EXPECT_EQ(Buffer(), "table name can't be empty");
  EXPECT_EQ(Check("9x", 2), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(Buffer(), "table name startswith digit.");
  EXPECT_EQ(Check(std::string(40, 'z').c_str(), -1), ERROR_TABLE_NAME_TOO_LONG);
  EXPECT_EQ(Buffer(), "table name '" + std::string(40, 'z') + "' is too long,maximum 32 chars");
}

// ---- The table kind ----------------------------------------------------------------------

TEST_F(EntryPointTest, KindsOtherThanGenericAndListAreInvalid) {
  for (int table_type : {2, -1, 3, 100, INT_MAX, INT_MIN}) {
    EXPECT_EQ(Check("player", table_type), CHECK_TABLE_ERROR_INVALID_PARAMETER) << table_type;
    const std::string message = Fill(kInvalidType, "player");
    EXPECT_EQ(Buffer(), message);
    EXPECT_THAT(log_.lines(),
                ElementsAre(LogLineIs(600, ValidityLine("player"), "CheckTableNameValidity"),
                            LogLineIs(600, LengthLine("player"), "CheckTableNameLength"),
                            LogLineIs(300, message, "VelmoraCheckTable")))
        << table_type;
  }
}

TEST_F(EntryPointTest, KindIsTestedBeforeTheMetaIsLookedUp) {
  EXPECT_EQ(Check("nosuch", 2), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Buffer(), Fill(kInvalidType, "nosuch"));
}

TEST_F(EntryPointTest, TableTypeMessageHasAFullWidthCommaAndTwoBlanks) {
  EXPECT_EQ(Check("player", 2), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Buffer(),
            "Table_type is invaild type\xef\xbc\x8cplease check the table type!  table:'player'");
}

TEST_F(EntryPointTest, GenericAndListKindsAreAccepted) {
  EXPECT_EQ(Check("player", 0), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(Check("player", 1), CHECK_TABLE_SUCCESS);
}

// ---- The meta ----------------------------------------------------------------------------

TEST_F(EntryPointTest, UnknownTableIsASystemError) {
  EXPECT_EQ(Check("nosuch", 0), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(Buffer(), MetaNotFound("nosuch"));
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(600, ValidityLine("nosuch"), "CheckTableNameValidity"),
                          LogLineIs(600, LengthLine("nosuch"), "CheckTableNameLength"),
                          LogLineIs(300, MetaNotFound("nosuch"), "VelmoraCheckTable")));
}

TEST_F(EntryPointTest, TheMetaIsFoundByItsExactName) {
  EXPECT_EQ(Check("Player", 0), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(Buffer(), MetaNotFound("Player"));
  EXPECT_EQ(Check("playe", 0), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(Check("player_", 0), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(Check("player", 0), CHECK_TABLE_SUCCESS);
}

// ---- Many key fields and old proxies -----------------------------------------------------

TEST_F(EntryPointTest, FourKeyFieldsOnAGenericTablePassForEveryProxyVersion) {
  for (const char* proxy : {"", "0.0.1", "1.0.0", "3.36.99", "3.37.0", "none", "garbage"}) {
    for (const char* rest : {"", "None", "none", "3.0.0", "3.37.0"}) {
      EXPECT_EQ(Check("k4", 0, "", proxy, rest), CHECK_TABLE_SUCCESS) << proxy << " / " << rest;
    }
  }
}

TEST_F(EntryPointTest, FiveKeyFieldsOnAGenericTableNeedProxy3370) {
  for (const char* proxy : {"", "3.36.99", "3.36.0.999999", "2.99.99", "none"}) {
    EXPECT_EQ(Check("k5", 0, "", proxy, "none"), CHECK_TABLE_ERROR_SYSTEM_ERROR) << proxy;
    const std::string message = ProxyGate("k5", 5, 4, proxy);
    EXPECT_EQ(Buffer(), message);
    EXPECT_THAT(log_.lines().back(), LogLineIs(300, message, "VelmoraCheckTable"));
  }
  for (const char* proxy : {"3.37.0", "3.37.0.0", "3.37.1", "3.100.0", "4.0.0"}) {
    EXPECT_EQ(Check("k5", 0, "", proxy, "none"), CHECK_TABLE_SUCCESS) << proxy;
  }
}

TEST_F(EntryPointTest, GateMessageNamesTheProxyExactly) {
  EXPECT_EQ(Check("k5", 0, "", "3.36.0", "none"), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(
      Buffer(),
      "This table:k5 's key num:5 is more than 4,proxy version need >= 3.37.0,but now is :3.36.0");
}

TEST_F(EntryPointTest, EightKeyFieldsOnAGenericTableNeedProxy3370) {
  EXPECT_EQ(Check("k8", 0, "", "3.30.0", "none"), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(Buffer(), ProxyGate("k8", 8, 4, "3.30.0"));
  EXPECT_EQ(Check("k8", 0, "", "3.37.0", "none"), CHECK_TABLE_SUCCESS);
}

TEST_F(EntryPointTest, ListTablesAllowThreeKeyFieldsToOldProxies) {
  EXPECT_EQ(Check("k3", 1, "", "", ""), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(Check("k3", 1, "", "1.0.0", "None"), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(Check("k4", 1, "", "3.36.0", "none"), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(Buffer(), ProxyGate("k4", 4, 3, "3.36.0"));
  EXPECT_EQ(Check("k4", 1, "", "", "none"), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(Buffer(), ProxyGate("k4", 4, 3, ""));
  EXPECT_EQ(Check("k4", 1, "", "3.37.0", "none"), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(Check("k5", 1, "", "3.36.0", "none"), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(Buffer(), ProxyGate("k5", 5, 3, "3.36.0"));
}

TEST_F(EntryPointTest, RestProxyOfNoneSkipsTheRestProxyGate) {
  EXPECT_EQ(Check("k5", 0, "", "3.37.0", "none"), CHECK_TABLE_SUCCESS);
}

TEST_F(EntryPointTest, RestProxyMustAlsoBe3370UnlessNone) {
  for (const char* rest : {"None", "NONE", "", "3.36.9", "none ", " none", "nonE"}) {
    EXPECT_EQ(Check("k5", 0, "", "3.37.0", rest), CHECK_TABLE_ERROR_SYSTEM_ERROR) << rest;
    const std::string message = RestProxyGate("k5", 5, 4, rest);
    EXPECT_EQ(Buffer(), message);
    EXPECT_THAT(log_.lines().back(), LogLineIs(300, message, "VelmoraCheckTable"));
  }
  EXPECT_EQ(Check("k5", 0, "", "3.37.0", "3.37.0"), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(Check("k5", 0, "", "3.37.0", "3.38.0"), CHECK_TABLE_SUCCESS);
}

TEST_F(EntryPointTest, ProxyGateComesBeforeTheRestProxyGate) {
  EXPECT_EQ(Check("k5", 0, "", "3.0.0", "1.0.0"), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(Buffer(), ProxyGate("k5", 5, 4, "3.0.0"));
}

TEST_F(EntryPointTest, ListTableRestProxyGateUsesTheListLimit) {
  EXPECT_EQ(Check("k4", 1, "", "3.37.0", "3.0.0"), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(Buffer(), RestProxyGate("k4", 4, 3, "3.0.0"));
}

// ---- The name length, once more ----------------------------------------------------------

TEST_F(EntryPointTest, SuccessLogsTheNameLengthLineTwice) {
  EXPECT_EQ(Check("player", 0), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(CountLines(log_.lines(), ValidityLine("player")), 1u);
  EXPECT_EQ(CountLines(log_.lines(), LengthLine("player")), 2u);
  std::vector<size_t> at;
  for (size_t i = 0; i < log_.lines().size(); ++i) {
    if (log_.lines()[i].text == LengthLine("player")) {
      EXPECT_THAT(log_.lines()[i], LogLineIs(600, LengthLine("player"), "CheckTableNameLength"));
      at.push_back(i);
    }
  }
  ASSERT_EQ(at.size(), 2u);
  EXPECT_EQ(at[0], 1u);
  EXPECT_GT(at[1], at[0] + 1);  // the primary key was checked between them
}

TEST_F(EntryPointTest, KeyGateFailureComesBeforeTheSecondNameLengthLine) {
  EXPECT_EQ(Check("k5", 0, "", "", "none"), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(CountLines(log_.lines(), LengthLine("k5")), 1u);
  EXPECT_TRUE(HasLineFrom(log_.lines(), "CheckPrimaryKey"));
}

// ---- Failures of the later checks ----------------------------------------------------------

// One table per rule that a later check enforces; each passes every check before its own.
ZemMetaLibPtr FailingLib() {
  ZemMetaDef bad_split = Table("badsplit", {Field("uid"), Field("v")}, {"uid"});
  bad_split.split_table_key = "v";
  ZemMetaDef bad_index = Table("badindex", {Field("uid"), Field("v")}, {"uid"});
  bad_index.indexes = {{"by_uid_v", {"uid", "v"}}};
  return BuildLib({Table("nokey", {Field("a"), Field("b")}),
                   Table("novalue", {Field("uid")}, {"uid"}), bad_split, bad_index,
                   Table("badfield", {Field("uid"), Field("a-b")}, {"uid"}),
                   Table("bigfield", {Field("uid"), Field("blob", ZEM_TYPE_INT8, 200000)}, {"uid"}),
                   Table("dupname", {Field("uid"), Field("v"), Field("V")}, {"uid"})});
}

class LaterCheckTest : public EntryPointTest {
 protected:
  LaterCheckTest() { lib_ = FailingLib(); }

  // The check logged its own line at error priority, then the entry point replaced the buffer
  // with its wrapping line, logged last.
  void ExpectWrapped(const std::string& own, const char* check, const std::string& wrapped) {
    EXPECT_EQ(Buffer(), wrapped);
    const std::vector<WlogRecord>& lines = log_.lines();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_THAT(lines[lines.size() - 2], LogLineIs(300, own, check));
    EXPECT_THAT(lines.back(), LogLineIs(300, wrapped, "VelmoraCheckTable"));
    EXPECT_EQ(lines.back().file, "src/common/check_table.cpp");
  }
};

TEST_F(LaterCheckTest, PrimaryKeyFailureIsWrappedWithItsResult) {
  EXPECT_EQ(Check("nokey", 0), ERROR_NO_PRIMARY_KEY_IN_META);
  ExpectWrapped("There is no Primaykey in meta:'nokey', maybe it is a pure struct.",
                "CheckPrimaryKey", "CheckPrimaryKey failed! table:'nokey',ret:-15");
}

TEST_F(LaterCheckTest, ValueFieldFailureIsWrappedWithItsResult) {
  EXPECT_EQ(Check("novalue", 0), ERROR_VALUE_FIELD);
  ExpectWrapped("The number of value field can not be zero! table: 'novalue'", "CheckValueField",
                "CheckValueField failed! table:'novalue',ret:-3");
  // The name length was checked again between the key and the value fields.
  EXPECT_EQ(CountLines(log_.lines(), LengthLine("novalue")), 2u);
}

TEST_F(LaterCheckTest, SplitTableKeyFailureIsWrappedWithItsResult) {
  EXPECT_EQ(Check("badsplit", 0), ERROR_SPLITTABLE_FIELD);
  ExpectWrapped("Primaykey must include splittablekey! Splittablekey:'v',table:'badsplit' ",
                "CheckSplittableKey", "CheckSplittableKey failed! table:'badsplit',ret:-5");
}

TEST_F(LaterCheckTest, IndexFailureIsWrappedWithItsResult) {
  EXPECT_EQ(Check("badindex", 0), ERROR_INDEX_FIELD);
  ExpectWrapped("The index field should be primarykey field! index:'v', table:'badindex'",
                "CheckIndex", "CheckIndex failed! table:'badindex',ret:-6");
}

TEST_F(LaterCheckTest, FieldNameFailureIsWrappedWithItsResult) {
  EXPECT_EQ(Check("badfield", 0), ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR);
  ExpectWrapped("field name[a-b] has illegal character.", "CheckFieldNameLength",
                "CheckFieldNameLength failed! table:'badfield',ret:-18");
}

TEST_F(LaterCheckTest, FieldLengthFailureKeepsTheListAndLogsTheFieldNameLine) {
  EXPECT_EQ(Check("bigfield", 0, "3.28.0"), ERROR_ENTRY_LENGTH_NOT_LEGAL);
  // The buffer keeps the length check's list; the entry point only logs its line.
  EXPECT_EQ(Buffer(), "ERR_ENTRY_LEN;blob|");
  const std::vector<WlogRecord>& lines = log_.lines();
  ASSERT_FALSE(lines.empty());
  EXPECT_THAT(lines.back(),
              LogLineIs(300, "CheckFieldNameLength failed! table:'bigfield', svrMinVersion:3.28.0",
                        "VelmoraCheckTable"));
  EXPECT_EQ(lines.back().file, "src/common/check_table.cpp");
  EXPECT_TRUE(HasLineFrom(lines, "CheckValueFieldLen"));
  EXPECT_EQ(CountLines(lines, SuccessLine("bigfield")), 0u);
}

TEST_F(LaterCheckTest, EmptyServerVersionSkipsTheFieldLengthCheckEntirely) {
  EXPECT_EQ(Check("bigfield", 0, ""), CHECK_TABLE_SUCCESS);
  EXPECT_FALSE(HasLineFrom(log_.lines(), "CheckValueFieldLen"));
  EXPECT_THAT(log_.lines().back(), LogLineIs(600, SuccessLine("bigfield"), "VelmoraCheckTable"));
  // A server that holds the field passes it too, after the check has run.
  EXPECT_EQ(Check("bigfield", 0, "3.29.0"), CHECK_TABLE_SUCCESS);
  EXPECT_TRUE(HasLineFrom(log_.lines(), "CheckValueFieldLen"));
}

TEST_F(LaterCheckTest, RepeatedNameFailureEmbedsTheChecksOwnMessage) {
  EXPECT_EQ(Check("dupname", 0), ERROR_REPEATED_FIELD_NAME);
  const std::string own =
      "using strncasecmp, the field name is repeated. field_name:v, entry_index:1, "
      "cmp_field_name:V, cmp_entry_index:2";
  ExpectWrapped(own, "CheckRepeatedFieldName",
                "CheckRepeatedFieldName failed! table:'dupname',ret:-51, err_msg:" + own);
}

TEST_F(LaterCheckTest, NullHandleStillWrapsTheMessage) {
  EXPECT_EQ(checker_.VelmoraCheckTable(lib_.get(), "badindex", 0, nullptr, "", "", "none"),
            ERROR_INDEX_FIELD);
  EXPECT_EQ(Buffer(), "CheckIndex failed! table:'badindex',ret:-6");
}

// ---- Success -----------------------------------------------------------------------------

TEST_F(EntryPointTest, SuccessLogsItsLineLastAndReturnsZero) {
  EXPECT_EQ(Check("player", 0), CHECK_TABLE_SUCCESS);
  ASSERT_GE(log_.lines().size(), 4u);
  EXPECT_THAT(log_.lines()[0], LogLineIs(600, ValidityLine("player"), "CheckTableNameValidity"));
  EXPECT_THAT(log_.lines()[1], LogLineIs(600, LengthLine("player"), "CheckTableNameLength"));
  EXPECT_THAT(log_.lines().back(),
              LogLineIs(600, "CheckTable succees! table:'player'", "VelmoraCheckTable"));
  EXPECT_EQ(log_.lines().back().file, "src/common/check_table.cpp");
  EXPECT_EQ(CountLines(log_.lines(), SuccessLine("player")), 1u);
}

TEST_F(EntryPointTest, TablesWithSplitKeyAndWholeKeyIndexPass) {
  EXPECT_EQ(Check("split", 0), CHECK_TABLE_SUCCESS);
  EXPECT_THAT(log_.lines().back(), LogLineIs(600, SuccessLine("split"), "VelmoraCheckTable"));
  EXPECT_EQ(Check("k8", 0, "", "3.37.0", "none"), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(Check("k3", 1), CHECK_TABLE_SUCCESS);
}

TEST_F(EntryPointTest, NullHandleSuccess) {
  EXPECT_EQ(checker_.VelmoraCheckTable(lib_.get(), "player", 0, nullptr, "", "", "none"),
            CHECK_TABLE_SUCCESS);
}

TEST_F(EntryPointTest, SuccessDoesNotWriteItsLineIntoTheBuffer) {
  EXPECT_EQ(Check("player", 0), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(Buffer().find("succees"), std::string::npos);
}

TEST_F(EntryPointTest, BufferAfterASuccessMayHoldAnOlderMessage) {
  EXPECT_EQ(Check("split", 2), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  const std::string older = Fill(kInvalidType, "split");
  EXPECT_EQ(Buffer(), older);
  EXPECT_EQ(Check("split", 0), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(Buffer(), older);
}

TEST_F(EntryPointTest, BufferAfterASuccessIsNotCleared) {
  EXPECT_EQ(Check("nosuch", 0), CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_EQ(Check("player", 0), CHECK_TABLE_SUCCESS);
  EXPECT_FALSE(Buffer().empty());
}

}  // namespace
