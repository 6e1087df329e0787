// CScriptText: the lines of one document and, beside each line, one colour
// per character. Block-comment state is carried in the colours themselves
// (see Colorizer.h), so a change that opens or closes a comment recolours
// the lines after it. With a line-local colorizer that recolouring is
// lazy: lines are coloured as they are read (see ColourProgress.h), and
// every colour read is the one the recolouring would have given at once.
#pragma once
#include "Colorizer.h"
#include <map>
#include <memory>
#include <vector>

class CColourProgress;

class AFX_EXT_CLASS CScriptText
{
public:
    CScriptText();
    ~CScriptText();
    // A copy would point at the source's own colorizer.
    CScriptText(const CScriptText&) = delete;
    // Copies lines and colours; keeps this store's colorizer and cached
    // maximum line length.
    CScriptText& operator=(CScriptText& other);

    CColorizer* GetColorizer() { return m_pColorizer; }
    // Stores the colorizer only; the caller recolours with FullUpdate. A
    // recolouring still outstanding is finished with the old one first.
    void SetColorizer(CColorizer* p);

    // Inserts text as line nLine; bColor colours it at once (otherwise it
    // stays uncoloured until FullUpdate). An index past the end appends.
    void _InsertLine(const CString& text, int nLine, int bColor);
    // The same, taking the text over instead of copying it.
    void _InsertLine(CString&& text, int nLine, int bColor);
    // Replaces line nLine; returns 1 when the whole text was recoloured.
    int _SetLine(const CString& text, int nLine);
    // The same, exchanging: the line takes text over, and text receives the
    // line's old text (nothing is copied).
    int _ExchangeLine(CString& text, int nLine);
    void _RemoveLine(int nLine);
    // Block forms, one pass over the lines that move instead of one per
    // line: the lines go in at nLine (past the end: appended), taken over
    // from the vector; nCount lines from nLine go. Either does what the
    // same lines one at a time would do.
    // bFromEnd: the lines are coloured last first, as inserting them one
    // at a time at nLine, the last first, colours them.
    void _InsertLines(std::vector<CString>& lines, int nLine, int bColor, bool bFromEnd = false);
    void _RemoveLines(int nLine, int nCount);
    // The lines inserted one at a time at descending lines, the last of the
    // vector first at nLine + count - 1 and each one before it at the line
    // above the one inserted before (as undoing the removal of every line
    // puts lines back): lines[i] ends at nLine + 2i, an old line between
    // each two. nLine + count - 1 must not lie past the end.
    void _InsertLinesAlternate(std::vector<CString>& lines, int nLine, int bColor);
    // Lines removed one at a time at ascending lines, nLine, nLine + 1, ...
    // (nCount of them, as the redo of that undo removes them): the lines at
    // nLine, nLine + 2, ... go, each other line staying; done in one pass.
    // nLine + 2 * (nCount - 1) must lie inside the store.
    void _RemoveLinesAlternate(int nLine, int nCount);
    // Empties the store, leaving one empty line.
    void _RemoveAll();
    long _GetSize() const { return (long)m_arrLines.GetSize(); }
    CString _GetLine(int nLine) const { return m_arrLines.GetAt(nLine); }
    const std::vector<unsigned long>& _GetLineColors(int nLine) const;

    void FullUpdate();
    // While set, the full recolouring that a line set with a comment
    // delimiter calls for is only noted (m_bFullUpdateDue), when the
    // colorizer is the library's sample one: its colours of a line depend
    // on the line's entry state alone, and every line set is recoloured by
    // the next full recolouring, so for a run of changes that ends with
    // one (commenting a block out or in) one recolouring gives what one
    // after each change gives. The setter calls FullUpdate when it clears
    // the flag and one is due.
    bool m_bDeferFullUpdate;
    bool m_bFullUpdateDue;
    // Makes the next FullUpdate recolour every line (as lines are read),
    // for a colorizer whose colouring changed otherwise than by its words.
    void ForgetColours();
    // Recolours from nLine forward up to a "*/" line, or backward (never
    // reaching line 0) up to a "/*" line.
    void ResetTextColor(int nLine, int bUp);
    // The length of the longest line. The store keeps a count of lines per
    // length up to date on every change, so this costs O(log n), not a scan
    // of every line. Lines must be changed through the store's operations.
    long FindMaxLineLen();
    int IsCommentOut(int nCol, int nLine);

    // Room for nLines lines in both tables, so that loading a text of known
    // size grows neither of them by doubling.
    void Reserve(int nLines);

    // Direct read access for painting and export; nLine must be valid.
    const CString& LineRef(int nLine) const { return m_arrLines.GetAt(nLine); }

private:
    template <class Put> int StoreLine(int nLine, Put put);
    std::vector<unsigned long>& Colors(int nLine);
    void ColorLine(int nLine);
    void CountLength(int nLength, int nDelta);
    void RecountLengths();

public:
    long m_nMaxLineLen;
    CStringArray m_arrLines;
    CColorizer m_DefColorizer;
    CColorizer* m_pColorizer;
    // Read directly, a line still owed a lazy recolouring shows its old
    // colours; _GetLineColors colours it first.
    std::vector<std::vector<unsigned long>> m_LineColors;

private:
    // Number of lines of each length (only lengths that occur).
    std::map<int, long> m_LengthCount;
    // How far the colours are right; drives the lazy recolouring.
    std::unique_ptr<CColourProgress> m_pProgress;
};
