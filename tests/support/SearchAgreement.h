// Random lines and random texts to find, searched over many lines at once
// and one line at a time: both must give the same line and column. Shared
// by the native tests (32-bit characters) and the Windows tests (UTF-16,
// where the many-column test reads past short lines' ends).
#pragma once
#include "framework/afx.h"
#include "text/TextSearch.h"
#include <clocale>
#include <cstdint>
#include <cwctype>
#include <string>
#include <vector>

namespace search_agreement {

// The first disagreement over rounds random rounds, or an empty string.
// Lines of every length up to 90 (the four-block test, the many-column
// steps, the short lines' reads past their end, the tails) from a small
// alphabet with both cases, blanks, comment characters and non-ASCII
// letters; what to find from the same alphabet, in all four flag forms.
using SearchFn = int (*)(const CString* lines, int nFirst, int nEnd, const wchar_t* what, int nPos,
                         unsigned short flags, int& nCol);

inline std::string Rounds(int rounds, SearchFn search)
{
    uint32_t seed = 12345;
    auto next = [&seed](uint32_t n) {
        seed = seed * 1664525u + 1013904223u;
        return (seed >> 8) % n;
    };
    const wchar_t alphabet[] = L"abAB_ x*/\x00E9\x00C9";
    auto text = [&](int len) {
        std::wstring s;
        for (int i = 0; i < len; ++i)
            s += alphabet[next(sizeof alphabet / sizeof alphabet[0] - 1)];
        return CString(s.c_str(), len);
    };
    for (int round = 0; round < rounds; ++round) {
        std::vector<CString> lines;
        for (int i = 0; i < 30; ++i)
            lines.push_back(text((int)next(91)));
        const CString what = text(1 + (int)next(round % 4 == 0 ? 40 : 4));
        const unsigned short flags = (unsigned short)(next(4) * 2);
        const int n = (int)lines.size();
        int expected = n, expectedCol = -1;
        for (int l = 0; l < n && expected == n; ++l)
            if ((expectedCol = SearchLine(lines[(size_t)l], what, 0, flags)) >= 0)
                expected = l;
        if (expected == n)
            expectedCol = -1;
        int col = 0;
        const int got = search(lines.data(), 0, n, what, 0, flags, col);
        if (got != expected || col != expectedCol)
            return "round " + std::to_string(round) + ": line " + std::to_string(got) + " column " +
                   std::to_string(col) + ", one line at a time line " + std::to_string(expected) + " column " +
                   std::to_string(expectedCol);
    }
    return std::string();
}

// Rounds in the "C" locale, where only ASCII letters have another case,
// and as many again in one where non-ASCII letters have one too (a host
// may set it): there a later character of what is matched by non-ASCII
// line characters, which the many-column test must let through.
inline std::string FirstDisagreement(int rounds, SearchFn search = SearchLinesForward)
{
    std::string result = Rounds(rounds, search);
    if (!result.empty())
        return "C locale, " + result;
    const std::string before = std::setlocale(LC_CTYPE, nullptr);
    const char* folding = nullptr;
    for (const char* name : {"C.UTF-8", ".1252"})
        if (std::setlocale(LC_CTYPE, name) && std::towupper(0xE9) == 0xC9) {
            folding = name;
            break;
        }
    result = folding ? Rounds(rounds, search) : "no locale gives \u00E9 an upper case";
    std::setlocale(LC_CTYPE, before.c_str());
    return result.empty() || !folding ? result : std::string(folding) + " locale, " + result;
}

} // namespace search_agreement
