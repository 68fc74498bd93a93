#include "cli/tree_memory.h"

#include <sys/mman.h>

#include <pugixml.hpp>

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <new>

#include "base/huge_pages.h"

namespace {

constexpr size_t ALIGNMENT = alignof(std::max_align_t);

size_t RoundUp(size_t size, size_t unit) { return (size + unit - 1) / unit * unit; }

// A block of memory from the system; this record stands at its start. Allocations are laid out
// one after another and counted; a block that is not the one being filled goes back to the
// system when its count drops to zero.
struct Block {
  size_t size;
  size_t used;
  size_t live;
};

// Stands just before each allocation.
struct alignas(ALIGNMENT) Header {
  Block* block;
};

const size_t FIRST_BYTE = RoundUp(sizeof(Block), ALIGNMENT);

std::mutex g_mutex;
Block* g_filling = nullptr;  // the block new allocations go to
size_t g_blocks = 0;

// Maps bytes for a block. A block of TREE_BLOCK_BYTES starts on a huge page boundary and is
// advised to be one huge page: a tree of a 16 MB file then costs a few dozen page faults.
static_assert(TREE_BLOCK_BYTES % HUGE_PAGE_BYTES == 0, "a tree block is whole huge pages");

void* MapBlock(size_t bytes) {
  if (bytes != TREE_BLOCK_BYTES) {
    void* mapped = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return mapped == MAP_FAILED ? nullptr : mapped;
  }
  // Twice the room, then the ends around the aligned block given back.
  void* mapped =
      mmap(nullptr, 2 * bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) return nullptr;
  char* const start = static_cast<char*>(mapped);
  const uintptr_t misalignment = reinterpret_cast<uintptr_t>(start) % HUGE_PAGE_BYTES;
  char* const block = misalignment == 0 ? start : start + (HUGE_PAGE_BYTES - misalignment);
  if (block > start) munmap(start, static_cast<size_t>(block - start));
  char* const end = start + 2 * bytes;
  if (end > block + bytes) munmap(block + bytes, static_cast<size_t>(end - (block + bytes)));
  AdviseHugePages(block, bytes);
  return block;
}

void Unmap(Block* block) {
  munmap(block, block->size);
  --g_blocks;
}

}  // namespace

void UseTreeMemory() { pugi::set_memory_management_functions(AllocateTreeMemory, FreeTreeMemory); }

void* AllocateTreeMemory(size_t size) {
  if (size > SIZE_MAX / 2) return nullptr;
  const size_t need = sizeof(Header) + RoundUp(size, ALIGNMENT);
  std::lock_guard<std::mutex> lock(g_mutex);
  if (g_filling == nullptr || g_filling->size - g_filling->used < need) {
    const size_t bytes =
        std::max(TREE_BLOCK_BYTES, RoundUp(FIRST_BYTE + need, static_cast<size_t>(4096)));
    void* mapped = MapBlock(bytes);
    if (mapped == nullptr) return nullptr;
    ++g_blocks;
    if (g_filling != nullptr && g_filling->live == 0) Unmap(g_filling);
    g_filling = new (mapped) Block{bytes, FIRST_BYTE, 0};
  }
  Header* header = reinterpret_cast<Header*>(reinterpret_cast<char*>(g_filling) + g_filling->used);
  header->block = g_filling;
  g_filling->used += need;
  ++g_filling->live;
  return header + 1;
}

void FreeTreeMemory(void* memory) {
  if (memory == nullptr) return;
  Header* header = static_cast<Header*>(memory) - 1;
  std::lock_guard<std::mutex> lock(g_mutex);
  Block* block = header->block;
  if (--block->live > 0) return;
  if (block == g_filling && block->size == TREE_BLOCK_BYTES) {
    // Filled again from its start: its pages stay, to be written over.
    block->used = FIRST_BYTE;
    return;
  }
  if (block == g_filling) g_filling = nullptr;
  Unmap(block);
}

size_t MappedTreeBlocks() {
  std::lock_guard<std::mutex> lock(g_mutex);
  return g_blocks;
}
