// Searching a line and the comment markers of the commenting commands,
// free of any window (the control's search and comment commands are built
// on these; they are also fuzzed natively).
#pragma once
#include "../framework/afx.h"

// Search flags, as a host passes them.
const unsigned short VELMOR_FIND_MATCHCASE = 0x0002;
const unsigned short VELMOR_FIND_WHOLEWORD = 0x0004;
const unsigned short VELMOR_FIND_BACKWARDS = 0x0008;

// The last occurrence of what that starts before index n of str (n = 0:
// the whole string); the comparison may run past n but never past the end
// of str. -1 when there is none or what is empty.
AFX_EXT_API int AFXAPI ReverseFind(const wchar_t* str, const wchar_t* what, int n);

// One line of a search: the line is compared in upper case unless
// VELMOR_FIND_MATCHCASE is set (what is used as given); forwards, the first
// occurrence at or after nPos; backwards, the last that starts before nPos
// (the whole line when nPos is 0). An empty what is found forwards at nPos
// itself (while nPos is within the line), never backwards. With VELMOR_FIND_WHOLEWORD an occurrence
// not at column 0 must have no word character on either side; when it has,
// the line gives nothing (its rest is not searched). The column, or -1.
AFX_EXT_API int AFXAPI SearchLine(const CString& line, const wchar_t* what, int nPos, unsigned short flags);

// A forward search over lines[nFirst] .. lines[nEnd - 1]: the first line in
// which SearchLine finds what, the first line searched from column nPos
// and the others from column 0; its column goes to nCol. nEnd when no line
// has it. Gives exactly what SearchLine on each line in turn gives, but
// passes over lines that cannot hold what several characters at a step.
AFX_EXT_API int AFXAPI SearchLinesForward(const CString* lines, int nFirst, int nEnd, const wchar_t* what, int nPos,
                                          unsigned short flags, int& nCol);

// A line commented out with "//": the marker takes the place of the last
// indenting blank (space or tab), so one blank stays between it and the
// text; an unindented line gets it in front.
AFX_EXT_API CString AFXAPI LineCommentOut(const CString& line);

// The first "//" at or after column nFrom removed (only its two characters).
AFX_EXT_API CString AFXAPI LineUncomment(const CString& line, int nFrom);

// The first column of ch in a line, or -1.
AFX_EXT_API int AFXAPI FirstOf(const CString& line, wchar_t ch);
