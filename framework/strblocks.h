// Blocks for string characters (see afxstrmem.cpp): every CString block is
// allocated and freed through these, inside the library.
#pragma once
#include <cstddef>

namespace StringBlocks {
// The size a block of that many bytes really gets (its size class).
size_t RoundUp(size_t bytes);
void* Alloc(size_t bytes);
void Free(void* p, size_t bytes) noexcept;

// What the blocks hold of memory now.
struct Usage
{
    size_t slabs = 0;      // slabs taken from the system
    size_t spareSlabs = 0; // of those, wholly free and waiting to be cut again
    size_t freeBlocks = 0; // free blocks waiting in the size classes' stacks
    size_t slabBytes = 0;  // the size of a slab
    bool slabbed = false;  // false: every block comes from the heap (sanitizer builds)
};
Usage GetUsage() noexcept;
} // namespace StringBlocks
