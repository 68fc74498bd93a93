#include "cli/tree_memory.h"

#include <gtest/gtest.h>

#include <pugixml.hpp>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "base/huge_pages.h"
#include "vm_flags.h"

namespace {

TEST(TreeMemory, GivesAlignedMemoryAndGivesBlocksBackOnceEmpty) {
  const size_t before = MappedTreeBlocks();
  // Three blocks' worth of pages the size the parser takes.
  std::vector<void*> pages;
  for (size_t i = 0; i < 3 * TREE_BLOCK_BYTES / 32768; ++i) {
    void* page = AllocateTreeMemory(32768);
    ASSERT_NE(page, nullptr);
    ASSERT_EQ(reinterpret_cast<uintptr_t>(page) % alignof(std::max_align_t), 0u);
    std::memset(page, static_cast<int>(i), 32768);
    pages.push_back(page);
  }
  EXPECT_GE(MappedTreeBlocks(), before + 3);
  // Freed in any order, every block but the one being filled goes back.
  std::shuffle(pages.begin(), pages.end(), std::mt19937(1));
  for (void* page : pages) FreeTreeMemory(page);
  EXPECT_LE(MappedTreeBlocks(), std::max<size_t>(before, 1));
  FreeTreeMemory(nullptr);
}

TEST(TreeMemory, TakesBlocksThatAreEachOneHugePage) {
  std::vector<void*> pages;
  for (size_t i = 0; i < 2 * TREE_BLOCK_BYTES / 32768; ++i) {
    void* page = AllocateTreeMemory(32768);
    ASSERT_NE(page, nullptr);
    pages.push_back(page);
  }
  for (void* page : pages) {
    // A block starts on a huge page boundary, so nothing in it crosses one.
    const uintptr_t first = reinterpret_cast<uintptr_t>(page);
    EXPECT_EQ(first / HUGE_PAGE_BYTES, (first + 32767) / HUGE_PAGE_BYTES);
    if (HasTransparentHugePages()) {
      EXPECT_TRUE(IsAdvisedHuge(page)) << VmFlagsOf(page);
    }
  }
  for (void* page : pages) FreeTreeMemory(page);
}

TEST(TreeMemory, TakesABlockOfItsOwnForWhatExceedsOne) {
  const size_t before = MappedTreeBlocks();
  // The block being filled is emptied, then passed by for a larger need: it goes back.
  FreeTreeMemory(AllocateTreeMemory(64));
  void* large = AllocateTreeMemory(3 * TREE_BLOCK_BYTES);
  ASSERT_NE(large, nullptr);
  EXPECT_LE(MappedTreeBlocks(), std::max<size_t>(before, 1));
  std::memset(large, 1, 3 * TREE_BLOCK_BYTES);
  void* small = AllocateTreeMemory(64);
  void* after = AllocateTreeMemory(TREE_BLOCK_BYTES / 2);
  FreeTreeMemory(large);
  FreeTreeMemory(small);
  FreeTreeMemory(after);
  EXPECT_LE(MappedTreeBlocks(), std::max<size_t>(before, 1));
  // A block of its own goes back as soon as it is freed, even while it is being filled.
  void* keep = AllocateTreeMemory(64);
  const size_t blocks = MappedTreeBlocks();
  FreeTreeMemory(AllocateTreeMemory(3 * TREE_BLOCK_BYTES));
  EXPECT_EQ(MappedTreeBlocks(), blocks);
  FreeTreeMemory(keep);
  void* next = AllocateTreeMemory(64);
  EXPECT_NE(next, nullptr);
  FreeTreeMemory(next);
  EXPECT_EQ(AllocateTreeMemory(SIZE_MAX - 8), nullptr);
}

TEST(TreeMemory, HoldsTheParsersTreesFromSeveralThreads) {
  UseTreeMemory();
  std::string text = "<metalib name=\"m\">";
  for (int i = 0; i < 20000; ++i)
    text += "<entry name=\"f" + std::to_string(i) + "\" type=\"int32\"/>";
  text += "</metalib>";
  std::vector<std::thread> threads;
  std::vector<size_t> counts(4);
  for (size_t t = 0; t < counts.size(); ++t) {
    threads.emplace_back([&text, &counts, t]() {
      pugi::xml_document document;
      if (!document.load_string(text.c_str())) return;
      pugi::xml_node root = document.first_child();
      // Removed as the loader removes what it has read.
      for (pugi::xml_node child = root.first_child(), next; child; child = next) {
        next = child.next_sibling();
        ++counts[t];
        root.remove_child(child);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const size_t count : counts) EXPECT_EQ(count, 20000u);
  EXPECT_LE(MappedTreeBlocks(), 1u);
  pugi::set_memory_management_functions(nullptr, nullptr);
}

}  // namespace
