#include "TextWalk.h"
#include <cctype>

namespace {
inline int CharWidth(wchar_t ch, const TextWidths& w)
{
    const unsigned c = (unsigned)ch;
    return c < 256 ? w.anChar[c] : w.nWide / 2;
}
} // namespace

int AFXAPI ClickColumn(const CString& line, int nFirstCol, int x, const TextWidths& widths)
{
    const int len = line.GetLength();
    const wchar_t* p = line.GetString();
    float sum = 0.0f;
    for (int c = nFirstCol < 0 ? 0 : nFirstCol; c < len; ++c) {
        const float before = sum;
        const int w = CharWidth(p[c], widths);
        sum += (float)w;
        if (sum >= (float)x)
            return (float)w / 2.0f < (float)x - before ? c + 1 : c;
    }
    return len;
}

int AFXAPI DragColumn(const CString& line, int nFirstCol, int x, const TextWidths& widths)
{
    const int len = line.GetLength();
    const wchar_t* p = line.GetString();
    long long sum = 0;
    for (int c = nFirstCol < 0 ? 0 : nFirstCol; c < len; ++c) {
        const long long before = sum;
        const int w = CharWidth(p[c], widths);
        sum += w;
        if (sum > x)
            return w / 2 < x - before ? c + 1 : c;
    }
    return len;
}

int AFXAPI DoubleClickColumn(int x, int nCharWidth, int nFirstCol, int nLength)
{
    const int w = nCharWidth > 0 ? nCharWidth : 1;
    long long col = ((long long)x + w / 2) / w + nFirstCol;
    if (col > nLength)
        col = nLength;
    if (col < 0)
        col = 0;
    return (int)col;
}

bool AFXAPI IsWordChar(wchar_t ch)
{
    return (unsigned)ch < 128 && std::isalnum((int)ch) != 0;
}

void AFXAPI WordBounds(const CString& line, int nCol, int& nStart, int& nEnd)
{
    const int len = line.GetLength();
    const wchar_t* p = line.GetString();
    nStart = 0;
    for (int i = nCol; i >= 0; --i) {
        if (i < len && !IsWordChar(p[i])) {
            nStart = i + 1;
            break;
        }
    }
    int j = nCol < 0 ? 0 : nCol;
    while (j < len && IsWordChar(p[j]))
        ++j;
    nEnd = j;
}

int AFXAPI LeadingSpaces(const CString& line)
{
    const int len = line.GetLength();
    const wchar_t* p = line.GetString();
    int n = 0;
    while (n < len && p[n] == L' ')
        ++n;
    return n;
}
