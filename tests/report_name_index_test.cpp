// The "already listed" test of the count/refer reports: the index answers exactly what a search of
// the whole report for "name " answers, for names that end other names or heading words, names
// holding blanks, the empty name, and reports the caller filled before.
#include "common/report_name_index.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

bool Searched(const std::string& report, const std::string& name) {
  return report.find(name + " ") != std::string::npos;
}

TEST(ReportNameIndex, FindsNamesInTheHeadingAndAtTheEndOfListedNames) {
  ReportNameIndex index;
  for (const char* name : {"entry", "ry", "xa", "a", "b", "refer'"}) index.AddName(name);
  std::string report = "these entry have 'count' without 'refer' : ";
  EXPECT_TRUE(index.Listed(report, "entry"));
  EXPECT_TRUE(index.Listed(report, "ry"));
  EXPECT_TRUE(index.Listed(report, "refer'"));
  EXPECT_FALSE(index.Listed(report, "xa"));
  report += "xa ";
  EXPECT_TRUE(index.Listed(report, "xa"));
  EXPECT_TRUE(index.Listed(report, "a"));
  EXPECT_FALSE(index.Listed(report, "b"));
}

TEST(ReportNameIndex, NamesWithBlanksMatchAcrossListedNames) {
  ReportNameIndex index;
  for (const char* name : {"a b", "b a", "x a b", " ", "", "b  "}) index.AddName(name);
  std::string report = "h ";
  EXPECT_FALSE(index.Listed(report, "a b"));
  EXPECT_TRUE(index.Listed(report, ""));
  EXPECT_FALSE(index.Listed(report, " "));
  report += "a b ";
  EXPECT_TRUE(index.Listed(report, "a b"));
  EXPECT_FALSE(index.Listed(report, "b a"));
  report += "a ";
  EXPECT_TRUE(index.Listed(report, "b a"));
  EXPECT_FALSE(index.Listed(report, "x a b"));
  EXPECT_FALSE(index.Listed(report, " "));
  report += "  ";
  EXPECT_TRUE(index.Listed(report, " "));
  EXPECT_FALSE(index.Listed(report, "b  "));
}

TEST(ReportNameIndex, NameNotAddedIsSearchedFor) {
  ReportNameIndex index;
  index.AddName("abc");
  const std::string report = "h abc bc ";
  EXPECT_TRUE(index.Listed(report, "abc"));
  EXPECT_TRUE(index.Listed(report, "bc"));
  EXPECT_FALSE(index.Listed(report, "ab"));
  index.AddName("ab");  // too late to be indexed, still answered
  EXPECT_FALSE(index.Listed(report, "ab"));
  EXPECT_TRUE(index.Listed(report + "ab ", "ab"));
}

TEST(ReportNameIndex, ShorterReportIsReadAgain) {
  ReportNameIndex index;
  index.AddName("a");
  EXPECT_TRUE(index.Listed("x a ", "a"));
  EXPECT_FALSE(index.Listed("x ", "a"));
  EXPECT_TRUE(index.Listed("x b a ", "a"));
}

TEST(ReportNameIndex, NulBytesInTheReportAreTextLikeAnyOther) {
  ReportNameIndex index;
  index.AddName("a");
  std::string report("h\0a", 3);
  EXPECT_FALSE(index.Listed(report, "a"));
  report += " ";
  EXPECT_TRUE(index.Listed(report, "a"));
}

// Reports grown as the checks grow them, from random names over a small alphabet, so that names
// end one another, hold blanks and meet across listed names; each answer is compared with the
// search, and the name is listed when it was not there.
TEST(ReportNameIndex, AnswersAsTheSearchOnRandomReports) {
  std::mt19937 rng(20240611);
  const char alphabet[] = {'a', 'b', ' ', '\''};
  int listed = 0;
  int skipped = 0;
  for (int round = 0; round < 300; ++round) {
    std::vector<std::string> names(1 + rng() % 40);
    for (std::string& name : names) {
      const size_t length = rng() % 6;
      for (size_t i = 0; i < length; ++i) name += alphabet[rng() % sizeof(alphabet)];
    }
    ReportNameIndex index;
    for (const std::string& name : names) index.AddName(name);
    std::string report;
    if (rng() % 3 == 0) report = std::string(rng() % 2 ? "b'a" : "a b 'ab ");
    for (int step = 0; step < 60; ++step) {
      const std::string& name = names[rng() % names.size()];
      if (report.empty() && rng() % 2 == 0) report = "these a'b : ";
      const bool expected = Searched(report, name);
      ASSERT_EQ(index.Listed(report, name), expected)
          << "round " << round << " report '" << report << "' name '" << name << "'";
      if (expected) {
        ++skipped;
      } else {
        ++listed;
        report += name + " ";
      }
    }
  }
  // Both answers were given many times.
  EXPECT_GT(listed, 1000);
  EXPECT_GT(skipped, 1000);
}

}  // namespace
