// The table attribute string: data protocol, table type, list size, sort field count and sort
// rule, what each failure reports, and which out-parameters are written on the way.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "check_table_probe.h"
#include <velmora/check_table.h>
#include "test_support.h"

namespace {

using ::testing::ElementsAre;

const char* const kCheck = "CheckTableTypeByCustomAttr";
const char* const kAttrsFile = "src/common/check_table_attrs.cpp";
const int kUntouched = -7;  // what the out-parameters hold before the call
const char kCanary = '#';

const char* const kListNumUsage =
    "list_num_str is error,it must be like:TableType=LIST|SORTLIST;"
    "ListNum=1-1023[;SortFieldNum=[1-4]].";
const char* const kSortNumUsage =
    "sort_num_str is error,it must be like:TableType=LIST|SORTLIST;"
    "ListNum=1-1023[;SortFieldNum=[1-4]].";
const char* const kTableTypeUsage =
    "TableType is error,it must be like:TableType=GENERIC|LIST|SORTLIST;ListNum=1023.";
const char* const kProtocolUsage =
    "DataProtocolType is error,it must be like:DataProtocolType=ZEM|PB|PLAIN.";

ZemEntryDef Marked(const std::string& name, const std::string& mark, int type = ZEM_TYPE_INT32) {
  ZemEntryDef entry = Field(name, type);
  entry.customattr2 = mark;
  return entry;
}

class TableTypeAttrTest : public ::testing::Test {
 protected:
  TableTypeAttrTest() { std::memset(data_protocol_, kCanary, sizeof(data_protocol_)); }

  // The table "player": key uid, value v, and a sort1 field when the attribute asks for one.
  void Define(std::optional<std::string> attr, int lib_version = 0,
              std::vector<std::pair<std::string, int>> macros = {}) {
    Define(std::move(attr), {Field("uid"), Field("v"), Marked("score", "sort1")}, lib_version,
           std::move(macros));
  }
  void Define(std::optional<std::string> attr, std::vector<ZemEntryDef> entries,
              int lib_version = 0, std::vector<std::pair<std::string, int>> macros = {}) {
    ZemMetaDef meta = Table("player", std::move(entries), {"uid"});
    meta.customattr2 = std::move(attr);
    lib_ = BuildLib({meta}, lib_version, std::move(macros));
  }
  // A table whose fields carry no sort mark, for generic and plain list tables.
  void DefineUnmarked(std::optional<std::string> attr) {
    Define(std::move(attr), {Field("uid"), Field("v")});
  }

  int Parse(const char* metaname = "player") {
    checker_ = std::make_unique<CheckTable>(svr_ver_);
    return checker_->CheckTableTypeByCustomAttr(lib_.get(), metaname, table_type_, list_num_,
                                                sort_field_num_, sort_rule_, data_protocol_,
                                                check_protocol_, log_handle_);
  }

  std::string Message() const { return checker_->GetErrType(); }

  int ErrorLines() const {
    int n = 0;
    for (const WlogRecord& line : log_.lines()) n += line.priority == WLOG_PRIORITY_ERROR;
    return n;
  }

  // The call failed with this code and message, logged once at error priority by the check.
  void ExpectFailure(int ret, int code, const std::string& message) {
    EXPECT_EQ(ret, code);
    EXPECT_EQ(Message(), message);
    ASSERT_FALSE(log_.lines().empty());
    EXPECT_THAT(log_.lines().back(), LogLineIs(WLOG_PRIORITY_ERROR, message, kCheck));
    EXPECT_EQ(log_.lines().back().file, kAttrsFile);
    EXPECT_EQ(ErrorLines(), 1);
  }

  void ExpectOutParameters(int table_type, int list_num, int sort_field_num, int sort_rule) {
    EXPECT_EQ(table_type_, table_type);
    EXPECT_EQ(list_num_, list_num);
    EXPECT_EQ(sort_field_num_, sort_field_num);
    EXPECT_EQ(sort_rule_, sort_rule);
  }

  bool CanaryFrom(size_t from) const {
    for (size_t i = from; i < sizeof(data_protocol_); ++i) {
      if (data_protocol_[i] != kCanary) return false;
    }
    return true;
  }

  bool HasLine(int priority, const std::string& text) const {
    for (const WlogRecord& line : log_.lines()) {
      if (line.priority == priority && line.text == text) return true;
    }
    return false;
  }

  ZemMetaLibPtr lib_;
  LogCapture log_;
  LPWLOGCATEGORYINST log_handle_ = log_.handle();
  std::unique_ptr<CheckTable> checker_;
  std::string svr_ver_;
  bool check_protocol_ = false;
  int table_type_ = kUntouched;
  int list_num_ = kUntouched;
  int sort_field_num_ = kUntouched;
  int sort_rule_ = kUntouched;
  char data_protocol_[12];
};

// ---- Parameters, name and library ----------------------------------------------------------

TEST_F(TableTypeAttrTest, NullMetalibIsInvalidParameter) {
  checker_ = std::make_unique<CheckTable>(svr_ver_);
  const int ret = checker_->CheckTableTypeByCustomAttr(nullptr, "player", table_type_, list_num_,
                                                       sort_field_num_, sort_rule_, data_protocol_,
                                                       false, log_.handle());
  ExpectFailure(ret, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                "Invaild parameter，please check the parameter! table: 'player'");
  ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
  EXPECT_TRUE(CanaryFrom(0));
}

TEST_F(TableTypeAttrTest, NullMetanamePrintsNullInTheMessage) {
  Define("TableType=GENERIC");
  const int ret = Parse(nullptr);
  ExpectFailure(ret, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                "Invaild parameter，please check the parameter! table: '(null)'");
  EXPECT_EQ(log_.lines().size(), 1u);
}

TEST_F(TableTypeAttrTest, InvalidTableNameReturnsTheNameCheckResult) {
  Define("TableType=GENERIC");
  const int ret = Parse("1player");
  EXPECT_EQ(ret, ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(Message(), "table name startswith digit.");
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_ERROR,
                                                  "table name startswith digit.",
                                                  "CheckTableNameValidity")));
  ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
}

TEST_F(TableTypeAttrTest, UnknownTableIsSystemError) {
  Define("TableType=GENERIC");
  const int ret = Parse("ghost");
  ExpectFailure(ret, CHECK_TABLE_ERROR_SYSTEM_ERROR,
                "Get meta info failed, please check the table name! table:'ghost'");
  EXPECT_FALSE(HasLine(WLOG_PRIORITY_INFO, "Start CheckTableTypeByCustomAttr ghost..."));
}

TEST_F(TableTypeAttrTest, LibraryVersionAbove65535IsRejected) {
  Define("TableType=GENERIC", 65536);
  const int ret = Parse();
  ExpectFailure(ret, CHECK_TABLE_ERROR_INVALID_PARAMETER,
                "Table version error,can not higher than 65535");
  EXPECT_THAT(log_.lines()[2], LogLineIs(WLOG_PRIORITY_INFO,
                                         "Start CheckTableTypeByCustomAttr player...", kCheck));
  ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
}

TEST_F(TableTypeAttrTest, LibraryVersion65535IsAccepted) {
  Define("TableType=GENERIC", {Field("uid"), Field("v")}, 65535);
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(table_type_, 0);
}

// ---- Old-style definitions -------------------------------------------------------------------

TEST_F(TableTypeAttrTest, TableWithoutAttributeStringIsOldStyle) {
  Define(std::nullopt);
  EXPECT_EQ(Parse(), ERROR_OLD_TABLE_DEFINE);
  EXPECT_EQ(Message(), "");
  EXPECT_EQ(ErrorLines(), 0);
  ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
  EXPECT_TRUE(CanaryFrom(0));
}

TEST_F(TableTypeAttrTest, EmptyAttributeStringIsOldStyle) {
  Define("");
  EXPECT_EQ(Parse(), ERROR_OLD_TABLE_DEFINE);
  EXPECT_EQ(Message(), "");
  EXPECT_EQ(ErrorLines(), 0);
  ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
  EXPECT_TRUE(CanaryFrom(0));
}

TEST_F(TableTypeAttrTest, ProtocolAloneIsOldStyleButHandsTheProtocolBack) {
  Define("DataProtocolType=pb");
  EXPECT_EQ(Parse(), ERROR_OLD_TABLE_DEFINE);
  EXPECT_EQ(Message(), "");
  EXPECT_EQ(ErrorLines(), 0);
  EXPECT_STREQ(data_protocol_, "pb");
  EXPECT_TRUE(CanaryFrom(3));
  ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
}

TEST_F(TableTypeAttrTest, ProtocolAloneOf22CharactersIsStillOldStyle) {
  Define("DataProtocolType=PLAIN");
  EXPECT_EQ(Parse(), ERROR_OLD_TABLE_DEFINE);
  EXPECT_STREQ(data_protocol_, "PLAIN");
}

TEST_F(TableTypeAttrTest, ProtocolLengthCountsWithoutBlanks) {
  Define(" DataProtocolType = PLAIN ");
  EXPECT_EQ(Parse(), ERROR_OLD_TABLE_DEFINE);
  EXPECT_STREQ(data_protocol_, "PLAIN");
}

TEST_F(TableTypeAttrTest, ProtocolWith23CharactersNeedsATableType) {
  Define("DataProtocolType=PLAIN;");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kTableTypeUsage);
  EXPECT_STREQ(data_protocol_, "PLAIN");
}

// ---- Display charset -------------------------------------------------------------------------

TEST_F(TableTypeAttrTest, BadDisplayCharsetGives49WithTheCharsetMessage) {
  DefineUnmarked("TableType=GENERIC;stringdisplaycharset=UTF8");
  const int ret = Parse();
  EXPECT_EQ(ret, WARN_NEW_TABLE_DEFINE_AND_HAS_ERROR);
  EXPECT_EQ(Message(), "error stringdisplaycharset: stringdisplaycharset=UTF8");
  EXPECT_THAT(log_.lines().back(),
              LogLineIs(WLOG_PRIORITY_ERROR,
                        "error stringdisplaycharset: stringdisplaycharset=UTF8",
                        "CheckStringDisplayCharset"));
  ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
}

TEST_F(TableTypeAttrTest, CharsetBeforeProtocolIsCutShortAndGives49) {
  Define("stringdisplaycharset=utf8;DataProtocolType=PB");
  EXPECT_EQ(Parse(), WARN_NEW_TABLE_DEFINE_AND_HAS_ERROR);
  EXPECT_EQ(Message(), "error stringdisplaycharset: stringdisplaycharset=utf8;DataProtocolType=PB");
  EXPECT_TRUE(CanaryFrom(0));
}

TEST_F(TableTypeAttrTest, CharsetAndProtocolWithoutTableTypeIsAcceptedAsIs) {
  Define("DataProtocolType=PB;X=1;stringdisplaycharset=utf8");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
  EXPECT_STREQ(data_protocol_, "PB");
  EXPECT_EQ(ErrorLines(), 0);
  EXPECT_THAT(log_.lines().back(),
              LogLineIs(WLOG_PRIORITY_INFO,
                        "CheckStringDisplayCharset: "
                        "DataProtocolType=PB;X=1;stringdisplaycharset=utf8",
                        "CheckStringDisplayCharset"));
}

// ---- Data protocol ---------------------------------------------------------------------------

TEST_F(TableTypeAttrTest, MissingProtocolFailsWhenRequired) {
  DefineUnmarked("TableType=GENERIC");
  check_protocol_ = true;
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_SYSTEM_ERROR,
                "DataProtocolType must be existed, please check it.");
  ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
  EXPECT_TRUE(CanaryFrom(0));
}

TEST_F(TableTypeAttrTest, MissingProtocolIsFineWhenNotRequiredAndLeavesTheBufferAlone) {
  DefineUnmarked("TableType=GENERIC");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  EXPECT_TRUE(CanaryFrom(0));
  EXPECT_EQ(table_type_, 0);
}

TEST_F(TableTypeAttrTest, ProtocolKeyIsFoundInAnyLetterCase) {
  DefineUnmarked("dataprotocoltype=PB;TableType=GENERIC");
  check_protocol_ = true;
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  EXPECT_STREQ(data_protocol_, "PB");
  EXPECT_TRUE(CanaryFrom(3));
  ExpectOutParameters(0, 0, kUntouched, kUntouched);
}

TEST_F(TableTypeAttrTest, ProtocolValuesAreAcceptedInAnyLetterCaseAndKeptAsWritten) {
  for (const char* value : {"ZEM", "zem", "Pb", "pB", "PLAIN", "Plain"}) {
    SCOPED_TRACE(value);
    std::memset(data_protocol_, kCanary, sizeof(data_protocol_));
    DefineUnmarked(std::string("DataProtocolType=") + value + ";TableType=GENERIC");
    EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
    EXPECT_STREQ(data_protocol_, value);
    EXPECT_TRUE(CanaryFrom(std::strlen(value) + 1));
  }
}

TEST_F(TableTypeAttrTest, AcceptedProtocolWritesAtMostSixBytes) {
  DefineUnmarked("DataProtocolType=plain;TableType=GENERIC");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(std::string(data_protocol_, 6), std::string("plain\0", 6));
  EXPECT_TRUE(CanaryFrom(6));
}

TEST_F(TableTypeAttrTest, ProtocolWithAnExtraLetterIsRejectedAndNotWritten) {
  DefineUnmarked("DataProtocolType=PBX;TableType=GENERIC");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kProtocolUsage);
  EXPECT_TRUE(CanaryFrom(0));
  ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
}

TEST_F(TableTypeAttrTest, ProtocolLongerThanSixBytesLeavesTheBufferUntouched) {
  DefineUnmarked("DataProtocolType=PLAINTEXT;TableType=GENERIC");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kProtocolUsage);
  EXPECT_TRUE(CanaryFrom(0));
}

TEST_F(TableTypeAttrTest, EmptyProtocolValueIsRejected) {
  DefineUnmarked("DataProtocolType=;TableType=GENERIC");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kProtocolUsage);
  EXPECT_TRUE(CanaryFrom(0));
}

TEST_F(TableTypeAttrTest, NonAsciiProtocolValueIsRejected) {
  DefineUnmarked("DataProtocolType=\xc3\xa9\xc3\xa9;TableType=GENERIC");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kProtocolUsage);
  EXPECT_TRUE(CanaryFrom(0));
}

// ---- Table type ------------------------------------------------------------------------------

TEST_F(TableTypeAttrTest, StringWithoutTableTypeWordIsRejected) {
  Define("DataProtocolType=PB;TableType=HASH");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kTableTypeUsage);
  ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
  EXPECT_STREQ(data_protocol_, "PB");
}

TEST_F(TableTypeAttrTest, TableTypeWordsAreMatchedWithTheirCase) {
  DefineUnmarked("TableType=generic");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kTableTypeUsage);
}

TEST_F(TableTypeAttrTest, GenericTableSetsTypeAndListSizeAndKeepsItsLine) {
  DefineUnmarked("TableType=GENERIC");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(0, 0, kUntouched, kUntouched);
  EXPECT_EQ(Message(), "table:player table_type is generic.");
  EXPECT_THAT(log_.lines().back(),
              LogLineIs(WLOG_PRIORITY_INFO, "table:player table_type is generic.", kCheck));
  EXPECT_EQ(ErrorLines(), 0);
}

TEST_F(TableTypeAttrTest, GenericWordInAMalformedSegmentIsRejected) {
  DefineUnmarked("TableType=GENERIC=1");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_SYSTEM_ERROR,
                "generic table:table_type must be GENERIC,please check it.");
  ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
}

TEST_F(TableTypeAttrTest, GenericTableMustNotCarryListKeys) {
  for (const char* extra : {"ListNum=10", "SortFieldNum=1", "SortRule=DESC"}) {
    SCOPED_TRACE(extra);
    log_.Clear();
    DefineUnmarked(std::string("TableType=GENERIC;") + extra);
    ExpectFailure(Parse(), CHECK_TABLE_ERROR_SYSTEM_ERROR,
                  "table_type is generic,but customattr has contain ListNum or SortFieldNum or "
                  "SortRule,don't forget to check the entry's customattr2.");
    ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
  }
}

TEST_F(TableTypeAttrTest, GenericAnywhereTakesTheGenericBranch) {
  DefineUnmarked("TableType=LIST;Owner=GENERIC");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(0, 0, kUntouched, kUntouched);
  EXPECT_EQ(Message(), "table:player table_type is generic.");
}

TEST_F(TableTypeAttrTest, GenericInsideAnotherWordStillTakesTheGenericBranch) {
  DefineUnmarked("TableType=SORTLIST;Note=GENERICS");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_SYSTEM_ERROR,
                "generic table:table_type must be GENERIC,please check it.");
  ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
}

TEST_F(TableTypeAttrTest, BlanksAreRemovedBeforeParsing) {
  DefineUnmarked(" TableType = LIST ;\tListNum = 10\n");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(1, 10, 0, kUntouched);
  EXPECT_TRUE(HasLine(WLOG_PRIORITY_INFO, "CheckStringDisplayCharset: TableType=LIST;ListNum=10"));
}

// ---- Lists -----------------------------------------------------------------------------------

TEST_F(TableTypeAttrTest, PlainListHandsBackItsSizeAndLogsTheResult) {
  DefineUnmarked("TableType=LIST;ListNum=100");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(1, 100, 0, kUntouched);
  EXPECT_THAT(log_.lines().back(),
              LogLineIs(WLOG_PRIORITY_INFO,
                        "customattr parse result:TableType=1;ListNum=100;SortFieldNum=0;"
                        "SortRule=-7",
                        kCheck));
  const WlogRecord& server_line = log_.lines()[log_.lines().size() - 2];
  EXPECT_EQ(Message(), server_line.text);
  EXPECT_EQ(server_line.text, std::string(kAttrsFile) + "(" + std::to_string(server_line.line) +
                                  ")-<CheckTableTypeByCustomAttr>:  m_svr_ver: table:'player'");
  EXPECT_EQ(ErrorLines(), 0);
}

TEST_F(TableTypeAttrTest, MissingListNumIsRejectedAfterTheTypeIsWritten) {
  DefineUnmarked("TableType=LIST");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kListNumUsage);
  ExpectOutParameters(1, kUntouched, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, EmptyListNumIsRejected) {
  DefineUnmarked("TableType=LIST;ListNum=");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kListNumUsage);
  ExpectOutParameters(1, kUntouched, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, ListNumKeyIsMatchedWithItsCase) {
  DefineUnmarked("TableType=LIST;listnum=5");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kListNumUsage);
  ExpectOutParameters(1, kUntouched, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, ListNumMayNameASchemaMacro) {
  Define("TableType=LIST;ListNum=MAX_LIST", {Field("uid"), Field("v")}, 0, {{"MAX_LIST", 500}});
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(1, 500, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, UnknownMacroFailsAndLeavesTheListSizeAlone) {
  Define("TableType=LIST;ListNum=NO_SUCH", {Field("uid"), Field("v")}, 0, {{"MAX_LIST", 500}});
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER,
                "can't find macro:NO_SUCH from zem:player,please check.");
  ExpectOutParameters(1, kUntouched, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, MacroValueMeetsTheSameRange) {
  Define("TableType=LIST;ListNum=ZERO", {Field("uid"), Field("v")}, 0, {{"ZERO", 0}});
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER,
                "list_num must be [1,1023],but now list_num:0,list_num_str:ZERO,"
                "custom_str:TableType=LIST;ListNum=ZERO");
  ExpectOutParameters(1, 0, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, ListNumZeroIsOutOfRangeOnOldServers) {
  DefineUnmarked("TableType=LIST;ListNum=0");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER,
                "list_num must be [1,1023],but now list_num:0,list_num_str:0,"
                "custom_str:TableType=LIST;ListNum=0");
  ExpectOutParameters(1, 0, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, ListNum1024IsOutOfRangeOnOldServers) {
  svr_ver_ = "3.40.0.192999";
  DefineUnmarked("TableType=LIST;ListNum=1024");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER,
                "list_num must be [1,1023],but now list_num:1024,list_num_str:1024,"
                "custom_str:TableType=LIST;ListNum=1024");
  for (const WlogRecord& line : log_.lines()) {
    EXPECT_EQ(line.text.find("> 3.40.0.193000"), std::string::npos) << line.text;
  }
}

TEST_F(TableTypeAttrTest, ListNumBoundsOnOldServersAreOneAnd1023) {
  for (const char* value : {"1", "1023"}) {
    SCOPED_TRACE(value);
    DefineUnmarked(std::string("TableType=LIST;ListNum=") + value);
    EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
    EXPECT_EQ(list_num_, std::atoi(value));
  }
}

// The two server version lines carry their own source line in their text; operators and tools
// have long matched on "(184)" and "(192)", so the statements stay on those lines.
TEST_F(TableTypeAttrTest, ServerVersionLinesKeepTheSourceLinesTheirTextsHaveAlwaysNamed) {
  svr_ver_ = "3.40.0.193000";
  DefineUnmarked("TableType=LIST;ListNum=10000");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  const std::vector<WlogRecord>& lines = log_.lines();
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ(lines[lines.size() - 3].text,
            std::string(kAttrsFile) +
                "(184)-<CheckTableTypeByCustomAttr>:  m_svr_ver:3.40.0.193000 table:'player'");
  EXPECT_EQ(lines[lines.size() - 2].text,
            std::string(kAttrsFile) +
                "(192)-<CheckTableTypeByCustomAttr>:  m_svr_ver(3.40.0.193000) > "
                "3.40.0.193000 table:'player'");
}

TEST_F(TableTypeAttrTest, ListNum10000PassesOnServer3_40_0_193000) {
  svr_ver_ = "3.40.0.193000";
  DefineUnmarked("TableType=LIST;ListNum=10000");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(1, 10000, 0, kUntouched);
  const WlogRecord& line = log_.lines()[log_.lines().size() - 2];
  EXPECT_EQ(line.priority, WLOG_PRIORITY_INFO);
  EXPECT_EQ(line.text, std::string(kAttrsFile) + "(" + std::to_string(line.line) +
                           ")-<CheckTableTypeByCustomAttr>:  m_svr_ver(3.40.0.193000) > "
                           "3.40.0.193000 table:'player'");
  EXPECT_EQ(Message(), line.text);
}

TEST_F(TableTypeAttrTest, ListNum10001IsOutOfRangeOnNewServers) {
  svr_ver_ = "3.41.0";
  DefineUnmarked("TableType=LIST;ListNum=10001");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER,
                "list_num must be [1,10000],but now list_num:10001,list_num_str:10001,"
                "custom_str:TableType=LIST;ListNum=10001");
}

TEST_F(TableTypeAttrTest, ServerVersionComesFromTheConstructor) {
  CheckTable checker("3.40.0.193000");
  EXPECT_EQ(CheckTableProbe::ServerVersion(checker), "3.40.0.193000");
}

TEST_F(TableTypeAttrTest, OverflowingListNumIsClampedAndReadAsMinusOne) {
  DefineUnmarked("TableType=LIST;ListNum=99999999999999999999");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER,
                "list_num must be [1,1023],but now list_num:-1,list_num_str:99999999999999999999,"
                "custom_str:TableType=LIST;ListNum=99999999999999999999");
  ExpectOutParameters(1, -1, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, ListNumKeepsTheLow32Bits) {
  DefineUnmarked("TableType=LIST;ListNum=4294967297");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(1, 1, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, ListNumInsideALongerKeyIsMalformed) {
  DefineUnmarked("TableType=LIST;MyListNum=5;ListNum=10");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kListNumUsage);
  ExpectOutParameters(1, 5, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, PlainListWordInAMalformedSegmentIsRejected) {
  DefineUnmarked("TableType=LISTX;ListNum=10");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_SYSTEM_ERROR,
                "list table:table_type must be LIST,please check it.");
  ExpectOutParameters(1, 10, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, PlainListMustNotCarrySortKeys) {
  for (const char* extra : {"SortFieldNum=1", "SortRule=DESC"}) {
    SCOPED_TRACE(extra);
    log_.Clear();
    DefineUnmarked(std::string("TableType=LIST;ListNum=10;") + extra);
    ExpectFailure(Parse(), CHECK_TABLE_ERROR_SYSTEM_ERROR,
                  "table_type is list,but customattr has contain SortFieldNum or SortRule,don't "
                  "forget to check the entry's customattr2.");
    ExpectOutParameters(1, 10, 0, kUntouched);
  }
}

// ---- Sorted lists ----------------------------------------------------------------------------

TEST_F(TableTypeAttrTest, SortedListWithoutRuleSortsAscending) {
  Define("TableType=SORTLIST;ListNum=10;SortFieldNum=1");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(2, 10, 1, 0);
  EXPECT_THAT(log_.lines().back(),
              LogLineIs(WLOG_PRIORITY_INFO,
                        "customattr parse result:TableType=2;ListNum=10;SortFieldNum=1;SortRule=0",
                        kCheck));
}

TEST_F(TableTypeAttrTest, WholeLogOfASortedListParse) {
  svr_ver_ = "3.40.0.193000";
  const std::string attr =
      "DataProtocolType=PB;TableType=SORTLIST;ListNum=100;SortFieldNum=2;SortRule=DESC;"
      "stringdisplaycharset=utf8";
  Define(attr, {Field("uid"), Marked("score", "sort1"), Marked("level", "sort2", ZEM_TYPE_UINT8),
                Field("name", ZEM_TYPE_STRING)});
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(2, 100, 2, 1);
  EXPECT_STREQ(data_protocol_, "PB");

  const std::vector<WlogRecord>& lines = log_.lines();
  ASSERT_EQ(lines.size(), 8u);
  EXPECT_THAT(lines[0], LogLineIs(WLOG_PRIORITY_INFO,
                                  "CheckTableNameValidity successed! table: 'player'",
                                  "CheckTableNameValidity"));
  EXPECT_THAT(lines[1], LogLineIs(WLOG_PRIORITY_INFO,
                                  "CheckTableNameLength successed! table: 'player' ",
                                  "CheckTableNameLength"));
  EXPECT_THAT(lines[2], LogLineIs(WLOG_PRIORITY_INFO, "Start CheckTableTypeByCustomAttr player...",
                                  kCheck));
  EXPECT_THAT(lines[3], LogLineIs(WLOG_PRIORITY_INFO, "CheckStringDisplayCharset: " + attr,
                                  "CheckStringDisplayCharset"));
  EXPECT_THAT(lines[4], LogLineIs(WLOG_PRIORITY_INFO,
                                  std::string(kAttrsFile) + "(" + std::to_string(lines[4].line) +
                                      ")-<CheckTableTypeByCustomAttr>:  m_svr_ver:3.40.0.193000 "
                                      "table:'player'",
                                  kCheck));
  EXPECT_THAT(lines[5], LogLineIs(WLOG_PRIORITY_INFO,
                                  std::string(kAttrsFile) + "(" + std::to_string(lines[5].line) +
                                      ")-<CheckTableTypeByCustomAttr>:  m_svr_ver(3.40.0.193000) > "
                                      "3.40.0.193000 table:'player'",
                                  kCheck));
  EXPECT_THAT(lines[6], LogLineIs(WLOG_PRIORITY_DEBUG,
                                  "continue Start CheckTableTypeByCustomAttr 4...",
                                  "CheckTableTypeByCustomAttr"));
  EXPECT_THAT(lines[7], LogLineIs(WLOG_PRIORITY_INFO,
                                  "customattr parse result:TableType=2;ListNum=100;SortFieldNum=2;"
                                  "SortRule=1",
                                  kCheck));
  EXPECT_EQ(lines[0].file, "src/common/check_table_names.cpp");
  EXPECT_EQ(lines[1].file, "src/common/check_table_names.cpp");
  for (size_t i = 2; i < lines.size(); ++i) EXPECT_EQ(lines[i].file, kAttrsFile) << i;
  EXPECT_GT(lines[4].line, 0);
  EXPECT_LT(lines[4].line, lines[5].line);
  // The last informational line stays in the buffer.
  EXPECT_EQ(Message(), lines[5].text);
}

TEST_F(TableTypeAttrTest, SortListWordInAMalformedSegmentIsRejected) {
  Define("TableType=SORTLIST2;ListNum=10;SortFieldNum=1");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_SYSTEM_ERROR,
                "sort list table:it must be TaleType=SORTLIST,please check it.");
  ExpectOutParameters(1, 10, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, MissingSortFieldNumIsRejectedAfterTheTypeIsWritten) {
  Define("TableType=SORTLIST;ListNum=10");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kSortNumUsage);
  ExpectOutParameters(2, 10, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, EmptySortFieldNumIsRejected) {
  Define("TableType=SORTLIST;ListNum=10;SortFieldNum=");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kSortNumUsage);
  ExpectOutParameters(2, 10, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, SortFieldNumOutsideOneToFourIsRejected) {
  struct Case {
    const char* value;
    int read;
  };
  for (const Case& c : {Case{"5", 5}, Case{"abc", 0}, Case{"0", 0}, Case{"-1", -1},
                        Case{"99999999999999999999", -1}}) {
    SCOPED_TRACE(c.value);
    log_.Clear();
    const std::string attr = std::string("TableType=SORTLIST;ListNum=10;SortFieldNum=") + c.value;
    Define(attr);
    ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER,
                  "sort_field_num must be [1,4],but now custom_str:" + attr);
    ExpectOutParameters(2, 10, c.read, kUntouched);
  }
}

TEST_F(TableTypeAttrTest, SortFieldNumKeepsTheLow32Bits) {
  Define("TableType=SORTLIST;ListNum=10;SortFieldNum=4294967297");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(2, 10, 1, 0);
}

TEST_F(TableTypeAttrTest, SortFieldNumDoesNotTakeMacros) {
  Define("TableType=SORTLIST;ListNum=10;SortFieldNum=ONE", 0, {{"ONE", 1}});
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER,
                "sort_field_num must be [1,4],but now custom_str:"
                "TableType=SORTLIST;ListNum=10;SortFieldNum=ONE");
}

TEST_F(TableTypeAttrTest, SortFieldNumInsideALongerKeyIsMalformed) {
  Define("TableType=SORTLIST;ListNum=10;MySortFieldNum=1");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kSortNumUsage);
  ExpectOutParameters(2, 10, 1, kUntouched);
}

TEST_F(TableTypeAttrTest, SortRuleDescIsOneAndInscIsZero) {
  Define("TableType=SORTLIST;ListNum=10;SortFieldNum=1;SortRule=DESC");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(2, 10, 1, 1);
  Define("TableType=SORTLIST;ListNum=10;SortFieldNum=1;SortRule=INSC");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(2, 10, 1, 0);
}

TEST_F(TableTypeAttrTest, LowerCaseSortRuleIsRejected) {
  Define("TableType=SORTLIST;ListNum=10;SortFieldNum=1;SortRule=desc");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER,
                "SortRule str must be DESC or INSC,but now custom_str:"
                "TableType=SORTLIST;ListNum=10;SortFieldNum=1;SortRule=desc");
  ExpectOutParameters(2, 10, 1, kUntouched);
}

TEST_F(TableTypeAttrTest, EmptySortRuleCountsAsNotGiven) {
  Define("TableType=SORTLIST;ListNum=10;SortFieldNum=1;SortRule=");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(2, 10, 1, 0);
}

TEST_F(TableTypeAttrTest, SortRuleInsideALongerKeyIsMalformed) {
  Define("TableType=SORTLIST;ListNum=10;SortFieldNum=1;MySortRule=DESC");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER,
                "SortRule str must be SortRule=DESC/INSC,but now custom_str:"
                "TableType=SORTLIST;ListNum=10;SortFieldNum=1;MySortRule=DESC");
  ExpectOutParameters(2, 10, 1, 1);
}

// ---- Shapes of input -------------------------------------------------------------------------

TEST_F(TableTypeAttrTest, StringsWithoutAnyTableTypeAreRejectedWhateverTheirShape) {
  for (const char* attr : {";", "=", ";;;", "==", "   ", "TableType=", "ListNum", "=;=;",
                           "\xff\xfe\x80", "\xe4\xb8\xad=\xe6\x96\x87"}) {
    SCOPED_TRACE(attr);
    log_.Clear();
    DefineUnmarked(attr);
    ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kTableTypeUsage);
    ExpectOutParameters(kUntouched, kUntouched, kUntouched, kUntouched);
  }
}

TEST_F(TableTypeAttrTest, ListWordWithoutValuesIsMissingItsListNum) {
  for (const char* attr : {"LIST", "=LIST", "LIST=", "LIST;", ";LIST;ListNum", "LIST;=10",
                           "LIST;ListNum;=", "TableType=LIST;ListNum"}) {
    SCOPED_TRACE(attr);
    log_.Clear();
    DefineUnmarked(attr);
    ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, kListNumUsage);
    ExpectOutParameters(1, kUntouched, 0, kUntouched);
  }
}

TEST_F(TableTypeAttrTest, SegmentWithAValueButNoKeyStillNamesTheType) {
  DefineUnmarked("=LIST;ListNum=10");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(1, 10, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, TypeWordWithoutEqualsSignIsMalformed) {
  DefineUnmarked("LIST;ListNum=10");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_SYSTEM_ERROR,
                "list table:table_type must be LIST,please check it.");
  ExpectOutParameters(1, 10, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, NonAsciiBytesElsewhereAreIgnored) {
  DefineUnmarked("TableType=LIST;ListNum=10;Note=\xe4\xb8\xad\xe6\x96\x87\xff");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(1, 10, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, LongAttributeStringIsCutTo1023BytesInTheMessage) {
  std::string attr = "TableType=LIST;ListNum=0;Note=";
  attr.append(3000 - attr.size(), 'a');
  ASSERT_EQ(attr.size(), 3000u);
  DefineUnmarked(attr);
  const std::string full =
      "list_num must be [1,1023],but now list_num:0,list_num_str:0,custom_str:" + attr;
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER, full.substr(0, 1023));
  EXPECT_EQ(std::strlen(checker_->GetErrType()), 1023u);
}

TEST_F(TableTypeAttrTest, LongAttributeStringIsParsed) {
  std::string attr = "TableType=LIST;ListNum=10;Note=";
  attr.append(3000 - attr.size(), 'b');
  DefineUnmarked(attr);
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(1, 10, 0, kUntouched);
}

TEST_F(TableTypeAttrTest, PercentSignsInTheStringAreNotConversions) {
  DefineUnmarked("TableType=LIST;ListNum=%s%n%d");
  ExpectFailure(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER,
                "can't find macro:%s%n%d from zem:player,please check.");
}

TEST_F(TableTypeAttrTest, NullLogHandleStillFillsTheBuffer) {
  log_handle_ = nullptr;
  DefineUnmarked("TableType=LIST;ListNum=2000");
  EXPECT_EQ(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Message(),
            "list_num must be [1,1023],but now list_num:2000,list_num_str:2000,"
            "custom_str:TableType=LIST;ListNum=2000");
  EXPECT_TRUE(log_.lines().empty());
  ExpectOutParameters(1, 2000, 0, kUntouched);

  Define("TableType=GENERIC", 70000);
  EXPECT_EQ(Parse(), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Message(), "Table version error,can not higher than 65535");
  EXPECT_TRUE(log_.lines().empty());
}

TEST_F(TableTypeAttrTest, NullLogHandleStillHandsBackTheResults) {
  log_handle_ = nullptr;
  Define("TableType=SORTLIST;ListNum=10;SortFieldNum=1;SortRule=DESC");
  EXPECT_EQ(Parse(), CHECK_TABLE_SUCCESS);
  ExpectOutParameters(2, 10, 1, 1);
  EXPECT_TRUE(log_.lines().empty());
}

}  // namespace
