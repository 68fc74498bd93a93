#include "base/name_table.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace {

struct Named {
  std::string_view name;
  int value;
};

using Table = NameTable<Named>;

TEST(NameTable, FindsNothingInAnEmptyTable) {
  Table table;
  EXPECT_EQ(table.Find("a"), Table::NOT_FOUND);
  EXPECT_EQ(table.size(), 0u);
}

TEST(NameTable, KeepsTheFirstRecordOfAName) {
  Table table;
  EXPECT_EQ(table.Add(Named{"hp", 1}), 0u);
  EXPECT_EQ(table.Add(Named{"mp", 2}), 1u);
  // A second "hp" is not added: its position is the first one's.
  EXPECT_EQ(table.Add(Named{"hp", 3}), 0u);
  EXPECT_EQ(table.size(), 2u);
  EXPECT_EQ(table[table.Find("hp")].value, 1);
  EXPECT_EQ(table[table.Find("mp")].value, 2);
  // Names are compared byte for byte: letter case and a trailing blank count.
  EXPECT_EQ(table.Find("HP"), Table::NOT_FOUND);
  EXPECT_EQ(table.Find("hp "), Table::NOT_FOUND);
  EXPECT_EQ(table.Find(""), Table::NOT_FOUND);
}

TEST(NameTable, AgreesWithAHashMapThroughGrowthAndReserve) {
  std::mt19937 rng(11);
  for (int round = 0; round < 4; ++round) {
    std::vector<std::string> names;
    for (int i = 0; i < 5000; ++i) names.push_back("f" + std::to_string(rng() % 3000));
    Table table;
    if (round % 2 == 1) table.Reserve(names.size());
    std::unordered_map<std::string, size_t> first;
    for (size_t i = 0; i < names.size(); ++i) {
      const size_t added = table.Add(Named{names[i], static_cast<int>(i)});
      const auto inserted = first.emplace(names[i], first.size());
      ASSERT_EQ(added, inserted.first->second) << names[i];
    }
    ASSERT_EQ(table.size(), first.size());
    for (const auto& name : first) {
      ASSERT_EQ(table.Find(name.first), name.second);
      EXPECT_EQ(table[name.second].name, name.first);
    }
    EXPECT_EQ(table.Find("f3000"), Table::NOT_FOUND);
  }
}

}  // namespace
