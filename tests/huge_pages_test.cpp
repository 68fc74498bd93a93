#include "base/huge_pages.h"

#include <gtest/gtest.h>

#include <sys/mman.h>

#include <cstdint>

#include "vm_flags.h"

namespace {

// Eight huge pages' worth of address space, its start on a huge page boundary.
class AlignedRegion {
 public:
  AlignedRegion() {
    void* mapped = mmap(nullptr, 9 * HUGE_PAGE_BYTES, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) return;
    m_mapped = static_cast<char*>(mapped);
    const uintptr_t start = reinterpret_cast<uintptr_t>(m_mapped);
    m_start = m_mapped + (HUGE_PAGE_BYTES - start % HUGE_PAGE_BYTES) % HUGE_PAGE_BYTES;
  }
  ~AlignedRegion() {
    if (m_mapped != nullptr) munmap(m_mapped, 9 * HUGE_PAGE_BYTES);
  }
  AlignedRegion(const AlignedRegion&) = delete;
  AlignedRegion& operator=(const AlignedRegion&) = delete;

  char* start() const { return m_start; }

 private:
  char* m_mapped = nullptr;
  char* m_start = nullptr;
};

TEST(HugePages, AdvisesTheWholeHugePagesWithinABlock) {
  if (!HasTransparentHugePages()) GTEST_SKIP() << "this system has no transparent huge pages";
  AlignedRegion region;
  ASSERT_NE(region.start(), nullptr);
  // A block from 4 KiB into the first huge page to 4 KiB into the fourth: the second and third
  // are whole, the first and fourth are not.
  char* const block = region.start() + 4096;
  AdviseHugePages(block, 3 * HUGE_PAGE_BYTES);
  EXPECT_FALSE(IsAdvisedHuge(region.start())) << VmFlagsOf(region.start());
  EXPECT_FALSE(IsAdvisedHuge(block)) << VmFlagsOf(block);
  EXPECT_TRUE(IsAdvisedHuge(region.start() + HUGE_PAGE_BYTES))
      << VmFlagsOf(region.start() + HUGE_PAGE_BYTES);
  EXPECT_TRUE(IsAdvisedHuge(region.start() + 3 * HUGE_PAGE_BYTES - 1));
  EXPECT_FALSE(IsAdvisedHuge(region.start() + 3 * HUGE_PAGE_BYTES))
      << VmFlagsOf(region.start() + 3 * HUGE_PAGE_BYTES);
}

TEST(HugePages, LeavesABlockWithoutAWholeHugePageAlone) {
  if (!HasTransparentHugePages()) GTEST_SKIP() << "this system has no transparent huge pages";
  AlignedRegion region;
  ASSERT_NE(region.start(), nullptr);
  // Almost two huge pages, across a boundary, yet no whole one.
  char* const block = region.start() + 4096;
  AdviseHugePages(block, 2 * HUGE_PAGE_BYTES - 8192);
  EXPECT_FALSE(IsAdvisedHuge(block));
  EXPECT_FALSE(IsAdvisedHuge(region.start() + HUGE_PAGE_BYTES));
}

TEST(HugePages, AdvisesAMappingOfItsOwnWhole) {
  if (!HasTransparentHugePages()) GTEST_SKIP() << "this system has no transparent huge pages";
  AlignedRegion region;
  ASSERT_NE(region.start(), nullptr);
  // A block that starts and ends within pages, as an allocator's mapped block does.
  char* const block = region.start() + 16;
  const size_t size = 3 * HUGE_PAGE_BYTES - 32;
  AdviseHugePagesOfMapping(block, size);
  EXPECT_TRUE(IsAdvisedHuge(region.start())) << VmFlagsOf(region.start());
  EXPECT_TRUE(IsAdvisedHuge(block + size - 1)) << VmFlagsOf(block + size - 1);
  // The pages around it are not.
  EXPECT_FALSE(IsAdvisedHuge(region.start() + 3 * HUGE_PAGE_BYTES));
}

TEST(HugePages, IgnoresNoBlockAndASizePastTheAddressSpace) {
  AdviseHugePages(nullptr, 4 * HUGE_PAGE_BYTES);
  int one = 0;
  AdviseHugePages(&one, SIZE_MAX);
  AdviseHugePagesOfMapping(nullptr, 4 * HUGE_PAGE_BYTES);
  AdviseHugePagesOfMapping(&one, SIZE_MAX);
  EXPECT_FALSE(IsAdvisedHuge(&one));
  // A block said to end past the top of the address space is not touched either.
  void* const near_top = reinterpret_cast<void*>(UINTPTR_MAX - 100);
  AdviseHugePages(near_top, 4 * HUGE_PAGE_BYTES);
  AdviseHugePagesOfMapping(near_top, 4 * HUGE_PAGE_BYTES);
}

TEST(HugePages, GivesBackTheWholePagesWithinABlockAlone) {
  const size_t page = PageBytes();
  void* mapped =
      mmap(nullptr, 8 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(mapped, MAP_FAILED);
  char* const pages = static_cast<char*>(mapped);
  for (size_t i = 0; i < 8 * page; ++i) pages[i] = 'x';
  // From inside page 1 to inside page 6: pages 2 to 5 are given back, ends included in none.
  const char* const end = GiveBackWholePages(pages + page + 100, 5 * page);
  EXPECT_EQ(end, pages + 6 * page);
  EXPECT_TRUE(Resident(pages + page));
  for (size_t i = 2; i < 6; ++i) EXPECT_FALSE(Resident(pages + i * page)) << "page " << i;
  EXPECT_TRUE(Resident(pages + 6 * page));
  EXPECT_EQ(pages[page + 99], 'x');
  EXPECT_EQ(pages[6 * page], 'x');
  // A page given back reads as zeros.
  EXPECT_EQ(pages[3 * page], '\0');
  // A block holding no whole page gives nothing back.
  EXPECT_EQ(GiveBackWholePages(pages + 7 * page + 1, page - 2), pages + 7 * page + 1);
  EXPECT_TRUE(Resident(pages + 7 * page));
  munmap(mapped, 8 * page);
}

}  // namespace
