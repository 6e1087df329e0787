// Shared helpers for the native tests.
#pragma once
#include "text/Colorizer.h"
#include <gtest/gtest.h>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

typedef std::vector<unsigned long> Colors;

// Lets failure messages show a CString's (ASCII) text.
inline void PrintTo(const CString& s, std::ostream* os)
{
    *os << '"';
    for (int i = 0; i < s.GetLength(); ++i)
        *os << (char)s.GetAt(i);
    *os << '"';
}

// The Insert* calls take a non-const pointer, so words go through a buffer.
inline void AddKey(CColorizer& c, const wchar_t* w) { std::wstring s(w); c.InsertKey(&s[0]); }
inline void AddOp(CColorizer& c, const wchar_t* w) { std::wstring s(w); c.InsertOpKey(&s[0]); }
inline void AddFunc(CColorizer& c, const wchar_t* w) { std::wstring s(w); c.InsertFuncKey(&s[0]); }

// Expected colours written run by run: {{count, colour}, ...}.
inline Colors Runs(std::initializer_list<std::pair<int, unsigned long>> runs)
{
    Colors v;
    for (auto& r : runs)
        v.insert(v.end(), (size_t)r.first, r.second);
    return v;
}

inline Colors Same(int n, unsigned long c) { return Colors((size_t)n, c); }

// Runs fn, expecting the framework's invalid-argument exception (thrown by pointer).
template <class F> void ExpectInvalidArg(F fn)
{
    bool thrown = false;
    try {
        fn();
    } catch (CInvalidArgException* e) {
        thrown = true;
        EXPECT_STREQ(L"Invalid argument", e->Message());
        e->Delete();
    }
    EXPECT_TRUE(thrown) << "no CInvalidArgException* raised";
}

// Runs fn, expecting std::out_of_range with the subscript message.
template <class F> void ExpectSubscript(F fn)
{
    bool thrown = false;
    try {
        fn();
    } catch (const std::out_of_range& e) {
        thrown = true;
        EXPECT_STREQ("invalid vector<T> subscript", e.what());
    }
    EXPECT_TRUE(thrown) << "no std::out_of_range raised";
}
