// The control frozen while a block of lines changes.
#pragma once
#include "VelmorCtrl.h"
#include "../text/WordTable.h"

// Runs a loop over a block's lines with the control frozen: its lines are
// not repainted nor the caret moved on the screen one line at a time (the
// whole control is repainted when the block ends). bDrawCaret: the caret
// is then shown where the loop left it, as line-by-line drawing would.
// bRecolouredAfter: the caller recolours the whole text after the loop,
// so the recolourings comment delimiters ask for can wait for its end.
// The lines it colours look their words up in one table (no word set
// changes inside the loop).
template <class Loop> void CVelmor::FrozenBlock(Loop loop, bool bDrawCaret, bool bRecolouredAfter)
{
    const bool bWasFrozen = m_bFrozen, bWasDeferring = m_Text.m_bDeferFullUpdate;
    const bool bWasCached = m_bFrozenClient;
    if (!m_bFrozenClient && m_bInAction && m_hWnd) {
        GetClientRect(&m_rcFrozenClient);
        m_bFrozenClient = true;
    }
    m_bFrozen = true;
    m_Text.m_bDeferFullUpdate = bWasDeferring || bRecolouredAfter;
    auto thaw = [&] {
        m_bFrozen = bWasFrozen;
        m_bFrozenClient = bWasCached;
        m_Text.m_bDeferFullUpdate = bWasDeferring;
        if (!bWasDeferring && m_Text.m_bFullUpdateDue) {
            m_Text.m_bFullUpdateDue = false;
            m_Text.FullUpdate();
        }
        if (!m_bFrozen && m_bFrozenRepaint) {
            m_bFrozenRepaint = false;
            InvalidateAll(TRUE);
        }
    };
    {
        CColourBatch batch;
        try {
            loop();
        } catch (...) {
            thaw();
            throw;
        }
        thaw();
    }
    if (!m_bFrozen && bDrawCaret)
        DrawCursor(true);
}
