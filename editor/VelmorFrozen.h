// The control frozen while a block of lines changes.
#pragma once
#include "VelmorCtrl.h"

// Runs a loop over a block's lines with the control frozen: its lines are
// not repainted nor the caret moved on the screen one line at a time (the
// whole control is repainted when the block ends). bDrawCaret: the caret
// is then shown where the loop left it, as line-by-line drawing would.
template <class Loop> void CVelmor::FrozenBlock(Loop loop, bool bDrawCaret)
{
    const bool bWasFrozen = m_bFrozen;
    m_bFrozen = true;
    auto thaw = [&] {
        m_bFrozen = bWasFrozen;
        if (!m_bFrozen && m_bFrozenRepaint) {
            m_bFrozenRepaint = false;
            InvalidateAll(TRUE);
        }
    };
    try {
        loop();
    } catch (...) {
        thaw();
        throw;
    }
    thaw();
    if (!m_bFrozen && bDrawCaret)
        DrawCursor(true);
}
