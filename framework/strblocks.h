// Blocks for string characters (see afxstrmem.cpp): every CString block is
// allocated and freed through these, inside the library.
#pragma once
#include <cstddef>

namespace StringBlocks {
// The size a block of that many bytes really gets (its size class).
size_t RoundUp(size_t bytes);
void* Alloc(size_t bytes);
void Free(void* p, size_t bytes) noexcept;
} // namespace StringBlocks
