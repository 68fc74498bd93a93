// Long names in the text report: a name of more than 64 bytes that a finding quotes is shown as
// its first 48 bytes, "..." and its length; everything else stays as the checker wrote it.
#include "cli/short_names.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const std::string kLong(100, 'n');
const std::string kShown = std::string(48, 'n') + "...(100 bytes)";

TEST(ShortNames, LongNameQuotedInAFindingIsShortenedWithItsLength) {
  EXPECT_EQ(ShortenLongNames("field name[" + kLong + "] has illegal character.", "t", {kLong}),
            "field name[" + kShown + "] has illegal character.");
  EXPECT_EQ(ShortenLongNames("a: 'x', '" + kLong + "' " + kLong + "\n    " + kLong, "t", {kLong}),
            "a: 'x', '" + kShown + "' " + kShown + "\n    " + kShown);
}

TEST(ShortNames, NamesOf64BytesAndOtherLongTextStayWhole) {
  const std::string name64(64, 'n');
  EXPECT_EQ(ShortenLongNames("table:'" + name64 + "'", "t", {name64}), "table:'" + name64 + "'");
  // Long text that is no name of the schema (an attribute value, say) is the checker's own.
  const std::string value(200, 'v');
  EXPECT_EQ(ShortenLongNames("custom_str:" + value + " [X]", "t", {kLong}),
            "custom_str:" + value + " [X]");
  // A longer text that holds a name is not that name.
  EXPECT_EQ(ShortenLongNames(kLong + "x", "t", {kLong}), kLong + "x");
}

TEST(ShortNames, TableNameCutWithItsMessageIsShownWithTheWholeLength) {
  const std::string table(10000, 'a');
  const std::string cut = "table name '" + table.substr(0, 1011);
  const std::string shown = "table name '" + std::string(48, 'a') + "...(10000 bytes)";
  EXPECT_EQ(ShortenLongNames(cut + " [ERROR_TABLE_NAME_TOO_LONG]\n", table, {table}),
            shown + " [ERROR_TABLE_NAME_TOO_LONG]\n");
  EXPECT_EQ(ShortenLongNames(cut, table, {table}), shown);
  // The table's name is a long name whether or not the schema has it.
  EXPECT_EQ(ShortenLongNames("x " + table + " y", table, {}),
            "x " + std::string(48, 'a') + "...(10000 bytes) y");
  // The same prefix inside a line is no cut name: it is shown as it stands.
  EXPECT_EQ(ShortenLongNames(cut + "' is", table, {table}), cut + "' is");
}

TEST(ShortNames, ShortenedNameIsCutAtACharacterBoundary) {
  std::string name = std::string(47, 'n');
  for (int i = 0; i < 10; ++i) name += "\xe4\xb8\xad";  // 中
  EXPECT_EQ(ShortenLongNames(name, "t", {name}), std::string(47, 'n') + "...(77 bytes)");
}

}  // namespace
