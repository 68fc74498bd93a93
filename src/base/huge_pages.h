// Large blocks that are written front to back as soon as they are made (the text of a schema file,
// the parsed tree) are asked to be backed by 2 MiB pages where the system grants them on request
// (Linux transparent huge pages in "madvise" mode). Each 2 MiB is then one page fault instead of
// 512: on a 16 MB schema the faults were a quarter of the time.
//
// Not for a block that grows by steps from small: the model's block starts in the allocator's heap,
// where memory freed within a huge page stays resident; advised, it cost time and memory.
#ifndef VELMORA_BASE_HUGE_PAGES_H_
#define VELMORA_BASE_HUGE_PAGES_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif

constexpr size_t HUGE_PAGE_BYTES = size_t{2} << 20;

// Advises the whole 2 MiB pages within [block, block + size), if any. Only a hint: a system
// without huge pages, or one that refuses, backs the block as before.
inline void AdviseHugePages(void* block, size_t size) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  const uintptr_t start = reinterpret_cast<uintptr_t>(block);
  if (block == nullptr || start > UINTPTR_MAX - size) return;
  const uintptr_t begin = (start + HUGE_PAGE_BYTES - 1) & ~uintptr_t{HUGE_PAGE_BYTES - 1};
  const uintptr_t end = (start + size) & ~uintptr_t{HUGE_PAGE_BYTES - 1};
  if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#else
  (void)block;
  (void)size;
#endif
}

// Advises the whole of a block that is a mapping of its own, as an allocator's block of 32 MiB or
// more is: from the start of its first page to the end of its last, so that the mapping keeps one
// set of flags and the allocator can still grow or shrink it in place (the system refuses to remap
// a range of mixed flags, and the allocator then copies the block).
inline void AdviseHugePagesOfMapping(void* block, size_t size) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  const uintptr_t start = reinterpret_cast<uintptr_t>(block);
  const auto page = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
  if (block == nullptr || page == 0 || size > UINTPTR_MAX - page ||
      start > UINTPTR_MAX - page - size) {
    return;
  }
  const uintptr_t begin = start / page * page;
  const uintptr_t end = (start + size + page - 1) / page * page;
  madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#else
  (void)block;
  (void)size;
#endif
}

// The size of a page of memory, at least 4096 bytes.
inline size_t PageBytes() {
#if defined(__linux__)
  return static_cast<size_t>(std::max(sysconf(_SC_PAGESIZE), 4096L));
#else
  return 4096;
#endif
}

// Gives the whole pages within [block, block + size) of private anonymous memory (what an allocator
// hands out) back to the system, for memory that is never read again: the process's resident
// memory shrinks at once, and a page touched again reads as zeros. Returns the end of the last
// whole page (block when there is none); elsewhere than on Linux nothing is given back.
inline const char* GiveBackWholePages(const char* block, size_t size) {
  const uintptr_t start = reinterpret_cast<uintptr_t>(block);
  const uintptr_t page = PageBytes();
  const uintptr_t begin = (start + page - 1) / page * page;
  const uintptr_t end = (start + size) / page * page;
  if (end <= begin) return block;
#if defined(__linux__)
  madvise(reinterpret_cast<void*>(begin), end - begin, MADV_DONTNEED);
#endif
  return block + (end - start);
}

#endif  // VELMORA_BASE_HUGE_PAGES_H_
