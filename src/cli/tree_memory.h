// Memory for the parsed trees of schema files, in the command. The loader frees a tree element by
// element as it builds the model; this memory is taken from the system in blocks of
// TREE_BLOCK_BYTES and each block goes back as soon as everything in it is freed, so that the model
// takes the tree's memory instead of standing beside it, at a system call per block rather than
// one per page of the tree.
#ifndef VELMORA_CLI_TREE_MEMORY_H_
#define VELMORA_CLI_TREE_MEMORY_H_

#include <cstddef>

constexpr size_t TREE_BLOCK_BYTES = size_t{2} << 20;

// Makes the XML parser take its memory here. Call before any schema is loaded.
void UseTreeMemory();

// Memory of at least `size` bytes, aligned for any object the parser keeps; NULL when the system
// has none. Safe from several threads at once.
void* AllocateTreeMemory(size_t size);
// Frees what AllocateTreeMemory gave (NULL: nothing).
void FreeTreeMemory(void* memory);

// Blocks taken from the system and not given back yet.
size_t MappedTreeBlocks();

#endif  // VELMORA_CLI_TREE_MEMORY_H_
