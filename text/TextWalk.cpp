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

bool AFXAPI IsBlankChar(wchar_t ch)
{
    return (unsigned)ch < 128 && std::isspace((int)ch) != 0;
}

int AFXAPI WordLeftColumn(const CString& line, int x)
{
    const int len = line.GetLength();
    const wchar_t* p = line.GetString();
    int i = x;
    bool seen = false;
    for (;;) {
        --i;
        if (i < 0) {
            i = 0;
            break;
        }
        const wchar_t c = i < len ? p[i] : L' ';
        if (!IsBlankChar(c))
            seen = true;
        if (IsWordChar(c))
            continue;
        if (seen) {
            if (i != x - 1)
                ++i;
            break;
        }
    }
    return i;
}

int AFXAPI WordRightColumn(const CString& line, int x)
{
    const int len = line.GetLength();
    const wchar_t* p = line.GetString();
    int i = x < 0 ? 0 : x;
    bool seen = false;
    for (;;) {
        if (i >= len) {
            i = len;
            break;
        }
        const wchar_t c = p[i];
        if (!IsBlankChar(c))
            seen = true;
        if (!IsWordChar(c) && seen) {
            if (i == x)
                ++i;
            break;
        }
        ++i;
    }
    return i;
}

int AFXAPI CommentMarkerMode(const CString& line, int x)
{
    const int len = line.GetLength();
    if (x < 0 || x >= len)
        return 0;
    const wchar_t* p = line.GetString();
    if (p[x] == L'/') {
        if (x < len - 1 && p[x + 1] == L'*')
            return 1;
        if (x > 0 && p[x - 1] == L'*')
            return 2;
    } else if (p[x] == L'*') {
        if (x > 0 && p[x - 1] == L'/')
            return 1;
        if (x < len - 1 && p[x + 1] == L'/')
            return 2;
    }
    return 0;
}

int AFXAPI UnindentCount(const CString& line, int k, int nTabSize)
{
    const int len = line.GetLength();
    const wchar_t* p = line.GetString();
    while (k >= 0 && k < len && p[k] == L' ' && k < nTabSize)
        ++k;
    return k;
}
