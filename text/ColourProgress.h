// How far the colours of a CScriptText are right, so that a full
// recolouring can be done lazily: only from the first line whose colours
// may differ from a full recolouring, only until the block-comment state
// meets the one the old colours were made with, and only as far as the
// colours are read. Lines further on are coloured when first read, with
// exactly the colours the recolouring would have given them at once.
//
// Per line it keeps whether the line's colours are what the colorizer
// makes of its text from a known entry state ("chained" colours), that
// entry state and the state the line leaves. A line is clean when it is
// chained and its entry state is the state its predecessor leaves (false
// for line 0); a text whose lines are all clean is coloured exactly as a
// full recolouring colours it. Changes made other than by a recolouring
// (a set line, an inserted line) leave their line unchained, and the
// lines next to it possibly unclean; m_nFirstDirty..m_nLastDirty bounds
// the lines that may be unclean.
//
// An outstanding recolouring is the watermark m_nPending with its entry
// state: lines before it show their stored colours; from it on, a line
// shows what the recolouring begun at the watermark gives it. Reading a
// line at or past the watermark moves the watermark past it; a change at
// or past it first moves it past the changed line, so that the lines after
// the change still receive the colours of the text they were recoloured
// for. The recolouring ends (no watermark) when it reaches a chained line
// whose entry state it matches and past which no line is unclean.
//
// Moving the watermark over lines that are not read (a jump to the end of
// the text, a change far below it) follows the block-comment state alone,
// where the colorizer is one of the library's: those lines are left owed,
// chained with their entry state but coloured only when read.
//
// The colorizer's own in-comment flag is left, after a full recolouring,
// at the state the last line leaves. When the recolouring is outstanding
// that state is owed and found (without colouring) when the flag is next
// needed: before a line is inserted with colouring, or before the text it
// depends on goes away.
#pragma once
#include "../framework/afxstr.h"
#include "WordTable.h"
#include <cstdint>
#include <set>
#include <typeinfo>
#include <vector>

class CScriptText;
class CColorizer;

class CColourProgress
{
public:
    // Before line nLine's colours are read.
    void Read(CScriptText& text, int nLine)
    {
        if (m_bPending && nLine >= m_nPending)
            Advance(text, nLine);
        if (m_Lines[(size_t)nLine] & kOwed)
            Compute(text, nLine);
    }
    // Before line nLine gets text whose colours do not build on its old
    // ones (the sample colorizer colours every line afresh): the
    // recolouring passes the line as Read would, without colouring it.
    void Pass(CScriptText& text, int nLine)
    {
        if (m_bPending && nLine >= m_nPending)
            Advance(text, nLine, m_kind == kHost);
    }
    // Before lines from nLine on change: the recolouring passes the lines
    // before it (which may stay owed), so it goes on after the change as
    // it would have had the change come after it.
    void Settle(CScriptText& text, int nLine)
    {
        if (m_bPending && nLine > m_nPending)
            Advance(text, nLine - 1);
    }
    // Every line gets the colours it shows.
    void SettleAll(CScriptText& text);
    // Before the colorizer's flag is read, or before the text that an owed
    // flag depends on goes away.
    void SettleFlag(CScriptText& text);
    // Another colorizer takes over: the next recolouring keeps no line's
    // colours, even when the new one lives where the old one did.
    void ForgetColorizer()
    {
        m_pSnapFor = nullptr;
        m_snapSeen = CWordsIdentity();
    }
    // The store cleared the colorizer's flag: no state is owed any more.
    void FlagCleared() { m_bFlagOwed = false; }

    // Line nLine was inserted, or coloured other than by a recolouring.
    void Inserted(int nLine, int nLines);
    void Changed(int nLine, int nLines);
    void Removed(int nLine, int nLines);
    // The same for nCount lines inserted as a block from nLine on, or
    // removed from nLine on, at once (nLines: the count afterwards); the
    // marks come out as those of one line at a time.
    void InsertedBlock(int nLine, int nCount, int nLines);
    void RemovedBlock(int nLine, int nCount, int nLines);
    // While the store removes lines one at a time without moving the lines
    // after them each time (CScriptText::_RemoveLinesAlternate), its arrays
    // and these marks hold a gap of nSize spent slots at nAt: the line
    // counted i lies at i before the gap, at i + nSize past it. Only the
    // recolouring's walk (Settle) reads lines meanwhile.
    void SetGap(int nAt, int nSize);
    // As Removed, for line nLine lying at nAt across the gap: its mark goes
    // into the gap and, when bMoved, the next line's (at nAt + 1) moves
    // down into nLine.
    void RemovedInGap(int nLine, int nAt, bool bMoved, int nLines);
    // The gap's slots go: the marks are the text's lines again.
    void CloseGap();
    // nCount lines inserted one at a time at descending lines, the first at
    // nLine + nCount - 1 and each next one at the line above the one before:
    // they end at nLine, nLine + 2, ... (nLines: the count afterwards).
    void InsertedAlternate(int nLine, int nCount, int nLines);
    // Whether lines inserted with colouring may be left owed their colours
    // (OweInserted): the colorizer is one of the library's, with the words
    // the owed colours are made with.
    bool CanOweInserted(const CColorizer& c);
    // Inserted lines nFirst, nFirst + nStride, ... (nCount of them, marked
    // by InsertedBlock or InsertedAlternate) get the colours that colouring
    // them one after the other from the colorizer's flag would give, last
    // first when bLastFirst: each is left owed with the state it would have
    // been entered with, and the flag ends where that colouring leaves it.
    void OweInserted(CScriptText& text, int nFirst, int nCount, int nStride, bool bLastFirst);
    // Whether a line the store sets may be left owed the colours it gives
    // it (OweSet): the colorizer is the sample one (which colours a line
    // afresh), with the words the owed colours are made with.
    bool CanOweSet(const CColorizer& c);
    // Line nLine, just set and marked Changed, is owed either the colours
    // the colorizer gives it from outside a comment, or (bFill) a fill of
    // the open-comment colour. bShut: those colours are known not to end
    // inside an open comment.
    void OweSet(int nLine, bool bFill, bool bShut);
    // Whether line nLine's colours end inside an open block comment, when
    // its owed colours tell without colouring it (false: not known).
    bool OwedOpenEnd(int nLine, bool& bOpen) const;
    // Every line holds colours not made by a recolouring (a copied or an
    // emptied text).
    void Forget(int nLines);
    void Reserve(int nLines) { m_Lines.reserve((size_t)nLines); }

    // Recolours the whole text: lazily when the colorizer is line-local,
    // else at once.
    void FullUpdate(CScriptText& text);

private:
    // kOwed: the colours are made when the line is read, from kEntry. A
    // chained line is owed the recolouring's colours; an unchained one was
    // inserted with colouring and is owed the colours that gave it.
    // kFill (with kOwed, unchained): owed a fill of the open-comment colour;
    // kShut (with kOwed, unchained): the colours owed do not end inside an
    // open comment.
    enum : uint8_t { kChained = 1, kEntry = 2, kExit = 4, kOwed = 8, kFill = 16, kShut = 32 };
    static bool Entry(uint8_t m) { return (m & kEntry) != 0; }
    static bool Exit(uint8_t m) { return (m & kExit) != 0; }
    // The line is chained and was coloured from this entry state.
    static bool Holds(uint8_t m, bool bState) { return (m & kChained) && Entry(m) == bState; }

    // Moves the watermark past line nLast, colouring nLast itself unless
    // bColourLast is false (then it is left owed).
    void Advance(CScriptText& text, int nLast, bool bColourLast = true);
    void Compute(CScriptText& text, int nLine);
    void Finished(int nFrom, bool bCleanFrom, bool bState, int nLines);
    void Dirty(int nFrom, int nTo, int nLines);
    // The watermark and the unclean range follow nCount lines inserted at
    // nLine (marks at or below it move down).
    void MoveMarksDown(int nLine, int nCount);
    // The watermark and the unclean range after line nLine was removed
    // (nLines: the count afterwards), the line that moved up into nLine
    // marked unclean.
    void MarksUpAfterRemoval(int nLine, int nLines);
    bool SnapshotCurrent(const CColorizer& c) const;
    // The same, remembered for the rest of a colouring batch, in which the
    // words cannot change unseen (a block asks for every line it changes).
    bool SnapshotCurrentInBatch(const CColorizer& c);
    // The flag a host's line-local colorizer leaves after line nLine.
    bool ExitAfter(CScriptText& text, int nLine, bool bState);

    // Per line: kChained, kEntry, kExit, kOwed, kFill, kShut.
    std::vector<uint8_t> m_Lines;
    // A gap in the store's arrays and m_Lines (see SetGap); At(i): where
    // line i lies.
    int m_nGapAt = 0, m_nGapSize = 0;
    size_t At(int i) const { return (size_t)(i < m_nGapAt ? i : i + m_nGapSize); }
    // Lines outside [m_nFirstDirty, m_nLastDirty] are clean.
    int m_nFirstDirty = 0, m_nLastDirty = -1;
    // The outstanding recolouring: lines from m_nPending on, entered with
    // m_bPendingEntry.
    bool m_bPending = false;
    int m_nPending = 0;
    bool m_bPendingEntry = false;
    // The colorizer's flag is owed the state after the last line.
    bool m_bFlagOwed = false;

    // The colorizer and word sets that chained colours were made with; an
    // outstanding recolouring colours with these sets, as it would have
    // coloured when it was asked for.
    const CColorizer* m_pSnapFor = nullptr;
    // The words last found to be the snapshot's in the open batch.
    CWordsIdentity m_snapSeen;
    const std::type_info* m_pSnapType = nullptr;
    std::set<CString> m_snapKeys, m_snapOps, m_snapFuncs;
    bool m_bSnapNoCase = false;
    // The colorizer of the outstanding recolouring: CSampleColorizer, the
    // base CColorizer (no comments), or a host's line-local one.
    enum Kind { kSample, kBase, kHost } m_kind = kHost;
    // Scratch colours for finding the flag a host's colorizer leaves.
    std::vector<unsigned long> m_scratch;
};
