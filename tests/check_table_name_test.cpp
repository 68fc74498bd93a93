// Table name rules. A table name becomes part of keys and file names across the store: it must not
// be empty, must not start with a digit, may hold only ASCII letters, digits and '_', and has at
// most 31 bytes. The character rules are applied before the length.
#include <string>

#include "test_support.h"
#include "check_table_probe.h"
#include <velmora/check_table.h>

namespace {

using ::testing::ElementsAre;

const char kEmpty[] = "table name can't be empty";
const char kStartsWithDigit[] = "table name startswith digit.";
const char kIllegalChar[] = "table name has illegal character.";

std::string ValidityLine(const std::string& name) {
  return "CheckTableNameValidity successed! table: '" + name + "'";
}
std::string LengthLine(const std::string& name) {
  return "CheckTableNameLength successed! table: '" + name + "' ";
}
std::string TooLong(const std::string& name) {
  return "table name '" + name + "' is too long,maximum 32 chars";
}

class TableNameTest : public ::testing::Test {
 protected:
  int Validity(const std::string& name) {
    log_.Clear();
    return checker_.CheckTableNameValidity(name.c_str(), log_.handle());
  }
  int Length(const std::string& name) {
    log_.Clear();
    return CheckTableProbe::CheckTableNameLength(checker_, name.c_str(), log_.handle());
  }
  void ExpectPassed(const std::string& name) {
    EXPECT_THAT(log_.lines(),
                ElementsAre(LogLineIs(600, ValidityLine(name), "CheckTableNameValidity"),
                            LogLineIs(600, LengthLine(name), "CheckTableNameLength")))
        << name;
  }
  void ExpectFailed(const std::string& message, const char* function) {
    EXPECT_EQ(std::string(checker_.GetErrType()), message);
    EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(300, message, function)));
  }

  CheckTable checker_;
  LogCapture log_;
};

// ---- CheckTableNameValidity ---------------------------------------------------------------

TEST_F(TableNameTest, PassesAPlainNameAndLogsBothSuccessLines) {
  EXPECT_EQ(Validity("abc"), CHECK_TABLE_SUCCESS);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(600, "CheckTableNameValidity successed! table: 'abc'",
                                    "CheckTableNameValidity"),
                          LogLineIs(600, "CheckTableNameLength successed! table: 'abc' ",
                                    "CheckTableNameLength")));
}

TEST_F(TableNameTest, PassesUnderscoresLettersAndDigitsAfterTheFirst) {
  for (const char* name :
       {"_abc", "A1", "abc_123", "_", "Z", "a0123456789", "ABCXYZabcxyz_09", "__init__", "_1"}) {
    EXPECT_EQ(Validity(name), CHECK_TABLE_SUCCESS) << name;
    ExpectPassed(name);
  }
}

TEST_F(TableNameTest, RejectsAnEmptyNameWithoutReachingTheLengthCheck) {
  EXPECT_EQ(Validity(""), ERROR_TABLE_NAME_EMPTY);
  ExpectFailed(kEmpty, "CheckTableNameValidity");
}

TEST_F(TableNameTest, TreatsAMissingNameAsEmpty) {
  log_.Clear();
  EXPECT_EQ(checker_.CheckTableNameValidity(nullptr, log_.handle()), ERROR_TABLE_NAME_EMPTY);
  EXPECT_STREQ(checker_.GetErrType(), kEmpty);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(300, kEmpty, "CheckTableNameValidity")));
}

TEST_F(TableNameTest, RejectsANameStartingWithAnyDigit) {
  for (char digit = '0'; digit <= '9'; ++digit) {
    const std::string name = std::string(1, digit) + "abc";
    EXPECT_EQ(Validity(name), ERROR_TABLE_NAME_STARTWITH_DIGIT) << name;
    ExpectFailed(kStartsWithDigit, "CheckTableNameValidity");
  }
  EXPECT_EQ(Validity("1"), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  ExpectFailed(kStartsWithDigit, "CheckTableNameValidity");
}

TEST_F(TableNameTest, LeadingDigitIsTestedBeforeTheCharacters) {
  EXPECT_EQ(Validity("1a-b"), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  ExpectFailed(kStartsWithDigit, "CheckTableNameValidity");
}

TEST_F(TableNameTest, LeadingDigitIsTestedBeforeTheLength) {
  EXPECT_EQ(Validity("1" + std::string(40, 'a')), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  ExpectFailed(kStartsWithDigit, "CheckTableNameValidity");
}

TEST_F(TableNameTest, RejectsPunctuationAndBlanks) {
  for (const char* name : {"ab-c", "a b", "tab.le", " abc", "abc ", "a\tb", "a%s%n", "a$b", "a/b",
                           "a'b", "a\"b", "a,b", "a;b", "a=b", "-abc", ".abc", "a\nb", "a@b"}) {
    EXPECT_EQ(Validity(name), ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR) << name;
    ExpectFailed(kIllegalChar, "CheckTableNameValidity");
  }
}

TEST_F(TableNameTest, RejectsEveryNonAsciiByte) {
  for (const char* name :
       {"caf\xc3\xa9", "\xe8\xa1\xa8", "a\x80", "a\xff", "\xc3\x89t\xc3\xa9", "abc\x7f"}) {
    EXPECT_EQ(Validity(name), ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR) << name;
    ExpectFailed(kIllegalChar, "CheckTableNameValidity");
  }
}

TEST_F(TableNameTest, AcceptsExactlyTheAsciiNameCharacters) {
  for (int c = 1; c < 256; ++c) {
    const std::string name = std::string("a") + static_cast<char>(c);
    const bool legal =
        (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
    EXPECT_EQ(Validity(name), legal ? CHECK_TABLE_SUCCESS : ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR) << c;
  }
}

TEST_F(TableNameTest, PassesANameOf31Characters) {
  const std::string name(31, 'n');
  EXPECT_EQ(Validity(name), CHECK_TABLE_SUCCESS);
  ExpectPassed(name);
}

TEST_F(TableNameTest, RejectsANameOf32CharactersStating32AsTheMaximum) {
  const std::string name = "t" + std::string(31, '_');
  EXPECT_EQ(Validity(name), ERROR_TABLE_NAME_TOO_LONG);
  EXPECT_EQ(std::string(checker_.GetErrType()),
            "table name 't_______________________________' is too long,maximum 32 chars");
  // The characters passed, so their success line comes first.
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(600, ValidityLine(name), "CheckTableNameValidity"),
                          LogLineIs(300, TooLong(name), "CheckTableNameLength")));
}

TEST_F(TableNameTest, CharacterRulesComeBeforeTheLength) {
  const std::string name = std::string(20, 'a') + "-" + std::string(19, 'b');
  ASSERT_EQ(name.size(), 40u);
  EXPECT_EQ(Validity(name), ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR);
  ExpectFailed(kIllegalChar, "CheckTableNameValidity");
}

TEST_F(TableNameTest, FailureMessagesDoNotNameTheTable) {
  EXPECT_EQ(Validity("9lives"), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(std::string(checker_.GetErrType()).find("lives"), std::string::npos);
  EXPECT_EQ(Validity("bad name"), ERROR_TABLE_NAME_HAS_ILLEGAL_CHAR);
  EXPECT_EQ(std::string(checker_.GetErrType()).find("bad"), std::string::npos);
}

TEST_F(TableNameTest, SuccessLeavesTheBufferAsItWas) {
  EXPECT_EQ(Validity("1abc"), ERROR_TABLE_NAME_STARTWITH_DIGIT);
  EXPECT_EQ(Validity("abc"), CHECK_TABLE_SUCCESS);
  EXPECT_STREQ(checker_.GetErrType(), kStartsWithDigit);
}

TEST_F(TableNameTest, NullHandleGivesTheSameResults) {
  CheckTable checker;
  EXPECT_EQ(checker.CheckTableNameValidity("", nullptr), ERROR_TABLE_NAME_EMPTY);
  EXPECT_STREQ(checker.GetErrType(), kEmpty);
  EXPECT_EQ(checker.CheckTableNameValidity("abc", nullptr), CHECK_TABLE_SUCCESS);
  EXPECT_EQ(checker.CheckTableNameValidity(std::string(32, 'a').c_str(), nullptr),
            ERROR_TABLE_NAME_TOO_LONG);
  EXPECT_EQ(std::string(checker.GetErrType()), TooLong(std::string(32, 'a')));
}

// ---- CheckTableNameLength -----------------------------------------------------------------

TEST_F(TableNameTest, LengthPassesUpTo31Characters) {
  for (size_t length : {1u, 2u, 30u, 31u}) {
    const std::string name(length, 'x');
    EXPECT_EQ(Length(name), CHECK_TABLE_SUCCESS) << length;
    EXPECT_THAT(log_.lines(),
                ElementsAre(LogLineIs(600, LengthLine(name), "CheckTableNameLength")));
  }
}

TEST_F(TableNameTest, LengthRejectsFrom32Characters) {
  for (size_t length : {32u, 33u, 100u}) {
    const std::string name(length, 'x');
    EXPECT_EQ(Length(name), ERROR_TABLE_NAME_TOO_LONG) << length;
    ExpectFailed(TooLong(name), "CheckTableNameLength");
  }
}

TEST_F(TableNameTest, LengthRejectsAnEmptyName) {
  EXPECT_EQ(Length(""), ERROR_TABLE_NAME_EMPTY);
  ExpectFailed(kEmpty, "CheckTableNameLength");
}

TEST_F(TableNameTest, LengthLooksOnlyAtTheLength) {
  EXPECT_EQ(Length("1 -\xc3\xa9"), CHECK_TABLE_SUCCESS);
  EXPECT_THAT(log_.lines(),
              ElementsAre(LogLineIs(600, LengthLine("1 -\xc3\xa9"), "CheckTableNameLength")));
}

TEST_F(TableNameTest, LengthCountsBytesNotCharacters) {
  // 16 two-byte characters are 32 bytes.
  std::string name;
  for (int i = 0; i < 16; ++i) name += "\xc3\xa9";
  EXPECT_EQ(Length(name), ERROR_TABLE_NAME_TOO_LONG);
  std::string shorter;
  for (int i = 0; i < 15; ++i) shorter += "\xc3\xa9";
  EXPECT_EQ(Length(shorter + "a"), CHECK_TABLE_SUCCESS);
}

}  // namespace
