// Which vector instructions the many-line search uses: AVX2 when the
// processor has it (and the build has the AVX2 filter), else SSE2. The
// tests run the search both ways.
#pragma once
#include "../framework/afx.h"

#if (defined(__x86_64__) || defined(__i386__)) && (defined(__GNUC__) || defined(__clang__))
#define VELMOR_SEARCH_AVX2 1
#else
#define VELMOR_SEARCH_AVX2 0
#endif

bool SearchUsesAvx2();
// SearchLinesForward with the AVX2 filter (bAvx2, only where
// SearchUsesAvx2()) or without.
int SearchLinesForwardWith(bool bAvx2, const CString* lines, int nFirst, int nEnd, const wchar_t* what, int nPos,
                           unsigned short flags, int& nCol);
