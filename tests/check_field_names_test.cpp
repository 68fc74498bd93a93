// Field names become column names: each must be a plain identifier of 1 to 31 characters that does
// not start with a digit, and no two names of a table may differ only in letter case.
#include <string>
#include <vector>

#include "check_table_probe.h"
#include <velmora/check_table.h>
#include <velmora/zem.h>
#include "test_support.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const char* const kLengthCheck = "CheckFieldNameLength";
const char* const kRepeatCheck = "CheckRepeatedFieldName";

// Fields of these names in table "t".
ZemMetaDef Named(const std::vector<std::string>& names) {
  std::vector<ZemEntryDef> entries;
  for (const std::string& name : names) entries.push_back(Field(name));
  return Table("t", entries);
}

class FieldNamesTest : public ::testing::Test {
 protected:
  LPZEMMETA Meta(ZemMetaDef table) {
    log_.Clear();
    lib_ = BuildLib({std::move(table)});
    return zem_get_meta_by_name(lib_.get(), "t");
  }
  int Length(ZemMetaDef table) {
    LPZEMMETA meta = Meta(std::move(table));
    return CheckTableProbe::CheckFieldNameLength(checker_, meta, log_.handle());
  }
  int Repeated(ZemMetaDef table) {
    LPZEMMETA meta = Meta(std::move(table));
    return CheckTableProbe::CheckRepeatedFieldName(checker_, meta, log_.handle());
  }
  std::string Message() const { return checker_.GetErrType(); }

  ZemMetaLibPtr lib_;
  CheckTable checker_;
  LogCapture log_;
};

// Name by name.

TEST_F(FieldNamesTest, LengthCheckRejectsNullMeta) {
  EXPECT_EQ(CheckTableProbe::CheckFieldNameLength(checker_, nullptr, log_.handle()),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Message(), "CheckFieldNameLength failed.meta is NULL");
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(300, "CheckFieldNameLength failed.meta is NULL",
                                                  kLengthCheck)));
}

TEST_F(FieldNamesTest, LengthCheckFillsBufferWithoutLogHandle) {
  LPZEMMETA meta = Meta(Named({"1a"}));
  EXPECT_EQ(CheckTableProbe::CheckFieldNameLength(checker_, meta, nullptr),
            ERROR_FIELD_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(Message(), "field name[1a] startswith digit.");
  EXPECT_EQ(CheckTableProbe::CheckFieldNameLength(checker_, nullptr, nullptr),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Message(), "CheckFieldNameLength failed.meta is NULL");
}

TEST_F(FieldNamesTest, IdentifiersPassAndEachLengthIsLogged) {
  EXPECT_EQ(Length(Named({"_id", "a1", "A_b"})), 0);
  EXPECT_EQ(Message(), "");
  EXPECT_THAT(
      log_.lines(),
      ElementsAre(LogLineIs(600, "length of entry name _id is 3", kLengthCheck),
                  LogLineIs(600, "length of entry name a1 is 2", kLengthCheck),
                  LogLineIs(600, "length of entry name A_b is 3", kLengthCheck),
                  LogLineIs(600, "CheckFieldNameLength successed! table: 't' ", kLengthCheck)));
}

TEST_F(FieldNamesTest, LeadingDigitIsRejected) {
  EXPECT_EQ(Length(Named({"1a"})), ERROR_FIELD_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(Message(), "field name[1a] startswith digit.");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(600, "length of entry name 1a is 2", kLengthCheck),
                          LogLineIs(300, "field name[1a] startswith digit.", kLengthCheck)));
}

TEST_F(FieldNamesTest, DashIsAnIllegalCharacter) {
  EXPECT_EQ(Length(Named({"a-b"})), ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR);
  EXPECT_EQ(Message(), "field name[a-b] has illegal character.");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(600, "length of entry name a-b is 3", kLengthCheck),
                          LogLineIs(300, "field name[a-b] has illegal character.", kLengthCheck)));
}

TEST_F(FieldNamesTest, BlankIsAnIllegalCharacter) {
  EXPECT_EQ(Length(Named({"a b"})), ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR);
  EXPECT_EQ(Message(), "field name[a b] has illegal character.");
}

TEST_F(FieldNamesTest, TrailingBlankIsNotTrimmed) {
  EXPECT_EQ(Length(Named({"ab "})), ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR);
  EXPECT_EQ(Message(), "field name[ab ] has illegal character.");
}

TEST_F(FieldNamesTest, NonAsciiLetterIsAnIllegalCharacter) {
  EXPECT_EQ(Length(Named({"caf\xc3\xa9"})), ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR);
  EXPECT_EQ(Message(), "field name[caf\xc3\xa9] has illegal character.");
  EXPECT_THAT(log_.lines()[0],
              LogLineIs(600, "length of entry name caf\xc3\xa9 is 5", kLengthCheck));
}

TEST_F(FieldNamesTest, EmptyNameIsRejected) {
  EXPECT_EQ(Length(Named({""})), ERROR_FIELD_NAME_EMPTY);
  EXPECT_EQ(Message(), "field name is empty.");
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(600, "length of entry name  is 0", kLengthCheck),
                                        LogLineIs(300, "field name is empty.", kLengthCheck)));
}

TEST_F(FieldNamesTest, ThirtyOneCharactersPassThirtyTwoAreTooLong) {
  const std::string name31(31, 'x');
  const std::string name32(32, 'x');
  EXPECT_EQ(Length(Named({name31})), 0);
  EXPECT_EQ(Length(Named({name32})), ERROR_FIELD_NAME_TOO_LONG);
  EXPECT_EQ(Message(), "length of entry " + name32 + " is too long");
  EXPECT_THAT(
      log_.lines(),
      ElementsAre(LogLineIs(600, "length of entry name " + name32 + " is 32", kLengthCheck),
                  LogLineIs(300, "length of entry " + name32 + " is too long", kLengthCheck)));
}

TEST_F(FieldNamesTest, IllegalCharacterIsReportedBeforeLength) {
  const std::string name = std::string(20, 'a') + "-" + std::string(19, 'b');
  EXPECT_EQ(Length(Named({name})), ERROR_FIELD_NAME_HAS_ILLEGAL_CHAR);
  EXPECT_EQ(Message(), "field name[" + name + "] has illegal character.");
}

TEST_F(FieldNamesTest, LeadingDigitIsReportedBeforeIllegalCharacter) {
  EXPECT_EQ(Length(Named({"1-"})), ERROR_FIELD_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(Message(), "field name[1-] startswith digit.");
}

TEST_F(FieldNamesTest, FirstFailingEntryEndsTheLengthCheck) {
  EXPECT_EQ(Length(Named({"ok", "1a", "a-b"})), ERROR_FIELD_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(Message(), "field name[1a] startswith digit.");
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(600, "length of entry name ok is 2", kLengthCheck),
                          LogLineIs(600, "length of entry name 1a is 2", kLengthCheck),
                          LogLineIs(300, "field name[1a] startswith digit.", kLengthCheck)));
}

TEST_F(FieldNamesTest, LengthCheckPassesMetaWithoutEntriesAndLogsSuccess) {
  EXPECT_EQ(Length(Named({})), 0);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(
                                600, "CheckFieldNameLength successed! table: 't' ", kLengthCheck)));
}

TEST_F(FieldNamesTest, LengthCheckRejectsNullEntry) {
  ZemMetaDef table = Named({"a", "b"});
  table.entries[1].null_slot = true;
  EXPECT_EQ(Length(table), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Message(), "entry 1 is null! Meta name: t");
}

// Names against each other.

TEST_F(FieldNamesTest, RepeatCheckRejectsNullMetaWithTheLengthCheckText) {
  EXPECT_EQ(CheckTableProbe::CheckRepeatedFieldName(checker_, nullptr, log_.handle()),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Message(), "CheckFieldNameLength failed.meta is NULL");
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(300, "CheckFieldNameLength failed.meta is NULL",
                                                  kRepeatCheck)));
}

TEST_F(FieldNamesTest, RepeatCheckFillsBufferWithoutLogHandle) {
  LPZEMMETA meta = Meta(Named({"Level", "level"}));
  EXPECT_EQ(CheckTableProbe::CheckRepeatedFieldName(checker_, meta, nullptr),
            ERROR_REPEATED_FIELD_NAME);
  EXPECT_EQ(Message(),
            "using strncasecmp, the field name is repeated. field_name:Level, entry_index:0, "
            "cmp_field_name:level, cmp_entry_index:1");
}

TEST_F(FieldNamesTest, NamesDifferingOnlyInCaseRepeat) {
  const char* const text =
      "using strncasecmp, the field name is repeated. field_name:Level, entry_index:0, "
      "cmp_field_name:level, cmp_entry_index:1";
  EXPECT_EQ(Repeated(Named({"Level", "level"})), ERROR_REPEATED_FIELD_NAME);
  EXPECT_EQ(Message(), text);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(600, "length of entry name Level is 5", kRepeatCheck),
                          LogLineIs(300, text, kRepeatCheck)));
}

TEST_F(FieldNamesTest, NamesOfDifferentLengthDoNotRepeat) {
  EXPECT_EQ(Repeated(Named({"level", "levels"})), 0);
  EXPECT_EQ(Message(), "");
  // No success line: only the lengths.
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(600, "length of entry name level is 5", kRepeatCheck),
                          LogLineIs(600, "length of entry name levels is 6", kRepeatCheck)));
}

TEST_F(FieldNamesTest, FirstRepeatedPairInRowOrderIsReported) {
  EXPECT_EQ(Repeated(Named({"a", "b", "B", "A"})), ERROR_REPEATED_FIELD_NAME);
  EXPECT_EQ(Message(),
            "using strncasecmp, the field name is repeated. field_name:a, entry_index:0, "
            "cmp_field_name:A, cmp_entry_index:3");
}

TEST_F(FieldNamesTest, EmptyNameIsReportedOnlyAfterEarlierPairsPass) {
  EXPECT_EQ(Repeated(Named({"x", "", "X"})), ERROR_REPEATED_FIELD_NAME);
  EXPECT_EQ(Message(),
            "using strncasecmp, the field name is repeated. field_name:x, entry_index:0, "
            "cmp_field_name:X, cmp_entry_index:2");

  EXPECT_EQ(Repeated(Named({"x", "", "y"})), ERROR_FIELD_NAME_EMPTY);
  EXPECT_EQ(Message(), "field name is empty.");
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(600, "length of entry name x is 1", kRepeatCheck),
                                        LogLineIs(600, "length of entry name  is 0", kRepeatCheck),
                                        LogLineIs(300, "field name is empty.", kRepeatCheck)));
}

TEST_F(FieldNamesTest, EmptyLastNameIsReported) {
  EXPECT_EQ(Repeated(Named({"x", ""})), ERROR_FIELD_NAME_EMPTY);
  EXPECT_EQ(Message(), "field name is empty.");
}

TEST_F(FieldNamesTest, SingleNamePassesAfterItsLengthLine) {
  EXPECT_EQ(Repeated(Named({"only"})), 0);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(600, "length of entry name only is 4", kRepeatCheck)));
}

TEST_F(FieldNamesTest, RepeatCheckPassesMetaWithoutEntriesSilently) {
  EXPECT_EQ(Repeated(Named({})), 0);
  EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(FieldNamesTest, RepeatMessageShowsPercentNamesAsText) {
  const char* const text =
      "using strncasecmp, the field name is repeated. field_name:a%n, entry_index:0, "
      "cmp_field_name:A%N, cmp_entry_index:1";
  EXPECT_EQ(Repeated(Named({"a%n", "A%N"})), ERROR_REPEATED_FIELD_NAME);
  EXPECT_EQ(Message(), text);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(600, "length of entry name a%n is 3", kRepeatCheck),
                          LogLineIs(300, text, kRepeatCheck)));
}

TEST_F(FieldNamesTest, RepeatMessageTurnsDoublePercentIntoOne) {
  EXPECT_EQ(Repeated(Named({"b%%c", "B%%C"})), ERROR_REPEATED_FIELD_NAME);
  EXPECT_EQ(Message(),
            "using strncasecmp, the field name is repeated. field_name:b%c, entry_index:0, "
            "cmp_field_name:B%C, cmp_entry_index:1");
  EXPECT_THAT(log_.lines()[0], LogLineIs(600, "length of entry name b%%c is 4", kRepeatCheck));
}

TEST_F(FieldNamesTest, RepeatCheckRejectsNullEntry) {
  ZemMetaDef table = Named({"a", "b"});
  table.entries[1].null_slot = true;
  EXPECT_EQ(Repeated(table), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Message(), "entry 1 is null! Meta name: t");
}

}  // namespace
