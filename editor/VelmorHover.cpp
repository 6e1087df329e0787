// The value tip: while the host's script is held (SetRunning), resting the
// mouse on a variable shows its value, refreshed every second; resting on
// a selection asks the parent to evaluate it (message 0x8408).
#include "VelmorCtrl.h"
#include "../engine/ProcessMemory.h"
#include "../engine/Resolver.h"
#include "../engine/ScriptLookup.h"
#include <algorithm>
#include <cstring>

namespace {

// Characters of a hovered word: to the left also '.', so that pointing at
// b in a.b gives a.b while pointing at a gives a.
bool IsHoverChar(wchar_t c, bool bLeft)
{
    return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z') || (c >= L'0' && c <= L'9') || c == L'_' ||
           c == L'[' || c == L']' || (bLeft && c == L'.');
}

// UTF-8 of src, each UTF-16 unit on its own, stopping before a character
// that would not fit in cap bytes with the terminating NUL.
void EncodeUTF8(const wchar_t* src, char* dst, size_t cap)
{
    size_t n = 0;
    for (; *src; ++src) {
        const unsigned u = (unsigned)*src & 0xFFFF;
        const size_t len = u < 0x80 ? 1 : u < 0x800 ? 2 : 3;
        if (n + len >= cap)
            break;
        if (len == 1) {
            dst[n++] = (char)u;
        } else if (len == 2) {
            dst[n++] = (char)(0xC0 | (u >> 6));
            dst[n++] = (char)(0x80 | (u & 0x3F));
        } else {
            dst[n++] = (char)(0xE0 | (u >> 12));
            dst[n++] = (char)(0x80 | ((u >> 6) & 0x3F));
            dst[n++] = (char)(0x80 | (u & 0x3F));
        }
    }
    dst[n] = 0;
}

CString FromAnsi(const char* psz)
{
    CString s;
    if (!psz || !*psz)
        return s;
    const int n = ::MultiByteToWideChar(CP_ACP, 0, psz, -1, nullptr, 0);
    if (n > 1) {
        ::MultiByteToWideChar(CP_ACP, 0, psz, -1, s.GetBufferSetLength(n - 1), n);
        s.ReleaseBuffer(n - 1);
    }
    return s;
}

// The parent's answer to the evaluation message: read through checked
// reads, so a parent that answers something else than a text pointer
// gives an empty value instead of a fault.
CString ParentAnswer(LRESULT answer)
{
    std::string text;
    if (!answer || !CProcessMemory().ReadText((uint64_t)(uintptr_t)answer, 4096, text, true))
        return CString();
    return FromAnsi(text.c_str());
}

// Looks the word in a buffer up through the host's inspection interface.
class CInspectorSource : public IVelmorValueSource
{
public:
    CInspectorSource(IVelmorInspector* p, int nLine) : m_p(p), m_nLine(nLine) {}
    int FindValue(const std::string& name, long long index, CVelmorValue& value) override
    {
        return m_p->InspectVariable(m_nLine, name.c_str(), index, value) ? kFound : kNotFound;
    }

private:
    IVelmorInspector* m_p;
    int m_nLine;
};

// The tip draws a tab as a box: the structures' field lines are indented
// with spaces on the screen (the text itself keeps its tabs).
CString TipDisplayText(const CString& text)
{
    CString s = text;
    s.Replace(L"\t", L"    ");
    return s;
}

} // namespace

char* CVelmor::UnicodeToUTF8(const wchar_t* src, char* dst)
{
    if (!src)
        return nullptr;
    EncodeUTF8(src, dst, SIZE_MAX);
    return dst;
}

BOOL CVelmor::GetHighlight(CString& text)
{
    if (m_ptCursor == m_ptAnchor)
        return FALSE;
    text = SelectedText();
    return TRUE;
}

// Looks the word in m_szValueBuf up, through the host's inspection
// interface when it gave one, else in its engine's records.
int CVelmor::LookupHoverValue(int nLine)
{
    if (m_pInspector) {
        CInspectorSource source(m_pInspector, nLine);
        return VelmorResolveVariable(source, m_szValueBuf, sizeof m_szValueBuf);
    }
    return LookupScriptVariable(nLine, m_szValueBuf, m_pStaticNameSpace, m_pLocalFrame, m_pFunctionList);
}

CString CVelmor::GetVariable(int x, int y)
{
    CString result;
    if (y < 0 || y >= (int)m_Text._GetSize())
        AfxThrowInvalidArgException();
    m_nHoverLine = y;
    const CString& line = m_Text.LineRef(y);
    if (line.IsEmpty()) {
        HideValueTip();
        return result;
    }
    if (x < 0 || x >= line.GetLength())
        return result;
    const wchar_t* p = line.GetString();
    int start = x, end = x;
    while (start >= 0 && IsHoverChar(p[start], true))
        --start;
    ++start;
    while (end < line.GetLength() && IsHoverChar(p[end], false))
        ++end;
    CString word = line.Mid(start, std::max(0, end - start));
    if (!word.IsEmpty() && word[0] >= L'0' && word[0] <= L'9')
        return result;

    if (word != m_strHoverWord && !word.IsEmpty()) {
        HideValueTip();
        m_strHoverWord = word;
        m_nHoverEndCol = end;
        if (m_pFunctionList || m_pInspector) {
            memset(m_szValueBuf, 0, sizeof m_szValueBuf);
            EncodeUTF8(word, m_szValueBuf, sizeof m_szValueBuf);
            VelmorEngineLogHook(m_pLocalLog);
            if (LookupHoverValue(y))
                result = FromAnsi(m_szValueBuf);
            return result;
        }
    }
    return word;
}

// Only the flag: a tip still up stays until the mouse moves to another
// word (the hover path no longer runs) or its timer finds it hidden.
void CVelmor::SetRunning(bool bRunning)
{
    m_bRunning = bRunning;
}

void CVelmor::HideValueTip()
{
    if (!m_wndValueTip.m_hWnd)
        return;
    TOOLINFOW ti = ValueTipInfo();
    m_wndValueTip.SendMessage(TTM_TRACKACTIVATE, FALSE, (LPARAM)&ti);
    m_wndValueTip.ShowWindow(SW_HIDE);
    if (m_hWnd)
        KillTimer(VELMOR_TIMER_VALUETIP);
}

TOOLINFOW CVelmor::ValueTipInfo() const
{
    TOOLINFOW ti = {};
    ti.cbSize = TTTOOLINFOW_V2_SIZE;
    ti.hwnd = m_hWnd;
    ti.uId = VELMOR_TIP_TOOL;
    return ti;
}

bool CVelmor::CreateValueTip()
{
    if (m_wndValueTip.m_hWnd)
        return true;
    if (!m_wndValueTip.Create(this, TTS_ALWAYSTIP | TTS_NOPREFIX))
        return false;
    m_wndValueTip.SetTipBkColor(RGB(230, 230, 0));
    m_wndValueTip.SetTipTextColor(RGB(0, 0, 0));
    m_wndValueTip.SetDelayTime(10000);
    return true;
}

// Shows text in the tip beside the mouse. The tool is a tracking one, so
// the tip appears at once where the value was asked for and stays until
// the mouse moves to another word. bAddTool: the tool is added first when
// the tip has none yet (a selection's value only sets the text of a tool
// that a word's value made).
void CVelmor::ShowValueTip(const CString& text, CPoint point, bool bAddTool)
{
    TOOLINFOW ti = ValueTipInfo();
    if (bAddTool && !m_wndValueTip.SendMessage(TTM_GETTOOLCOUNT, 0, 0)) {
        ti.uFlags = TTF_TRACK | TTF_ABSOLUTE;
        GetClientRect(&ti.rect);
        ti.lpszText = const_cast<wchar_t*>(text.GetString());
        m_wndValueTip.SendMessage(TTM_ADDTOOLW, 0, (LPARAM)&ti);
        m_wndValueTip.SetMaxTipWidth(32767); // line feeds break lines
    }
    if (m_wndValueTip.IsWindowVisible())
        return;
    m_wndValueTip.UpdateTipText(TipDisplayText(text), this, VELMOR_TIP_TOOL);
    POINT pt = {point.x, point.y + m_nLineHeight};
    ::ClientToScreen(m_hWnd, &pt);
    m_wndValueTip.SendMessage(TTM_TRACKPOSITION, 0, MAKELPARAM(pt.x, pt.y));
    m_wndValueTip.Activate(TRUE);
    m_wndValueTip.SendMessage(TTM_TRACKACTIVATE, TRUE, (LPARAM)&ti);
    m_wndValueTip.Update();
}

void CVelmor::HoverAt(int col, int nLine, CPoint point)
{
    // The position is the one clamped to the text: over the margin it is a
    // line's first column, below the last line a column of the last line.
    if (nLine < 0 || nLine >= (int)m_Text._GetSize())
        return; // no text at all
    CString text;
    if (InSelection(col, nLine) && m_ptCursor != m_ptAnchor) {
        if (m_nBreakLine < 0)
            return;
        // The parent evaluates the selection (its first 512 characters);
        // "1.000000" is shown as 1.
        text = SelectedText(512);
        memset(m_szValueBuf, 0, sizeof m_szValueBuf);
        EncodeUTF8(text, m_szValueBuf, sizeof m_szValueBuf);
        CWnd* pParent = GetParent();
        CString value = ParentAnswer(pParent ? pParent->SendMessage(VELMOR_WM_EVALUATE, 0, 0) : 0);
        const int at = value.Find(L".000000");
        if (at > 0 && at == value.GetLength() - 7)
            value = value.Left(at);
        // Only a tip that exists shows it: the selection does not make one.
        if (m_wndValueTip.m_hWnd)
            ShowValueTip(value, point, false);
        return;
    }
    text = GetVariable(col, nLine);
    if (!CreateValueTip())
        return;
    if (text.IsEmpty()) {
        HideValueTip();
        return;
    }
    const bool bWasVisible = m_wndValueTip.IsWindowVisible() != FALSE;
    ShowValueTip(text, point, true);
    if (bWasVisible)
        return;
    RefreshValueTip();
    SetTimer(VELMOR_TIMER_VALUETIP, 1000, nullptr);
}

// Timer 1: the value under the mouse again, as the script has moved on.
// A name no longer found shows bare.
void CVelmor::RefreshValueTip()
{
    if (!m_wndValueTip.m_hWnd || !m_wndValueTip.IsWindowVisible()) {
        KillTimer(VELMOR_TIMER_VALUETIP);
        return;
    }
    memset(m_szValueBuf, 0, sizeof m_szValueBuf);
    EncodeUTF8(m_strHoverWord, m_szValueBuf, sizeof m_szValueBuf);
    LookupHoverValue(m_nHoverLine);
    m_wndValueTip.UpdateTipText(TipDisplayText(FromAnsi(m_szValueBuf)), this, VELMOR_TIP_TOOL);
    m_wndValueTip.Update();
}

