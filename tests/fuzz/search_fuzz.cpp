// libFuzzer target for the line search and the comment markers. The input
// is split at byte 0xFF into a line list (bytes, '\n' between lines) and a
// search string; flags and a start column come from the first two bytes.
// Checked: no out-of-bounds read anywhere (AddressSanitizer), results in
// range, and for lines without block-comment markers, commenting each line
// out and uncommenting it from column 0 gives the line back; a search over
// many lines finds what searching them one by one finds.
#include "text/TextSearch.h"
#include "text/TextSearchIsa.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

void Check(bool ok)
{
    if (!ok)
        std::abort();
}

CString Decode(const uint8_t* p, size_t n)
{
    CString s;
    for (size_t i = 0; i < n; ++i) {
        // A small alphabet, so that matches and markers are frequent.
        static const wchar_t kAlphabet[] = L" \tab/*_{}\"ABxyz09.\x00E9\x00C9";
        s += kAlphabet[p[i] % (sizeof kAlphabet / sizeof kAlphabet[0] - 1)];
    }
    return s;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const unsigned short flags = data[0];
    const int start = (int)(int8_t)data[1];
    data += 2;
    size -= 2;
    size_t split = 0;
    while (split < size && data[split] != 0xFF)
        ++split;
    const CString text = Decode(data, split);
    const CString what = split < size ? Decode(data + split + 1, size - split - 1) : CString(L"a");

    // Lines of up to 16 characters, or of up to 40 (long enough for the
    // many-character steps of a search over lines) when the start column
    // is odd.
    std::vector<CString> lines;
    const int width = (start & 1) ? 40 : 16;
    for (int from = 0; from < text.GetLength(); from += width)
        lines.push_back(text.Mid(from, width));
    if (lines.empty())
        lines.push_back(CString());

    for (const CString& line : lines) {
        const int col = SearchLine(line, what.GetString(), start, flags);
        Check(col >= -1 && col <= line.GetLength());
        // Ignoring case, forwards: the same as searching an upper-case copy.
        CString upper = line;
        upper.MakeUpper();
        const int expected = upper.Find(what.GetString(), start); // an empty what: start itself
        Check(SearchLine(line, what.GetString(), start, 0) == expected);
        const int r = ReverseFind(line.GetString(), what.GetString(), start);
        Check(r >= -1 && r < line.GetLength());
        if (r >= 0)
            Check(line.Mid(r, what.GetLength()) == what);
        const CString commented = LineCommentOut(line);
        Check(commented.GetLength() == line.GetLength() + 2);
        if (line.Find(L"/*") < 0 && line.Find(L"*/") < 0)
            Check(LineUncomment(commented, 0) == line);
        (void)LineUncomment(line, start);
        (void)FirstOf(line, L'{');
    }
    // Over all the lines at once, from each first line: what SearchLine
    // gives line by line.
    const int n = (int)lines.size();
    for (int first = 0; first < n; ++first) {
        int expected = n, expectedCol = -1;
        for (int l = first; l < n; ++l) {
            const int c = SearchLine(lines[(size_t)l], what.GetString(), l == first ? start : 0, flags);
            if (c >= 0) {
                expected = l;
                expectedCol = c;
                break;
            }
        }
        int col = -2;
        Check(SearchLinesForward(lines.data(), first, n, what.GetString(), start, flags, col) == expected);
        Check(col == expectedCol);
        // The SSE2 form as well, where the processor's is AVX2.
        col = -2;
        Check(SearchLinesForwardWith(false, lines.data(), first, n, what.GetString(), start, flags, col) == expected);
        Check(col == expectedCol);
    }
    return 0;
}
