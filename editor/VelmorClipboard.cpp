// The clipboard: copy, cut and paste of UTF-16 text, replacing the
// selection with a text, select all, and the enabling of those commands.
#include "VelmorCtrl.h"
#include <algorithm>
#include <climits>
#include <cstring>

namespace {

// Closes the clipboard when a paste ends, however it ends.
struct ClipboardCloser
{
    bool open;
    ~ClipboardCloser()
    {
        if (open)
            ::CloseClipboard();
    }
};

// The text from s to e (s first), lines joined with CR LF, at most nMax
// characters of it: written to dst when dst is not null; the count is
// returned either way. Lines are read in place, so a copy of the whole
// document makes no string per line.
size_t WriteRange(const CScriptText& store, CPoint s, CPoint e, wchar_t* dst, size_t nMax)
{
    const int n = (int)store._GetSize();
    size_t count = 0;
    auto put = [&](const wchar_t* p, size_t len) {
        len = std::min(len, nMax - count);
        if (dst && len)
            std::memcpy(dst + count, p, len * sizeof(wchar_t));
        count += len;
    };
    // nCount characters from column nFirst, both clamped to the line as
    // CString's Mid clamps them (the count is not shortened by a start
    // left of column 0).
    auto mid = [&](int y, int nFirst, long long nCount) {
        if (y < 0 || y >= n)
            return;
        const CString& line = store.LineRef(y);
        const int len = line.GetLength();
        const int from = std::max(0, std::min(nFirst, len));
        const long long k = std::max(0LL, std::min(nCount, (long long)(len - from)));
        put(line.GetString() + from, (size_t)k);
    };
    if (s.y == e.y) {
        mid(s.y, s.x, (long long)e.x - s.x);
        return count;
    }
    mid(s.y, s.x, LLONG_MAX);
    put(L"\r\n", 2);
    for (int y = s.y + 1; y < e.y && count < nMax; ++y) {
        mid(y, 0, LLONG_MAX);
        put(L"\r\n", 2);
    }
    mid(e.y, 0, e.x);
    return count;
}

} // namespace

// The selected text, lines joined with CR LF; only its first nMax
// characters when a caller needs no more (a selection may hold the whole
// document).
CString CVelmor::SelectedText(int nMax) const
{
    CPoint s = m_ptAnchor, e = m_ptCursor;
    if (e.y < s.y || (e.y == s.y && e.x < s.x))
        std::swap(s, e);
    const size_t cap = (size_t)std::max(nMax, 0);
    const size_t len = WriteRange(m_Text, s, e, nullptr, cap);
    CString text;
    WriteRange(m_Text, s, e, text.GetBufferSetLength((int)len), cap);
    text.ReleaseBuffer((int)len);
    return text;
}

void CVelmor::DoCopy()
{
    if (!::OpenClipboard(m_hWnd))
        return;
    // An empty selection leaves the clipboard open, as it always has; the
    // next OpenClipboard of this window succeeds all the same.
    if (m_ptAnchor == m_ptCursor)
        return;
    // Written straight into the clipboard's memory.
    CPoint s = m_ptAnchor, e = m_ptCursor;
    if (e.y < s.y || (e.y == s.y && e.x < s.x))
        std::swap(s, e);
    const size_t len = WriteRange(m_Text, s, e, nullptr, (size_t)INT_MAX);
    const size_t bytes = len * sizeof(wchar_t) + sizeof(wchar_t);
    HGLOBAL hMem = ::GlobalAlloc(GMEM_DDESHARE, bytes);
    if (!hMem)
        return;
    void* p = ::GlobalLock(hMem);
    if (!p) {
        ::GlobalFree(hMem);
        ::CloseClipboard();
        return;
    }
    WriteRange(m_Text, s, e, (wchar_t*)p, len);
    ((wchar_t*)p)[len] = 0;
    ::GlobalUnlock(hMem);
    ::EmptyClipboard();
    if (!::SetClipboardData(CF_UNICODETEXT, hMem))
        ::GlobalFree(hMem);
    ::CloseClipboard();
}

void CVelmor::DoCut()
{
    if (m_bLock)
        return;
    DrawCursor(false);
    try {
        StartAction();
        DoCopy();
        RemoveSelected();
        EndAction();
    } catch (CException* e) {
        e->Delete();
    } catch (...) {
    }
    AbandonAction();
    DrawCursor(true);
}

void CVelmor::DoPaste()
{
    if (m_bLock)
        return;
    HCURSOR hOld = ::SetCursor(::LoadCursorW(nullptr, (LPCWSTR)IDC_WAIT));
    DrawCursor(false);
    try {
        ClipboardCloser closer{ ::OpenClipboard(m_hWnd) != FALSE };
        HANDLE hData = closer.open ? ::GetClipboardData(CF_UNICODETEXT) : nullptr;
        if (hData) {
            const wchar_t* p = static_cast<const wchar_t*>(::GlobalLock(hData));
            if (p) {
                // The data need not end in a zero: read no further than its size.
                const size_t units = ::GlobalSize(hData) / sizeof(wchar_t);
                const CString text(p, (int)std::min<size_t>(wcsnlen(p, units), 0x7FFFFFF0));
                ::GlobalUnlock(hData);
                StartAction();
                _ReplaceSelText(text);
                EndAction();
                ScrollToCursor();
                DrawCursor(true);
            }
        }
    } catch (CException* e) {
        e->Delete();
    } catch (...) {
    }
    AbandonAction();
    ::SetCursor(hOld);
}

void CVelmor::ReplaceSelText(const wchar_t* pszText)
{
    StartAction();
    _ReplaceSelText(pszText);
    EndAction();
}

void CVelmor::_ReplaceSelText(const wchar_t* pszText)
{
    if (Selected())
        RemoveSelected();
    const CString text(pszText);
    const int n = text.GetLength();
    const wchar_t* p = text.GetString();
    // Every line is recoloured once at the end: the full recolouring a
    // comment delimiter calls for would otherwise run for each such line.
    const bool bWasDeferring = m_bDeferRecolour;
    m_bDeferRecolour = true;
    struct Restore
    {
        CVelmor* c;
        bool was;
        ~Restore() { c->m_bDeferRecolour = was; }
    } restore{ this, bWasDeferring };
    CString pending, tail;
    bool broken = false;
    int column = m_ptCursor.x;
    // The whole lines of the text go in as one block at the end, each
    // recorded as its own insert with the caret at its start.
    std::vector<CString> block;
    int nBlockAt = -1;
    auto addLine = [&](CString&& line, int y) {
        // Where the line really goes: past the end it is appended.
        const int at = std::min(y, (int)m_Text._GetSize() + (int)block.size());
        if (nBlockAt < 0)
            nBlockAt = at;
        m_CurFrame.AddEntry(UndoEntry{ CString(), LineInserted, at, CPoint(0, y), m_ptAnchor });
        block.push_back(std::move(line));
    };
    // Only a line feed ends a line: a carriage return stays in the text.
    for (int i = 0; i < n; ++i) {
        const wchar_t c = p[i];
        if (c == L'\t') {
            const CString tab = MakeTab(column);
            pending += tab;
            column += tab.GetLength();
        } else if (c == L'\n') {
            const int y = m_ptCursor.y;
            const bool exists = y >= 0 && y < (int)m_Text._GetSize();
            if (!broken && exists) {
                const CString line = m_Text.LineRef(y);
                tail = line.Mid(m_ptCursor.x);
                SetTextLine(line.Left(m_ptCursor.x) + pending, y, false, true);
            } else if (broken) {
                addLine(std::move(pending), y);
            } else {
                InsertTextLine(pending, y, false, false);
            }
            pending.Empty();
            column = 0;
            _SetCursorPos(0, y + 1);
            broken = true;
        } else {
            pending += c;
            ++column;
        }
    }
    const int y = m_ptCursor.y;
    if (broken) {
        CString last = pending + tail;
        const int nLast = last.GetLength();
        if (nLast)
            addLine(std::move(last), y);
        if (!block.empty())
            _InsertLineBlock(block, nBlockAt, false);
        if (nLast)
            _SetCursorPosX(nLast);
    } else if (!pending.IsEmpty()) {
        if (y >= 0 && y < (int)m_Text._GetSize()) {
            const CString line = m_Text.LineRef(y);
            SetTextLine(line.Left(m_ptCursor.x) + pending + line.Mid(m_ptCursor.x), y, false, true);
            _SetCursorPosX(m_ptCursor.x + pending.GetLength());
        } else {
            InsertTextLine(pending, (int)m_Text._GetSize(), true, false);
            _SetCursorPosX(pending.GetLength());
        }
    }
    _SetAnchorPos(m_ptCursor);
    if (!bWasDeferring)
        m_bRecolourDue = false;
    m_Text.FullUpdate();
    UpdateScrollSizes();
    InvalidateAll(TRUE);
    DrawCursor(true);
}

void CVelmor::OnCopy()
{
    DoCopy();
}

void CVelmor::OnCut()
{
    DoCut();
}

void CVelmor::OnPaste()
{
    DoPaste();
}

void CVelmor::OnSelectall()
{
    const int last = (int)m_Text._GetSize() - 1;
    _SetAnchorPos(0, 0);
    _SetCursorPos(last >= 0 ? m_Text.LineRef(last).GetLength() : 0, std::max(last, 0));
    ScrollToCursor();
    DrawCursor(true);
    InvalidateAll(FALSE);
}

void CVelmor::OnUpdateCopy(CCmdUI* pCmdUI)
{
    pCmdUI->Enable(Selected());
}

void CVelmor::OnUpdateCut(CCmdUI* pCmdUI)
{
    pCmdUI->Enable(Selected());
}

void CVelmor::OnUpdatePaste(CCmdUI* pCmdUI)
{
    BOOL bText = FALSE;
    if (::OpenClipboard(m_hWnd)) {
        bText = ::IsClipboardFormatAvailable(CF_TEXT);
        ::CloseClipboard();
    }
    pCmdUI->Enable(bText);
}

void CVelmor::OnUpdateSelectall(CCmdUI* pCmdUI)
{
    pCmdUI->Enable(TRUE);
}
