// Helpers shared by the native and the Windows benchmarks: statistics and
// filling a text store the way the control's LoadText does.
#pragma once
#include "ScriptGen.h"
#include "text/ScriptText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace bench {

inline double Median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    const size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

// Nearest-rank percentile: of 50 samples, p99 is the slowest one.
inline double Percentile(std::vector<double> v, double p)
{
    std::sort(v.begin(), v.end());
    size_t rank = (size_t)std::ceil(p / 100.0 * (double)v.size());
    rank = std::max<size_t>(rank, 1);
    return v[std::min(rank, v.size()) - 1];
}

// "12.3 11.9 ..." for the detail lines.
inline std::string List(const std::vector<double>& v)
{
    std::string s;
    char buf[32];
    for (double x : v) {
        std::snprintf(buf, sizeof buf, "%s%.1f", s.empty() ? "" : " ", x);
        s += buf;
    }
    return s;
}

// One figure for scripts/run-bench: RESULT <tab> row <tab> column <tab> value.
inline void Result(const char* row, const char* column, const char* fmt, double value)
{
    std::printf("RESULT\t%s\t%s\t", row, column);
    std::printf(fmt, value);
    std::printf("\n");
}

// Splits the script into the store as CVelmor::LoadText does: one line per
// '\n', then the empty line after the last one, uncoloured until
// FullUpdate. (Generated scripts have no tabs, so LoadText's tab expansion
// would change nothing.)
inline void FillStore(CScriptText& store, const std::wstring& script)
{
    store._RemoveAll();
    store._RemoveLine(0);
    int n = 0;
    size_t start = 0;
    for (size_t i = 0; i < script.size(); ++i) {
        if (script[i] == L'\n') {
            store._InsertLine(CString(script.data() + start, (int)(i - start)), n++, 0);
            start = i + 1;
        }
    }
    store._InsertLine(CString(), n, 0);
}

// Reads every line's colours, first to last, as a reader of the whole
// text does; the store colours each line it has not coloured yet.
inline void ReadAllColours(const CScriptText& store)
{
    const int n = (int)store._GetSize();
    for (int i = 0; i < n; ++i)
        store._GetLineColors(i);
}

} // namespace bench
