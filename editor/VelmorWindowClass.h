// The control behind the "VelmorEdit" window class: a CVelmor that the
// window owns, answering the messages of Velmor.h. Internal to the library.
#pragma once
#include "VelmorCtrl.h"
#include "Velmor.h"
#include <vector>

// Answers the value tip's questions through the host's C callbacks
// (VELMORINSPECTOR) and the parent's VEN_INSPECT notification.
class CInspectorBridge : public IVelmorInspector
{
public:
    explicit CInspectorBridge(CVelmor* pOwner) : m_pOwner(pOwner), m_table() {}
    void SetTable(const VELMORINSPECTOR& table) { m_table = table; }
    bool InspectVariable(int nLine, const char* pszName, long long nIndex, CVelmorValue& value) override;

private:
    CVelmor* m_pOwner;
    VELMORINSPECTOR m_table;
};

class CVelmorWindow : public CVelmor
{
public:
    explicit CVelmorWindow(const CREATESTRUCTW& cs);

    // One message through the table, with every exception caught: the
    // window procedure and the direct-call function both come here.
    LRESULT Message(UINT uMsg, WPARAM wParam, LPARAM lParam);
    static LRESULT WINAPI DirectCall(void* pInstance, UINT uMsg, WPARAM wParam, LPARAM lParam);
    void NotifyParent(UINT nCode) override;

    // Sets the status and gives the message's error value.
    LRESULT Fail(int nStatus, LRESULT lResult = VELMOR_ERROR)
    {
        m_nStatus = nStatus;
        m_bFailed = true;
        return lResult;
    }

    typedef LRESULT (*Handler)(CVelmorWindow& w, WPARAM wParam, LPARAM lParam);
    struct Entry
    {
        UINT uMsg;
        Handler pfn;
    };

protected:
    LRESULT WindowProc(UINT uMsg, WPARAM wParam, LPARAM lParam) override;
    void PostNcDestroy() override { delete this; }

private:
    // The handler of a message, or null when the control's own message
    // map takes it (keys, mouse, painting ...).
    static Handler Find(UINT uMsg);
    static const Entry* Table(size_t& nCount);
    LRESULT Dispatch(UINT uMsg, WPARAM wParam, LPARAM lParam);
    void AfterCreate();
    void NotifySelection();
    void NotifyMarginClick(LPARAM lParam);
    void NotifyBreakpoint(int nLine, int nMark);
    void SetEventMask(UINT uMask);
    LRESULT SendNotify(NMHDR& hdr, UINT uCode);

    // Helpers of the handlers (VelmorMessages.cpp).
    bool LineOk(WPARAM wParam, bool bAllowEnd = false);
    LRESULT CopyOut(const CString& s, WPARAM cch, LPARAM buffer);
    LRESULT CopyOut(const CString& s, const VELMORTEXT* pText);
    long long OffsetOf(int nColumn, int nLine);
    CPoint PositionOf(long long nOffset);
    void EditLines(int nKind, int nLine, const wchar_t* pszText);

    int m_nStatus;
    UINT m_uEventMask; // VELMOR_EVENT_...: the notifications sent
    int m_nCreateStyle;
    CInspectorBridge m_bridge;
    // The selection last reported by VEN_SELCHANGE.
    CPoint m_ptSentCaret, m_ptSentAnchor;
    bool m_bFailed; // the message being answered failed
};
