#include "base/name_table.h"
#include "base/name_hash.h"

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

TEST(NameTable, SpreadsNamesThatAnUnkeyedHashCrowdsTogether) {
  // Names whose library hash agrees in its low 8 bits would all start their probes in one slot
  // of 256; the keyed hash gives them slots as any names get.
  std::vector<std::string> crowded;
  for (int i = 0; crowded.size() < 2000; ++i) {
    std::string name = "f" + std::to_string(i);
    if ((std::hash<std::string_view>()(name) & 0xFF) == 0) crowded.push_back(std::move(name));
  }
  std::vector<bool> slots(256, false);
  size_t used = 0;
  for (const std::string& name : crowded) {
    const size_t slot = KeyedNameHash()(name) & 0xFF;
    used += slots[slot] ? 0 : 1;
    slots[slot] = true;
  }
  EXPECT_GT(used, 200u);
  // The same name always gets the same hash within a process.
  EXPECT_EQ(KeyedNameHash()("hp"), KeyedNameHash()(std::string("hp")));
  EXPECT_NE(KeyedNameHash()("hp"), KeyedNameHash()(std::string_view("hp\0", 3)));
}

TEST(NameIndex, FindsPositionsInNamesItDoesNotHold) {
  // The names live in the caller's vector, which moves as it grows: each call is told where.
  std::vector<std::string> names;
  NameIndex<> index;
  const auto name_of = [&names](size_t position) { return std::string_view(names[position]); };
  std::mt19937 rng(5);
  std::unordered_map<std::string, size_t> first;
  for (size_t i = 0; i < 3000; ++i) {
    names.push_back("e" + std::to_string(rng() % 1000));
    const size_t added = index.Add(i, name_of);
    const auto inserted = first.emplace(names[i], i);
    ASSERT_EQ(added, inserted.first->second) << names[i];
  }
  EXPECT_EQ(index.size(), first.size());
  for (const auto& name : first) EXPECT_EQ(index.Find(name.first, name_of), name.second);
  EXPECT_EQ(index.Find("e1000", name_of), NameIndex<>::NOT_FOUND);
  EXPECT_EQ(NameIndex<>().Find("e1", name_of), NameIndex<>::NOT_FOUND);
}

TEST(NameIndex, KeepsTheFirstPositionAfterGrowingFromAReserve) {
  const std::vector<std::string_view> names = {"hp", "mp", "hp", "sp", "mp", "xp"};
  const auto name_of = [&names](size_t position) { return names[position]; };
  for (const size_t reserved : {size_t{0}, size_t{2}, names.size()}) {
    NameIndex<> index;
    index.Reserve(reserved, name_of);
    const std::vector<size_t> expected = {0, 1, 0, 3, 1, 5};
    for (size_t i = 0; i < names.size(); ++i) EXPECT_EQ(index.Add(i, name_of), expected[i]);
    EXPECT_EQ(index.size(), 4u);
    EXPECT_EQ(index.Find("sp", name_of), 3u);
    EXPECT_EQ(index.Find("SP", name_of), NameIndex<>::NOT_FOUND);
  }
}

}  // namespace
