// Settings, breakpoints, colours and the colorizer entry points.
#include "VelmorCtrl.h"

void CVelmor::InvalidateAll(BOOL bErase)
{
    // InvalidateRect with no window would invalidate every window.
    if (m_hWnd)
        Invalidate(bErase);
}

void CVelmor::SetStyleSetting(WORD wBits, int bOn)
{
    if (bOn)
        m_wStyle |= wBits;
    else
        m_wStyle &= (WORD)~wBits;
}

int CVelmor::GetStyleSetting(WORD wBits)
{
    return m_wStyle & wBits;
}

void CVelmor::EnableBreaks(int bEnable)
{
    SetStyleSetting(VELMOR_STYLE_BREAKS_DISABLED, !bEnable);
}

int CVelmor::IsEnableBreaks()
{
    return GetStyleSetting(VELMOR_STYLE_BREAKS_DISABLED);
}

void CVelmor::SetBreakLine(int nLine)
{
    if (nLine == m_nBreakLine)
        return;
    m_nBreakLine = nLine;
    // Timer 2 scrolls the line into view: soon for a new line, after a
    // second when the script stops on the same line again.
    if (m_hWnd)
        SetTimer(VELMOR_TIMER_RUNNINGLINE, nLine == m_nLastBreakLine ? 1000 : 20);
    if (nLine >= 0)
        m_nLastBreakLine = nLine;
}

void CVelmor::SetBreakLine(int nLine, int nMark)
{
    if (m_arrBreaks.GetSize() <= nLine)
        m_arrBreaks.SetSize(nLine + 1);
    m_arrBreaks.SetAt(nLine, (char)nMark); // a negative line raises the invalid-argument error
}

BOOL CVelmor::SetFontDef(int nPointSize, wchar_t* pszFace)
{
    if (nPointSize < 20)
        return FALSE;
    m_nFontSize = nPointSize;
    if (pszFace)
        m_strFontName = pszFace;
    if (m_hWnd)
        SetRedraw(FALSE);
    m_font.DeleteObject();
    m_font.CreatePointFont(m_nFontSize, m_strFontName);
    if (m_hWnd)
        MeasureMetrics();
    // Hit testing uses the width table: keep it in step with the new font.
    MeasureFont();
    if (m_hWnd) {
        SetRedraw(TRUE);
        Invalidate(TRUE);
    }
    return TRUE;
}

void CVelmor::SetCharXSpacing(int n)
{
    if (n > 0)
        m_nCharWidth += n;
}

void CVelmor::SetCharYSpacing(int n)
{
    if (n > 0)
        m_nLineHeight += n;
}

void CVelmor::SetBackgroundColor(COLORREF cr)
{
    m_crBackground = cr;
    InvalidateAll(TRUE);
}

void CVelmor::SetHighlightColor(COLORREF cr)
{
    m_crHighlight = cr;
    InvalidateAll(TRUE);
}

void CVelmor::SetHighlightTextColor(COLORREF cr)
{
    m_crHighlightText = cr;
    InvalidateAll(TRUE);
}

void CVelmor::Recolorize()
{
    // Asked for by the host: every line, whatever its colorizer's words.
    m_Text.ForgetColours();
    m_Text.FullUpdate();
    InvalidateAll(TRUE);
}

void CVelmor::SetColorizer(CColorizer* pColorizer)
{
    m_Text.SetColorizer(pColorizer ? pColorizer : &m_Colorizer);
    m_Text.FullUpdate();
    InvalidateAll(TRUE);
    // The built-in words take effect at each line's next recolouring.
    AddBuiltinWords(*m_Text.GetColorizer());
}

void CVelmor::AddKey(wchar_t* pszWord)
{
    m_Text.GetColorizer()->InsertKey(pszWord);
}

void CVelmor::AddOpKey(wchar_t* pszWord)
{
    m_Text.GetColorizer()->InsertOpKey(pszWord);
}

void CVelmor::AddFuncKey(wchar_t* pszWord)
{
    m_Text.GetColorizer()->InsertFuncKey(pszWord);
}

void CVelmor::InitParserVariable()
{
    // Host variables are coloured as keywords.
    for (int i = 0; i < m_arrVars.GetSize(); ++i)
        m_Text.GetColorizer()->InsertKey(const_cast<wchar_t*>(m_arrVars[i].GetString()));
}

void CVelmor::SetScriptFun(void* pFunctionList, void* pStaticNameSpace, void* pLocalFrame)
{
    m_pFunctionList = pFunctionList;
    m_pStaticNameSpace = pStaticNameSpace;
    m_pLocalFrame = pLocalFrame;
}
