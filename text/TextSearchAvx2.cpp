// The many-line search's filter in 256-bit vectors. Only the code of this
// file's own filter is built for AVX2 (the framework's inline functions,
// included first, keep the build's instruction set, so that no copy of
// theirs built for AVX2 can be the one the rest of the library links to);
// TextSearch.cpp calls it only when the processor has AVX2.
#include "TextSearch.h"
#include <cstdint>
#include <cwchar>
#if defined(__GNUC__) && !defined(__clang__) && !defined(__AVX2__)
#pragma GCC push_options
#pragma GCC target("avx2")
#define VELMOR_AVX2_TARGET 1
#endif
#include "SearchFilter.h"

#if defined(__AVX2__) || defined(VELMOR_AVX2_TARGET)
int SearchLinesForwardAvx2(const CString* lines, int nFirst, int nEnd, const wchar_t* what, int nPos,
                           unsigned short flags, int& nCol)
{
    const LineFilter filter(what, flags);
    return ScanFilteredWith<Avx2Ops>(lines, nFirst, nEnd, what, nPos, flags, nCol, filter);
}
#endif

#ifdef VELMOR_AVX2_TARGET
#pragma GCC pop_options
#endif
