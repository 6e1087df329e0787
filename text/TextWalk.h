// Walks over one line of text that the mouse and the caret commands need,
// free of any window: which column a pointer x falls on (three rules, one
// per kind of click), where the word around a column starts and ends, and
// how far a line is indented.
#pragma once
#include "../framework/afx.h"

// Widths used to walk a line: the width of each character code 0..255 in
// the control's font, and the width that stands for every code above.
struct TextWidths
{
    const int* anChar; // 256 entries
    int nWide;         // the wide-character width (each such character counts half of it)
};

// A click: widths summed in single precision from the first column; at
// the first character whose running sum reaches x (sum >= x), the column
// after it when half its width is strictly less than the distance from
// its left edge to x, else the column before it; the line's length when
// no character reaches x. x is relative to the first column's left edge.
AFX_EXT_API int AFXAPI ClickColumn(const CString& line, int nFirstCol, int x, const TextWidths& widths);

// A drag: the same walk in integers, stopping where the sum passes x
// (sum > x). Not clamped: the caller clamps to the line under the pointer.
AFX_EXT_API int AFXAPI DragColumn(const CString& line, int nFirstCol, int x, const TextWidths& widths);

// A double-click: the nearest cell boundary with a fixed cell width,
// (x + width / 2) / width + first column, clamped to [0, nLength].
AFX_EXT_API int AFXAPI DoubleClickColumn(int x, int nCharWidth, int nFirstCol, int nLength);

// Word characters: letters and digits of the C locale (isalnum), so "_"
// and every character above U+007F end a word.
AFX_EXT_API bool AFXAPI IsWordChar(wchar_t ch);

// The word around column nCol of a line: nStart is found by scanning left
// from nCol to just after the first non-word character (0 at the line's
// start), nEnd by scanning right from nCol over word characters. A column
// on a non-word character gives nStart = nCol + 1 when that character is
// inside the line (the empty word after it), else the scan continues.
AFX_EXT_API void AFXAPI WordBounds(const CString& line, int nCol, int& nStart, int& nEnd);

// The number of leading U+0020 spaces (a tab ends the run).
AFX_EXT_API int AFXAPI LeadingSpaces(const CString& line);

// White space of the C locale (isspace), for UTF-16 code units: nothing
// above U+007F counts.
AFX_EXT_API bool AFXAPI IsBlankChar(wchar_t ch);

// Ctrl+Left from column x (0 < x <= length): the start of the word to the
// left; a single punctuation character just left of x is stepped over by
// one column.
AFX_EXT_API int AFXAPI WordLeftColumn(const CString& line, int x);

// Ctrl+Right from column x (0 <= x < length): the first character that is
// not alphanumeric after the word; a punctuation character at x is stepped
// over by one column.
AFX_EXT_API int AFXAPI WordRightColumn(const CString& line, int x);

// Whether deleting the character at column x touches a comment delimiter:
// 1 when it is part of a "/*" (the text below may change), 2 when part of
// a "*/" (the text above may change), 0 otherwise.
AFX_EXT_API int AFXAPI CommentMarkerMode(const CString& line, int x);

// Block unindent: starting from k (the count carried from the line
// before), advances k over spaces while k < tab size.
AFX_EXT_API int AFXAPI UnindentCount(const CString& line, int k, int nTabSize);
