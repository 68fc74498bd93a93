// CheckStr: whether a "Key=Value;..." list holds a word as a whole key or a whole value, judged by
// the first segment that mentions the word.
#include <string>

#include "check_table_probe.h"
#include <velmora/check_table.h>
#include "test_support.h"

namespace {

class CheckStrTest : public ::testing::Test {
 protected:
  bool Holds(const char* src, const char* find_str) {
    return CheckTableProbe::CheckStr(checker_, src, find_str);
  }

  CheckTable checker_;
};

TEST_F(CheckStrTest, WholeKeyIsFound) { EXPECT_TRUE(Holds("ListNum=10", "ListNum")); }

TEST_F(CheckStrTest, WholeValueIsFound) {
  EXPECT_TRUE(Holds("TableType=GENERIC", "GENERIC"));
  EXPECT_TRUE(Holds("TableType=LIST;ListNum=10", "LIST"));
}

TEST_F(CheckStrTest, SegmentWithTwoEqualsSignsIsMalformed) {
  EXPECT_FALSE(Holds("ListNum=10=3", "ListNum"));
}

TEST_F(CheckStrTest, WordInsideALongerKeyIsNotAKey) {
  EXPECT_FALSE(Holds("MyListNum=10", "ListNum"));
}

TEST_F(CheckStrTest, NullArgumentsAreNeverFound) {
  EXPECT_FALSE(Holds(nullptr, "ListNum"));
  EXPECT_FALSE(Holds("ListNum=10", nullptr));
  EXPECT_FALSE(Holds(nullptr, nullptr));
}

TEST_F(CheckStrTest, FirstSegmentMentioningTheWordDecides) {
  EXPECT_FALSE(Holds("TableType=SORTLIST;ListNum=10", "LIST"));
  EXPECT_TRUE(Holds("TableType=SORTLIST;ListNum=10", "SORTLIST"));
  EXPECT_FALSE(Holds("MyListNum=1;ListNum=10", "ListNum"));
}

TEST_F(CheckStrTest, LaterSegmentIsExaminedWhenEarlierOnesDoNotMentionTheWord) {
  EXPECT_TRUE(Holds("TableType=SORTLIST;ListNum=10;SortFieldNum=2", "SortFieldNum"));
}

TEST_F(CheckStrTest, WordIsMatchedWithItsCase) {
  EXPECT_FALSE(Holds("listnum=10", "ListNum"));
  EXPECT_FALSE(Holds("TableType=list", "LIST"));
}

TEST_F(CheckStrTest, AbsentWordIsNotFound) {
  EXPECT_FALSE(Holds("TableType=GENERIC", "LIST"));
  EXPECT_FALSE(Holds("", "LIST"));
}

TEST_F(CheckStrTest, SegmentWithoutEqualsSignIsMalformed) {
  EXPECT_FALSE(Holds("ListNum", "ListNum"));
  EXPECT_FALSE(Holds("ListNum;ListNum=10", "ListNum"));
}

TEST_F(CheckStrTest, KeyWithoutValueOrValueWithoutKeyStillCounts) {
  EXPECT_TRUE(Holds("ListNum=", "ListNum"));
  EXPECT_TRUE(Holds("=LIST", "LIST"));
}

TEST_F(CheckStrTest, ShapesWithoutTheWordAreNeverFound) {
  for (const char* src : {";", "=", ";;", "==", "=;=", "\xe4\xb8\xad=\xff"}) {
    SCOPED_TRACE(src);
    EXPECT_FALSE(Holds(src, "LIST"));
  }
}

TEST_F(CheckStrTest, WordInALongListIsFound) {
  std::string src = "Note=";
  src.append(2980, 'x');
  src += ";ListNum=10";
  EXPECT_TRUE(Holds(src.c_str(), "ListNum"));
  EXPECT_FALSE(Holds(src.c_str(), "SortRule"));
}

}  // namespace
