// The context menu: the edit commands and, outside compact mode, the words
// of the colorizer's three sets to insert at the caret.
#include "VelmorCtrl.h"

namespace {

// The placeholder item each word submenu carries in the resources.
const UINT kPlaceholderPos = 0;

} // namespace

void CVelmor::OnContextMenu(CWnd* /*pWnd*/, CPoint point)
{
    SetFocus();
    CMenu menu;
    if (!menu.LoadMenu(m_bNoFrame ? IDR_VELMOR_MENU_COMPACT : IDR_VELMOR_MENU))
        return;
    CMenu* pPopup = menu.GetSubMenu(0);
    if (!pPopup)
        return;
    if (!m_bNoFrame) {
        // Compact mode shows its items as the resources have them, all enabled.
        CColorizer* pColorizer = m_Text.GetColorizer();
        if (pColorizer) {
            AppendWordItems(pPopup->GetSubMenu(0), pColorizer->GetStringSet(), ID_VELMOR_KEY_BASE);
            AppendWordItems(pPopup->GetSubMenu(1), pColorizer->GetStringOpSet(), ID_VELMOR_OPER_BASE);
            AppendWordItems(pPopup->GetSubMenu(2), pColorizer->GetStringFuncSet(), ID_VELMOR_FUNC_BASE);
        }
        UpdateMenuItems(pPopup, FALSE);
    }
    // A menu asked for from the keyboard (Shift+F10, the menu key) has no
    // point: it opens below the caret.
    if (point.x == -1 && point.y == -1) {
        POINT pt = { 0, 0 };
        if (m_bCaretCreated)
            ::GetCaretPos(&pt);
        pt.y += m_nLineHeight;
        ::ClientToScreen(m_hWnd, &pt);
        point.SetPoint(pt.x, pt.y);
    }
    pPopup->TrackPopupMenu(TPM_RIGHTBUTTON, point.x, point.y, this);
}

// Replaces a word submenu's placeholder by the non-empty words of a set, in
// the set's order, numbered from nBase.
void CVelmor::AppendWordItems(CMenu* pMenu, const std::set<CString>& words, UINT nBase)
{
    if (!pMenu)
        return;
    pMenu->RemoveMenu(kPlaceholderPos, MF_BYPOSITION);
    UINT i = 0;
    for (const CString& word : words) {
        if (word.IsEmpty())
            continue;
        pMenu->AppendMenu(MF_STRING, nBase + i, word.GetString());
        ++i;
    }
}

void CVelmor::UpdateMenuItems(CMenu* pMenu, BOOL bDisableIfNoHandler)
{
    if (!pMenu)
        return;
    CCmdUI state;
    state.m_hMenu = pMenu->GetSafeHmenu();
    state.m_nIndexMax = pMenu->GetMenuItemCount();
    if (state.m_nIndexMax == (UINT)-1)
        state.m_nIndexMax = 0;
    for (state.m_nIndex = 0; state.m_nIndex < state.m_nIndexMax; ++state.m_nIndex) {
        state.m_nID = pMenu->GetMenuItemID((int)state.m_nIndex);
        if (state.m_nID != (UINT)-1)
            state.DoUpdate(this, bDisableIfNoHandler);
        else
            UpdateMenuItems(pMenu->GetSubMenu((int)state.m_nIndex), bDisableIfNoHandler);
    }
}

// Inserts the word at nIndex of the set, counting every entry (an empty one
// too), followed by its suffix; replaces the selection. No undo step of its
// own and no read-only check: the lines it changes stay in the current
// undo frame.
void CVelmor::InsertSetWord(const std::set<CString>& words, int nIndex, const wchar_t* pszSuffix)
{
    if (nIndex < 0 || nIndex >= (int)words.size())
        return;
    auto it = words.begin();
    std::advance(it, nIndex);
    if (Selected())
        RemoveSelected();
    CString text = *it + pszSuffix;
    InsertString(text, true);
}

void CVelmor::OnKeyInput(UINT nID)
{
    if (CColorizer* pColorizer = m_Text.GetColorizer())
        InsertSetWord(pColorizer->GetStringSet(), (int)nID - (int)ID_VELMOR_KEY_BASE, L" ");
}

void CVelmor::OnOperInput(UINT nID)
{
    if (CColorizer* pColorizer = m_Text.GetColorizer())
        InsertSetWord(pColorizer->GetStringOpSet(), (int)nID - (int)ID_VELMOR_OPER_BASE, L" ");
}

void CVelmor::OnFuncInput(UINT nID)
{
    if (CColorizer* pColorizer = m_Text.GetColorizer())
        InsertSetWord(pColorizer->GetStringFuncSet(), (int)nID - (int)ID_VELMOR_FUNC_BASE, L"()");
}
