// The display charset of a table's strings: "stringdisplaycharset=utf8" or "=gbk", matched with
// its case, with the value cut one character short when a ";" follows it.
#include <cstring>
#include <string>

#include "check_table_probe.h"
#include <velmora/check_table.h>
#include "test_support.h"

namespace {

using ::testing::ElementsAre;

const char* const kCheck = "CheckStringDisplayCharset";

class DisplayCharsetTest : public ::testing::Test {
 protected:
  int Check(const char* str) {
    return CheckTableProbe::CheckStringDisplayCharset(checker_, str, log_.handle());
  }
  int Check(const std::string& str) { return Check(str.c_str()); }

  // Rejected: -1, the message names everything from the key to the end of the string, and the
  // log holds the info line of the string followed by the error line.
  void ExpectRejected(const std::string& str, const std::string& tail) {
    EXPECT_EQ(Check(str), CHECK_TABLE_ERROR_INVALID_PARAMETER);
    const std::string message = "error stringdisplaycharset: " + tail;
    EXPECT_EQ(std::string(checker_.GetErrType()), message);
    EXPECT_THAT(log_.lines(),
                ElementsAre(LogLineIs(WLOG_PRIORITY_INFO, "CheckStringDisplayCharset: " + str,
                                      kCheck),
                            LogLineIs(WLOG_PRIORITY_ERROR, message, kCheck)));
  }
  // Accepted: 0, the buffer untouched, only the info line logged.
  void ExpectAccepted(const std::string& str) {
    EXPECT_EQ(Check(str), CHECK_TABLE_SUCCESS);
    EXPECT_STREQ(checker_.GetErrType(), "");
    EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_INFO,
                                                    "CheckStringDisplayCharset: " + str, kCheck)));
  }

  CheckTable checker_;
  LogCapture log_;
};

TEST_F(DisplayCharsetTest, GbkInTheLastSegmentIsAccepted) {
  ExpectAccepted("TableType=GENERIC;stringdisplaycharset=gbk");
}

TEST_F(DisplayCharsetTest, Utf8AloneIsAccepted) { ExpectAccepted("stringdisplaycharset=utf8"); }

TEST_F(DisplayCharsetTest, Utf8FollowedBySemicolonIsCutShortAndRejected) {
  ExpectRejected("stringdisplaycharset=utf8;TableType=GENERIC",
                 "stringdisplaycharset=utf8;TableType=GENERIC");
}

TEST_F(DisplayCharsetTest, OneExtraCharacterBeforeTheSemicolonIsCutAway) {
  ExpectAccepted("stringdisplaycharset=utf8x;TableType=GENERIC");
  log_.Clear();
  ExpectAccepted("stringdisplaycharset=gbk!;TableType=GENERIC");
}

TEST_F(DisplayCharsetTest, ValueIsComparedWithItsCase) {
  ExpectRejected("stringdisplaycharset=UTF8", "stringdisplaycharset=UTF8");
}

TEST_F(DisplayCharsetTest, NothingAfterTheEqualsSignIsRejected) {
  ExpectRejected("stringdisplaycharset=", "stringdisplaycharset=");
}

TEST_F(DisplayCharsetTest, SemicolonRightAfterTheEqualsSignTakesTheWholeRest) {
  ExpectRejected("TableType=LIST;stringdisplaycharset=;gbk", "stringdisplaycharset=;gbk");
}

TEST_F(DisplayCharsetTest, KeyWithoutEqualsSignIsRejected) {
  ExpectRejected("TableType=LIST;stringdisplaycharset", "stringdisplaycharset");
  log_.Clear();
  ExpectRejected("stringdisplaycharsetutf8", "stringdisplaycharsetutf8");
}

TEST_F(DisplayCharsetTest, KeyInAnotherLetterCaseIsNotSeen) {
  ExpectAccepted("StringDisplayCharset=xyz");
}

TEST_F(DisplayCharsetTest, OnlyTheFirstOccurrenceOfTheKeyIsExamined) {
  ExpectRejected("stringdisplaycharset=xyz;stringdisplaycharset=utf8",
                 "stringdisplaycharset=xyz;stringdisplaycharset=utf8");
}

TEST_F(DisplayCharsetTest, LaterOccurrenceOfTheKeyIsNotExamined) {
  ExpectAccepted("stringdisplaycharset=utf8x;stringdisplaycharset=bad");
}

TEST_F(DisplayCharsetTest, KeyInsideALongerKeyIsStillFound) {
  ExpectAccepted("mystringdisplaycharset=gbk");
  log_.Clear();
  ExpectRejected("mystringdisplaycharset=big5", "stringdisplaycharset=big5");
}

TEST_F(DisplayCharsetTest, SecondEqualsSignBelongsToTheValue) {
  ExpectRejected("stringdisplaycharset==utf8", "stringdisplaycharset==utf8");
}

TEST_F(DisplayCharsetTest, FirstEqualsSignAfterTheKeyStartsTheValueWhereverItIs) {
  ExpectAccepted("stringdisplaycharset;x=gbk");
}

TEST_F(DisplayCharsetTest, StringsWithoutTheKeyAreAcceptedWhateverTheirShape) {
  for (const char* str : {"", ";", "=", ";;", "==", "stringdisplay", "\xe4\xb8\xad\xff"}) {
    SCOPED_TRACE(str);
    log_.Clear();
    ExpectAccepted(str);
  }
}

TEST_F(DisplayCharsetTest, NonAsciiValueIsRejected) {
  ExpectRejected("stringdisplaycharset=\xe4\xb8\xad\xe6\x96\x87",
                 "stringdisplaycharset=\xe4\xb8\xad\xe6\x96\x87");
}

TEST_F(DisplayCharsetTest, PercentSignsInTheValueAreCopiedVerbatim) {
  ExpectRejected("stringdisplaycharset=%s%n%%", "stringdisplaycharset=%s%n%%");
}

TEST_F(DisplayCharsetTest, LongValueIsCutTo1023BytesInTheMessage) {
  std::string str = "stringdisplaycharset=";
  str.append(3000 - str.size(), 'u');
  EXPECT_EQ(Check(str), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  const std::string message = ("error stringdisplaycharset: " + str).substr(0, 1023);
  EXPECT_EQ(std::string(checker_.GetErrType()), message);
  EXPECT_EQ(std::strlen(checker_.GetErrType()), 1023u);
  EXPECT_THAT(log_.lines().back(), LogLineIs(WLOG_PRIORITY_ERROR, message, kCheck));
}

TEST_F(DisplayCharsetTest, NullStringIsAbsentAndLoggedAsNull) {
  EXPECT_EQ(Check(nullptr), CHECK_TABLE_SUCCESS);
  EXPECT_THAT(log_.lines(), ElementsAre(LogLineIs(WLOG_PRIORITY_INFO,
                                                  "CheckStringDisplayCharset: (null)", kCheck)));
}

TEST_F(DisplayCharsetTest, NullLogHandleStillFillsTheBuffer) {
  EXPECT_EQ(CheckTableProbe::CheckStringDisplayCharset(checker_, "stringdisplaycharset=big5",
                                                       nullptr),
            CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_STREQ(checker_.GetErrType(), "error stringdisplaycharset: stringdisplaycharset=big5");
  EXPECT_TRUE(log_.lines().empty());
}

TEST_F(DisplayCharsetTest, AcceptedValueLeavesAnEarlierMessageInTheBuffer) {
  EXPECT_EQ(Check("stringdisplaycharset=x"), CHECK_TABLE_ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Check("stringdisplaycharset=gbk"), CHECK_TABLE_SUCCESS);
  EXPECT_STREQ(checker_.GetErrType(), "error stringdisplaycharset: stringdisplaycharset=x");
}

}  // namespace
