// String and version helpers of the common library: splitting attribute strings, comparing dotted
// versions, removing white space, reading "Key=Value" segments, and case-blind search.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include <velmora/string_helpers.h>

namespace {

using ::testing::ElementsAre;

// ---- SplitString --------------------------------------------------------------------------

TEST(SplitString, GivesThePiecesInOrder) {
  std::vector<std::string> out;
  SplitString("TableType=LIST;ListNum=10", ";", out);
  EXPECT_THAT(out, ElementsAre("TableType=LIST", "ListNum=10"));
  SplitString("ListNum=10", "=", out);
  EXPECT_THAT(out, ElementsAre("ListNum", "10"));
}

TEST(SplitString, KeepsEmptyPieces) {
  std::vector<std::string> out;
  SplitString("a;;b", ";", out);
  EXPECT_THAT(out, ElementsAre("a", "", "b"));
  SplitString("a;", ";", out);
  EXPECT_THAT(out, ElementsAre("a", ""));
  SplitString(";a", ";", out);
  EXPECT_THAT(out, ElementsAre("", "a"));
  SplitString(";", ";", out);
  EXPECT_THAT(out, ElementsAre("", ""));
}

TEST(SplitString, EmptySourceGivesOneEmptyPiece) {
  std::vector<std::string> out;
  SplitString("", ";", out);
  EXPECT_THAT(out, ElementsAre(""));
}

TEST(SplitString, SourceWithoutDelimiterIsOnePiece) {
  std::vector<std::string> out;
  SplitString("ListNum=10=3", ";", out);
  EXPECT_THAT(out, ElementsAre("ListNum=10=3"));
  SplitString("ListNum=10=3", "=", out);
  EXPECT_THAT(out, ElementsAre("ListNum", "10", "3"));
}

TEST(SplitString, ClearsTheOutputFirst) {
  std::vector<std::string> out = {"old", "pieces"};
  SplitString("x,y", ",", out);
  EXPECT_THAT(out, ElementsAre("x", "y"));
}

TEST(SplitString, DelimiterOfSeveralCharacters) {
  std::vector<std::string> out;
  SplitString("a::b:c::", "::", out);
  EXPECT_THAT(out, ElementsAre("a", "b:c", ""));
}

TEST(SplitString, EmptyDelimiterGivesTheSourceAsOnePiece) {
  std::vector<std::string> out;
  SplitString("a;b", "", out);
  EXPECT_THAT(out, ElementsAre("a;b"));
}

// ---- RealCmpVersion -----------------------------------------------------------------------

TEST(RealCmpVersion, EqualVersionsCompareAsZero) {
  EXPECT_EQ(RealCmpVersion("3.37.0", "3.37.0", false), 0);
  EXPECT_EQ(RealCmpVersion("3.40.0.193253", "3.40.0.193253", true), 0);
}

TEST(RealCmpVersion, AVersionEqualToTheGateIsNotBelowIt) {
  EXPECT_GE(RealCmpVersion("3.37.0", "3.37.0", false), 0);
  EXPECT_GE(RealCmpVersion("3.29.0", "3.29.0", false), 0);
  EXPECT_GE(RealCmpVersion("3.39.0", "3.39.0", false), 0);
}

TEST(RealCmpVersion, ComparesPartsAsNumbersLeftToRight) {
  EXPECT_EQ(RealCmpVersion("3.36.9", "3.37.0", false), -1);
  EXPECT_EQ(RealCmpVersion("3.37.1", "3.37.0", false), 1);
  EXPECT_EQ(RealCmpVersion("3.100.0", "3.37.0", false), 1);  // not text order
  EXPECT_EQ(RealCmpVersion("3.9.0", "3.37.0", false), -1);
  EXPECT_EQ(RealCmpVersion("4.0.0", "3.99.99", false), 1);
  EXPECT_EQ(RealCmpVersion("2.99.99", "3.0.0", false), -1);
  EXPECT_EQ(RealCmpVersion("03.037.000", "3.37.0", false), 0);
}

TEST(RealCmpVersion, ReturnsOnlyMinusOneZeroOrOne) {
  EXPECT_EQ(RealCmpVersion("1.0.0", "100.0.0", false), -1);
  EXPECT_EQ(RealCmpVersion("100.0.0", "1.0.0", false), 1);
}

TEST(RealCmpVersion, FourPartVersions) {
  EXPECT_EQ(RealCmpVersion("3.40.0.193253", "3.40.0.193000", true), 1);
  EXPECT_EQ(RealCmpVersion("3.40.0.192999", "3.40.0.193000", true), -1);
  EXPECT_EQ(RealCmpVersion("3.40.1.0", "3.40.0.193253", true), 1);
  EXPECT_EQ(RealCmpVersion("3.39.9.999999", "3.40.0.193000", true), -1);
}

TEST(RealCmpVersion, FlagDoesNotChangeTheComparison) {
  EXPECT_EQ(RealCmpVersion("3.40.0.193253", "3.40.0.193000", false), 1);
  EXPECT_EQ(RealCmpVersion("3.36.0", "3.37.0", true), -1);
  EXPECT_EQ(RealCmpVersion("3.37.0", "3.37.0", true), 0);
}

TEST(RealCmpVersion, MissingPartsCountAsZero) {
  EXPECT_EQ(RealCmpVersion("3.37", "3.37.0", false), 0);
  EXPECT_EQ(RealCmpVersion("3.37.0", "3.37.0.0", true), 0);
  EXPECT_EQ(RealCmpVersion("3.37.0", "3.37.0.1", true), -1);
  EXPECT_EQ(RealCmpVersion("3.37.0.1", "3.37.0", true), 1);
  EXPECT_EQ(RealCmpVersion("3", "3.37.0", false), -1);
}

TEST(RealCmpVersion, EmptyVersionComparesAsZeroZeroZero) {
  EXPECT_EQ(RealCmpVersion("", "3.37.0", false), -1);
  EXPECT_EQ(RealCmpVersion("", "0.0.0", false), 0);
  EXPECT_EQ(RealCmpVersion("", "", false), 0);
  EXPECT_EQ(RealCmpVersion("3.37.0", "", false), 1);
}

TEST(RealCmpVersion, MalformedVersionComparesAsZeroZeroZero) {
  EXPECT_EQ(RealCmpVersion("none", "3.37.0", false), -1);
  EXPECT_EQ(RealCmpVersion("None", "0.0.0", false), 0);
  EXPECT_EQ(RealCmpVersion("abc.def", "0.0.0", false), 0);
  EXPECT_EQ(RealCmpVersion("v3.37.0", "0.37.0", false), 0);  // "v3" has no leading digit
  EXPECT_EQ(RealCmpVersion("..", "0.0.0", false), 0);
  EXPECT_EQ(RealCmpVersion("-1.0.0", "0.0.0", false), 0);
}

TEST(RealCmpVersion, APartsNumberIsItsLeadingDigits) {
  EXPECT_EQ(RealCmpVersion("3.37rc1.0", "3.37.0", false), 0);
  EXPECT_EQ(RealCmpVersion("3.37.0-beta", "3.37.0", false), 0);
  EXPECT_EQ(RealCmpVersion("3.38x.0", "3.37.0", false), 1);
  EXPECT_EQ(RealCmpVersion("3. 37.0", "3.0.0", false), 0);  // a blank is no digit
}

TEST(RealCmpVersion, APartAboveTheLargestIntCountsAsTheLargestInt) {
  EXPECT_EQ(RealCmpVersion("3.2147483648.0", "3.2147483647.0", false), 0);
  EXPECT_EQ(RealCmpVersion("3.99999999999999999999999.0", "3.2147483647.0", false), 0);
  EXPECT_EQ(RealCmpVersion("3.2147483646.0", "3.99999999999.0", false), -1);
  EXPECT_EQ(RealCmpVersion("99999999999999999999", "3.37.0", false), 1);
}

TEST(RealCmpVersion, NullArgumentsCompareAsEmpty) {
  EXPECT_EQ(RealCmpVersion(nullptr, "3.37.0", false), -1);
  EXPECT_EQ(RealCmpVersion("3.37.0", nullptr, false), 1);
  EXPECT_EQ(RealCmpVersion(nullptr, nullptr, false), 0);
  EXPECT_EQ(RealCmpVersion(nullptr, "", false), 0);
}

// ---- StringRemoveSpaces -------------------------------------------------------------------

TEST(StringRemoveSpaces, RemovesEveryAsciiWhiteSpace) {
  std::string out;
  StringRemoveSpaces(" Table Type = LIST ;\tListNum=\r\n10\v;\fSortRule = DESC ", out);
  EXPECT_EQ(out, "TableType=LIST;ListNum=10;SortRule=DESC");
}

TEST(StringRemoveSpaces, KeepsOtherBytes) {
  std::string out;
  StringRemoveSpaces(
      "a\xc2\xa0"
      "b_c-d",
      out);  // a non-breaking space is not ASCII white space
  EXPECT_EQ(out,
            "a\xc2\xa0"
            "b_c-d");
}

TEST(StringRemoveSpaces, ReplacesWhatTheOutputHeld) {
  std::string out = "previous";
  StringRemoveSpaces("", out);
  EXPECT_EQ(out, "");
  out = "previous";
  StringRemoveSpaces(" \t\r\n ", out);
  EXPECT_EQ(out, "");
}

// ---- GetAssignStrFromSourStr --------------------------------------------------------------

const char* CaseSensitiveSearch(const char* haystack, const char* needle) {
  return std::strstr(haystack, needle);
}

TEST(GetAssignStrFromSourStr, ValueRunsToTheNextDelimiter) {
  const char* src = "TableType=LIST;ListNum=10;SortRule=DESC";
  std::string value;
  const char* found = GetAssignStrFromSourStr(src, ";", "ListNum=", value, CaseSensitiveSearch);
  EXPECT_EQ(found, src + 15);
  EXPECT_EQ(value, "10");
}

TEST(GetAssignStrFromSourStr, ValueRunsToTheEndOfTheLastSegment) {
  const char* src = "TableType=LIST;SortRule=DESC";
  std::string value;
  const char* found = GetAssignStrFromSourStr(src, ";", "SortRule=", value, CaseSensitiveSearch);
  EXPECT_EQ(found, src + 15);
  EXPECT_EQ(value, "DESC");
}

TEST(GetAssignStrFromSourStr, EmptyValue) {
  std::string value = "stale";
  const char* src = "ListNum=;TableType=LIST";
  EXPECT_EQ(GetAssignStrFromSourStr(src, ";", "ListNum=", value, CaseSensitiveSearch), src);
  EXPECT_EQ(value, "");
  value = "stale";
  const char* tail = "TableType=LIST;ListNum=";
  EXPECT_EQ(GetAssignStrFromSourStr(tail, ";", "ListNum=", value, CaseSensitiveSearch), tail + 15);
  EXPECT_EQ(value, "");
}

TEST(GetAssignStrFromSourStr, AbsentKeyGivesNullAndClearsTheValue) {
  std::string value = "stale";
  EXPECT_EQ(GetAssignStrFromSourStr("TableType=LIST", ";", "ListNum=", value, CaseSensitiveSearch),
            nullptr);
  EXPECT_EQ(value, "");
}

TEST(GetAssignStrFromSourStr, TheSearchFunctionDecidesCase) {
  const char* src = "dataprotocoltype=PB;TableType=LIST";
  std::string value;
  EXPECT_EQ(GetAssignStrFromSourStr(src, ";", "DataProtocolType=", value, CaseSensitiveSearch),
            nullptr);
  EXPECT_EQ(GetAssignStrFromSourStr(src, ";", "DataProtocolType=", value, strstri), src);
  EXPECT_EQ(value, "PB");
}

TEST(GetAssignStrFromSourStr, FirstOccurrenceWinsEvenInsideALongerKey) {
  const char* src = "MyListNum=5;ListNum=10";
  std::string value;
  EXPECT_EQ(GetAssignStrFromSourStr(src, ";", "ListNum=", value, CaseSensitiveSearch), src + 2);
  EXPECT_EQ(value, "5");
}

TEST(GetAssignStrFromSourStr, NullArgumentsGiveNull) {
  std::string value = "stale";
  EXPECT_EQ(GetAssignStrFromSourStr(nullptr, ";", "ListNum=", value, CaseSensitiveSearch), nullptr);
  EXPECT_EQ(value, "");
  EXPECT_EQ(GetAssignStrFromSourStr("ListNum=1", nullptr, "ListNum=", value, CaseSensitiveSearch),
            nullptr);
  EXPECT_EQ(GetAssignStrFromSourStr("ListNum=1", ";", nullptr, value, CaseSensitiveSearch),
            nullptr);
  EXPECT_EQ(GetAssignStrFromSourStr("ListNum=1", ";", "ListNum=", value, nullptr), nullptr);
}

// ---- IsDigit ------------------------------------------------------------------------------

TEST(IsDigit, TrueOnlyForANonEmptyStringOfDecimalDigits) {
  EXPECT_TRUE(IsDigit("0"));
  EXPECT_TRUE(IsDigit("10"));
  EXPECT_TRUE(IsDigit("0123456789"));
  EXPECT_TRUE(IsDigit("99999999999999999999"));
  EXPECT_FALSE(IsDigit(""));
  EXPECT_FALSE(IsDigit(nullptr));
  EXPECT_FALSE(IsDigit("-1"));
  EXPECT_FALSE(IsDigit("+1"));
  EXPECT_FALSE(IsDigit("1.5"));
  EXPECT_FALSE(IsDigit(" 1"));
  EXPECT_FALSE(IsDigit("1 "));
  EXPECT_FALSE(IsDigit("0x10"));
  EXPECT_FALSE(IsDigit("MAX_LIST"));
  EXPECT_FALSE(IsDigit("12a"));
}

// ---- strstri ------------------------------------------------------------------------------

TEST(Strstri, FindsTheFirstOccurrenceIgnoringCase) {
  const char* haystack = "TableType=LIST;DATAPROTOCOLTYPE=PB;dataprotocoltype=ZEM";
  EXPECT_EQ(strstri(haystack, "DataProtocolType="), haystack + 15);
  EXPECT_EQ(strstri(haystack, "list"), haystack + 10);
  EXPECT_EQ(strstri(haystack, "TABLETYPE"), haystack);
  const char* abc = "abc";
  EXPECT_EQ(strstri(abc, "ABC"), abc);
}

TEST(Strstri, AnswersNullWhenAbsent) {
  EXPECT_EQ(strstri("TableType=LIST", "SortRule"), nullptr);
  EXPECT_EQ(strstri("abc", "abcd"), nullptr);
  EXPECT_EQ(strstri("", "a"), nullptr);
}

TEST(Strstri, EmptyNeedleIsFoundAtTheStart) {
  const char* haystack = "abc";
  EXPECT_EQ(strstri(haystack, ""), haystack);
  const char* empty = "";
  EXPECT_EQ(strstri(empty, ""), empty);
}

TEST(Strstri, IgnoresOnlyAsciiLetterCase) {
  const char* a_b = "A_B";
  EXPECT_EQ(strstri(a_b, "a_b"), a_b);
  EXPECT_EQ(strstri("a[b", "A{B"),
            nullptr);  // '[' and '{' differ by the case bit but are no letters
  EXPECT_EQ(strstri("\xc3\x89", "\xc3\xa9"), nullptr);  // non-ASCII letters keep their case
}

TEST(Strstri, PartialMatchesRestartOneCharacterLater) {
  const char* haystack = "aaab";
  EXPECT_EQ(strstri(haystack, "AAB"), haystack + 1);
  const char* overlap = "abababc";
  EXPECT_EQ(strstri(overlap, "ABABC"), overlap + 2);
}

TEST(Strstri, NullArgumentsGiveNull) {
  EXPECT_EQ(strstri(nullptr, "a"), nullptr);
  EXPECT_EQ(strstri("a", nullptr), nullptr);
  EXPECT_EQ(strstri(nullptr, nullptr), nullptr);
}

}  // namespace
