// How every check reports: the message goes into the error buffer whatever happens to the log
// line, an overlong message is cut to 1023 bytes, the category's bounds decide which lines are
// written (and a refused line never reaches the log library), schema text travels as data, and
// each line carries the location of the statement that wrote it.
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "test_support.h"
#include "check_table_probe.h"
#include <velmora/check_table.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A sink that counts how often the category asks it anything and how often it writes.
class CountingSink : public WlogSink {
 public:
  bool Accepts(int) const override {
    ++accepts_calls;
    return true;
  }
  void Write(const WLOGEVENT&) override { ++writes; }
  mutable int accepts_calls = 0;
  int writes = 0;
};

// A category with the given bounds; a bound of nullopt is left unset (NULL pointer).
class BoundedLog : public WlogMemoryCategory {
 public:
  BoundedLog(std::optional<int> high, std::optional<int> low) {
    tagWLogCategoryInst& category = *handle();
    if (high) {
      category.iPriorityHigh = *high;
      category.piPriorityHigh = &category.iPriorityHigh;
    }
    if (low) {
      category.iPriorityLow = *low;
      category.piPriorityLow = &category.iPriorityLow;
    }
  }
};

ZemMetaLibPtr GoodLib() {
  return BuildLib(
      {Table("player", {Field("uid", ZEM_TYPE_INT32), Field("v", ZEM_TYPE_INT32)}, {"uid"})});
}

std::string TooLongMessage(const std::string& name) {
  return "table name '" + name + "' is too long,maximum 32 chars";
}

// ---- The buffer is written whether or not anything is logged -----------------------------

TEST(Reporting, NullHandleStillFillsTheBufferAndReturnsTheCode) {
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("1abc", nullptr), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_STREQ(checker.GetErrType(), "table name startswith digit.");
  EXPECT_EQ(checker.CheckTableNameValidity("", nullptr), ERROR_TABLE_NAME_EMPTY);
  EXPECT_STREQ(checker.GetErrType(), "table name can't be empty");
  EXPECT_EQ(CheckTableProbe::CheckTableNameLength(checker, std::string(32, 'a').c_str(), nullptr),
            ERROR_TABLE_NAME_TOO_LONG);
  EXPECT_EQ(std::string(checker.GetErrType()), TooLongMessage(std::string(32, 'a')));
}

TEST(Reporting, NullHandleStillFillsTheBufferAtTheEntryPoint) {
  auto lib = GoodLib();
  CheckTable checker;
  EXPECT_EQ(checker.VelmoraCheckTable(nullptr, "player", 0, nullptr, "", "", "none"),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_STREQ(checker.GetErrType(),
               "Invaild parameter\xef\xbc\x8c"
               "please check the parameter! table: 'player'");
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "player", 2, nullptr, "", "", "none"),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_STREQ(checker.GetErrType(),
               "Table_type is invaild type\xef\xbc\x8c"
               "please check the table type!  table:'player'");
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "nosuch", 0, nullptr, "", "", "none"),
            CHECK_TABLE_ERROR_SYSTEM_ERROR);
  EXPECT_STREQ(checker.GetErrType(),
               "Get meta info failed, please check the table name! table:'nosuch'");
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "player", 0, nullptr, "", "", "none"),
            CHECK_TABLE_SUCCESS);
}

TEST(Reporting, SinkThatRefusesChangesOnlyTheLog) {
  WlogMemorySink sink(WLOG_PRIORITY_FATAL);
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("a-b", &category), ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR);
  EXPECT_STREQ(checker.GetErrType(), "table name has illegal character.");
  EXPECT_THAT(sink.records(), IsEmpty());
}

// ---- Overlong messages --------------------------------------------------------------------

TEST(Reporting, MessageOf1100CharactersLeavesExactly1023InTheBuffer) {
  const std::string name(1100, 'a');
  const std::string expected = TooLongMessage(name).substr(0, 1023);
  LogCapture log;
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity(name.c_str(), log.handle()), ERROR_TABLE_NAME_TOO_LONG);
  EXPECT_EQ(std::strlen(checker.GetErrType()), 1023u);
  EXPECT_EQ(std::string(checker.GetErrType()), expected);
  // The log line is the buffer, cut alike.
  ASSERT_EQ(log.lines().size(), 2u);
  EXPECT_THAT(log.lines()[1], LogLineIs(300, expected, "CheckTableNameLength"));
}

TEST(Reporting, OverlongNameAtTheEntryPointIsCutAlike) {
  auto lib = GoodLib();
  const std::string name(1100, 'b');
  CheckTable checker;
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), name.c_str(), 0, nullptr, "", "", "none"),
            ERROR_TABLE_NAME_TOO_LONG);
  EXPECT_EQ(std::string(checker.GetErrType()), TooLongMessage(name).substr(0, 1023));
}

TEST(Reporting, MessageOfExactly1023CharactersIsKeptWhole) {
  // "table name '" (12) + name + "' is too long,maximum 32 chars" (30) = 1023 with a 981-byte name.
  const std::string name(981, 'c');
  ASSERT_EQ(TooLongMessage(name).size(), 1023u);
  CheckTable checker;
  EXPECT_EQ(CheckTableProbe::CheckTableNameLength(checker, name.c_str(), nullptr),
            ERROR_TABLE_NAME_TOO_LONG);
  EXPECT_EQ(std::string(checker.GetErrType()), TooLongMessage(name));
  const std::string longer(982, 'c');
  EXPECT_EQ(CheckTableProbe::CheckTableNameLength(checker, longer.c_str(), nullptr),
            ERROR_TABLE_NAME_TOO_LONG);
  EXPECT_EQ(std::string(checker.GetErrType()), TooLongMessage(longer).substr(0, 1023));
}

// ---- Bounds -------------------------------------------------------------------------------

TEST(ReportingBounds, LowBoundOf200LogsNoFailureLine) {
  BoundedLog log(std::nullopt, 200);
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("1abc", log.handle()), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_STREQ(checker.GetErrType(), "table name startswith digit.");
  EXPECT_EQ(checker.CheckTableNameValidity("abc", log.handle()), CHECK_TABLE_SUCCESS);
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(ReportingBounds, LowBoundOfMinusOneLogsFailures) {
  BoundedLog log(std::nullopt, -1);
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("1abc", log.handle()), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_THAT(log.lines(), ElementsAre(LogLineIs(300, "table name startswith digit.",
                                                 "CheckTableNameValidity")));
}

TEST(ReportingBounds, AbsentBoundsLogFailures) {
  BoundedLog log(std::nullopt, std::nullopt);
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("a b", log.handle()), ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR);
  EXPECT_THAT(log.lines(), ElementsAre(LogLineIs(300, "table name has illegal character.",
                                                 "CheckTableNameValidity")));
}

TEST(ReportingBounds, LowBoundOf300LogsFailuresButNoSuccessLines) {
  BoundedLog log(std::nullopt, 300);
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("abc", log.handle()), CHECK_TABLE_SUCCESS);
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(checker.CheckTableNameValidity("", log.handle()), ERROR_TABLE_NAME_EMPTY);
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLineIs(300, "table name can't be empty", "CheckTableNameValidity")));
}

TEST(ReportingBounds, HighBoundAbove300DropsErrorsAndKeepsLessSevereLines) {
  BoundedLog log(400, std::nullopt);
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("1abc", log.handle()), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_STREQ(checker.GetErrType(), "table name startswith digit.");
  EXPECT_THAT(log.lines(), IsEmpty());
  EXPECT_EQ(checker.CheckTableNameValidity("abc", log.handle()), CHECK_TABLE_SUCCESS);
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLineIs(600, "CheckTableNameValidity successed! table: 'abc'",
                                    "CheckTableNameValidity"),
                          LogLineIs(600, "CheckTableNameLength successed! table: 'abc' ",
                                    "CheckTableNameLength")));
}

TEST(ReportingBounds, HighBoundAboveInfoKeepsNothingBelowIt) {
  BoundedLog log(700, std::nullopt);
  auto lib = GoodLib();
  CheckTable checker;
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "player", 0, log.handle(), "", "", "none"),
            CHECK_TABLE_SUCCESS);
  EXPECT_EQ(checker.CheckTableNameValidity("1abc", log.handle()), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  for (const WlogRecord& line : log.lines()) EXPECT_GE(line.priority, 700) << line.text;
}

TEST(ReportingBounds, HighBoundOf300KeepsErrors) {
  BoundedLog log(300, 300);
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("1abc", log.handle()), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(checker.CheckTableNameValidity("abc", log.handle()), CHECK_TABLE_SUCCESS);
  EXPECT_THAT(log.lines(), ElementsAre(LogLineIs(300, "table name startswith digit.",
                                                 "CheckTableNameValidity")));
}

TEST(ReportingBounds, EntryPointFailureUnderALowBoundOf200IsOnlyInTheBuffer) {
  BoundedLog log(std::nullopt, 200);
  auto lib = GoodLib();
  CheckTable checker;
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "player", -1, log.handle(), "", "", "none"),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_STREQ(checker.GetErrType(),
               "Table_type is invaild type\xef\xbc\x8c"
               "please check the table type!  table:'player'");
  EXPECT_THAT(log.lines(), IsEmpty());
}

// ---- A refused line costs no call into the library ----------------------------------------

TEST(ReportingCost, LinesRefusedByTheBoundsNeverAskTheSink) {
  CountingSink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  category.iPriorityLow = WLOG_PRIORITY_CRIT;
  category.piPriorityLow = &category.iPriorityLow;
  auto lib = GoodLib();
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("1abc", &category), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(checker.CheckTableNameValidity("abc", &category), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "player", 0, &category, "", "", "none"),
            CHECK_TABLE_SUCCESS);
  EXPECT_EQ(checker.VelmoraCheckTable(nullptr, "player", 0, &category, "", "", "none"),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(sink.accepts_calls, 0);
  EXPECT_EQ(sink.writes, 0);
}

TEST(ReportingCost, HighBoundRefusalsNeverAskTheSinkEither) {
  CountingSink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  category.iPriorityHigh = WLOG_PRIORITY_DEBUG;
  category.piPriorityHigh = &category.iPriorityHigh;
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("1abc", &category), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(checker.CheckTableNameValidity("abc", &category), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(sink.accepts_calls, 0);
  EXPECT_EQ(sink.writes, 0);
}

TEST(ReportingCost, OpenBoundsAskTheSinkOncePerLine) {
  CountingSink sink;
  tagWLogCategoryInst category = WlogCategoryFor(&sink);
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("1abc", &category), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(checker.CheckTableNameValidity("abc", &category), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(sink.writes, 3);
  EXPECT_EQ(sink.accepts_calls, 3);
}

// ---- Schema text is data, never a format --------------------------------------------------

TEST(ReportingPercent, TableNameWithPercentIsLoggedVerbatim) {
  LogCapture log;
  CheckTable checker;
  EXPECT_EQ(checker.VelmoraCheckTable(nullptr, "a%s%n", 0, log.handle(), "", "", "none"),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  const std::string expected =
      "Invaild parameter\xef\xbc\x8c"
      "please check the parameter! table: 'a%s%n'";
  EXPECT_EQ(std::string(checker.GetErrType()), expected);
  EXPECT_THAT(log.lines(), ElementsAre(LogLineIs(300, expected, "VelmoraCheckTable")));
}

TEST(ReportingPercent, PercentSignsInALongNameAreLoggedVerbatim) {
  const std::string name = "a%s%n%d%%" + std::string(30, 'x');
  LogCapture log;
  CheckTable checker;
  EXPECT_EQ(CheckTableProbe::CheckTableNameLength(checker, name.c_str(), log.handle()),
            ERROR_TABLE_NAME_TOO_LONG);
  EXPECT_EQ(std::string(checker.GetErrType()), TooLongMessage(name));
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLineIs(300, TooLongMessage(name), "CheckTableNameLength")));
}

TEST(ReportingPercent, PercentSignsInASuccessLineAreLoggedVerbatim) {
  LogCapture log;
  CheckTable checker;
  EXPECT_EQ(CheckTableProbe::CheckTableNameLength(checker, "a%s%n", log.handle()),
            CHECK_TABLE_SUCCESS);
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLineIs(600, "CheckTableNameLength successed! table: 'a%s%n' ",
                                    "CheckTableNameLength")));
}

TEST(ReportingPercent, NameWithPercentFailsTheCharacterRule) {
  LogCapture log;
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("a%s%n", log.handle()),
            ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR);
  EXPECT_STREQ(checker.GetErrType(), "table name has illegal character.");
}

// ---- Text once used as a format with no arguments ----------------------------------------

const WLOGLOCINFO kHere{"src/common/check_table_fields.cpp", 77, "CheckRepeatedFieldName", nullptr};

TEST(ReportingFormatText, DoublePercentBecomesOnePercentAndEverythingElseStays) {
  LogCapture log;
  CheckTable checker;
  EXPECT_EQ(CheckTableProbe::ReportFormatText(checker, log.handle(), kHere,
                                              ERROR_REPEATED_FIELD_NAME, "a%%b a%s%n%d c%%%"),
            ERROR_REPEATED_FIELD_NAME);
  EXPECT_STREQ(checker.GetErrType(), "a%b a%s%n%d c%%");
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_THAT(log.lines()[0], LogLineIs(300, "a%b a%s%n%d c%%", "CheckRepeatedFieldName"));
  EXPECT_EQ(log.lines()[0].file, "src/common/check_table_fields.cpp");
  EXPECT_EQ(log.lines()[0].line, 77);
}

TEST(ReportingFormatText, TrailingPercentIsKept) {
  CheckTable checker;
  CheckTableProbe::ReportFormatText(checker, nullptr, kHere, ERROR_FIELD_TYPE_ILLEGAL, "name%");
  EXPECT_STREQ(checker.GetErrType(), "name%");
  CheckTableProbe::ReportFormatText(checker, nullptr, kHere, ERROR_FIELD_TYPE_ILLEGAL, "%");
  EXPECT_STREQ(checker.GetErrType(), "%");
  CheckTableProbe::ReportFormatText(checker, nullptr, kHere, ERROR_FIELD_TYPE_ILLEGAL, "%%%%");
  EXPECT_STREQ(checker.GetErrType(), "%%");
}

TEST(ReportingFormatText, EmptyTextEmptiesTheBuffer) {
  LogCapture log;
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("", nullptr), ERROR_TABLE_NAME_EMPTY);
  EXPECT_EQ(
      CheckTableProbe::ReportFormatText(checker, log.handle(), kHere, ERROR_FIELD_TYPE_ILLEGAL, ""),
      ERROR_FIELD_TYPE_ILLEGAL);
  EXPECT_STREQ(checker.GetErrType(), "");
  EXPECT_THAT(log.lines(), ElementsAre(LogLineIs(300, "", "CheckRepeatedFieldName")));
}

TEST(ReportingFormatText, OverlongTextIsCutTo1023Bytes) {
  CheckTable checker;
  const std::string text(1100, 'q');
  CheckTableProbe::ReportFormatText(checker, nullptr, kHere, ERROR_FIELD_TYPE_ILLEGAL,
                                    text.c_str());
  EXPECT_EQ(std::string(checker.GetErrType()), std::string(1023, 'q'));
  // The cut counts the bytes written, after "%%" became "%".
  std::string doubled;
  for (int i = 0; i < 600; ++i) doubled += "%%";
  CheckTableProbe::ReportFormatText(checker, nullptr, kHere, ERROR_FIELD_TYPE_ILLEGAL,
                                    doubled.c_str());
  EXPECT_EQ(std::string(checker.GetErrType()), std::string(600, '%'));
  std::string many;
  for (int i = 0; i < 1100; ++i) many += "%%";
  CheckTableProbe::ReportFormatText(checker, nullptr, kHere, ERROR_FIELD_TYPE_ILLEGAL,
                                    many.c_str());
  EXPECT_EQ(std::string(checker.GetErrType()), std::string(1023, '%'));
}

TEST(ReportingFormatText, FollowsTheSameGate) {
  BoundedLog log(std::nullopt, 200);
  CheckTable checker;
  EXPECT_EQ(CheckTableProbe::ReportFormatText(checker, log.handle(), kHere,
                                              ERROR_REPEATED_FIELD_NAME, "dup%%"),
            ERROR_REPEATED_FIELD_NAME);
  EXPECT_STREQ(checker.GetErrType(), "dup%");
  EXPECT_THAT(log.lines(), IsEmpty());
}

// ---- Location -----------------------------------------------------------------------------

TEST(ReportingLocation, EntryPointLinesNameTheEntryPoint) {
  LogCapture log;
  CheckTable checker;
  EXPECT_EQ(checker.VelmoraCheckTable(nullptr, "player", 0, log.handle(), "", "", "none"),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_EQ(log.lines()[0].file, "src/common/check_table.cpp");
  EXPECT_EQ(log.lines()[0].function, "VelmoraCheckTable");
  EXPECT_GT(log.lines()[0].line, 0);
}

TEST(ReportingLocation, SuccessLineOfTheEntryPointNamesTheEntryPoint) {
  auto lib = GoodLib();
  LogCapture log;
  CheckTable checker;
  EXPECT_EQ(checker.VelmoraCheckTable(lib.get(), "player", 0, log.handle(), "", "", "none"),
            CHECK_TABLE_SUCCESS);
  ASSERT_FALSE(log.lines().empty());
  const WlogRecord& last = log.lines().back();
  EXPECT_THAT(last, LogLineIs(600, "CheckTable succees! table:'player'", "VelmoraCheckTable"));
  EXPECT_EQ(last.file, "src/common/check_table.cpp");
  EXPECT_GT(last.line, 0);
}

TEST(ReportingLocation, NameCheckLinesNameTheirCheck) {
  LogCapture log;
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("abc", log.handle()), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(checker.CheckTableNameValidity("1abc", log.handle()), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  ASSERT_EQ(log.lines().size(), 3u);
  const char* const functions[] = {"CheckTableNameValidity", "CheckTableNameLength",
                                   "CheckTableNameValidity"};
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(log.lines()[i].file, "src/common/check_table_names.cpp");
    EXPECT_EQ(log.lines()[i].function, functions[i]);
    EXPECT_GT(log.lines()[i].line, 0);
  }
  // Two statements, two lines of source.
  EXPECT_NE(log.lines()[0].line, log.lines()[2].line);
}

}  // namespace
