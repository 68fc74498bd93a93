#include "schema/zem_xml_suggest.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const char* const KNOWN[] = {"name", "version", "primarykey", "splittablekey", "customattr2",
                             "column"};
constexpr size_t KNOWN_COUNT = sizeof(KNOWN) / sizeof(KNOWN[0]);

std::string Closest(const std::string& name) {
  const char* closest = ClosestKnownName(name, KNOWN, KNOWN_COUNT);
  return closest != nullptr ? closest : "(none)";
}

TEST(ClosestKnownName, LetterCaseAloneFindsTheName) {
  EXPECT_EQ(Closest("primaryKey"), "primarykey");
  EXPECT_EQ(Closest("PRIMARYKEY"), "primarykey");
  EXPECT_EQ(Closest("Name"), "name");
}

TEST(ClosestKnownName, OneOrTwoEditsFindTheName) {
  EXPECT_EQ(Closest("customattr"), "customattr2");
  EXPECT_EQ(Closest("colum"), "column");
  EXPECT_EQ(Closest("columns"), "column");
  EXPECT_EQ(Closest("primarykye"), "primarykey");  // two letters swapped count as one edit
  EXPECT_EQ(Closest("splitablekey"), "splittablekey");
  EXPECT_EQ(Closest("primary_key"), "primarykey");
  EXPECT_EQ(Closest("vresion"), "version");
}

TEST(ClosestKnownName, FarOrShortNamesFindNothing) {
  EXPECT_EQ(Closest("nam"), "name");
  EXPECT_EQ(Closest("na"), "(none)");  // two edits are half of "name"
  EXPECT_EQ(Closest("colu"), "(none)");  // two edits are a third of "column"
  EXPECT_EQ(Closest("desc"), "(none)");
  EXPECT_EQ(Closest("primkey"), "(none)");
  EXPECT_EQ(Closest(""), "(none)");
  EXPECT_EQ(Closest(std::string(100000, 'x')), "(none)");
}

TEST(ClosestKnownName, TheNearestNameWinsAndTiesGoToTheEarlier) {
  const char* const known[] = {"index", "indexes"};
  EXPECT_STREQ(ClosestKnownName("indexe", known, 2), "index");
  EXPECT_STREQ(ClosestKnownName("indexs", known, 2), "index");
  EXPECT_STREQ(ClosestKnownName("indexess", known, 2), "indexes");
}

TEST(ClosestKnownName, AnyBytesAreCompared) {
  EXPECT_EQ(Closest("na%e"), "name");
  EXPECT_EQ(Closest(std::string("na\0e", 4)), "name");
  EXPECT_EQ(Closest("colu\xff\xfe"), "(none)");
  EXPECT_EQ(Closest("colum\xff"), "column");
}

TEST(DidYouMean, SaysTheNameOrNothing) {
  EXPECT_EQ(DidYouMean("colum", KNOWN, KNOWN_COUNT), "; did you mean 'column'?");
  EXPECT_EQ(DidYouMean("author", KNOWN, KNOWN_COUNT), "");
  EXPECT_EQ(DidYouMean("x", KNOWN, 0), "");
}

}  // namespace
