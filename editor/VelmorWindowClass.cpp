// The "VelmorEdit" window class: registration, the window that owns its
// control, the status of the last failed message, the direct-call entry
// and the WM_NOTIFY notifications. The messages themselves are a table in
// VelmorMessages.cpp.
#include "VelmorWindowClass.h"
#include <cstring>
#include <new>

namespace {

const DWORD kDefaultFontSize = 100; // tenths of a point
const wchar_t kDefaultFontFace[] = L"Courier New";

bool g_bRegistered = false;

// The class's own procedure sees a window only until its control is
// attached at WM_NCCREATE; from then on the framework's procedure
// (AfxWndProc) is the window's, and this one is its default procedure.
LRESULT CALLBACK VelmorClassProc(HWND hWnd, UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    if (uMsg != WM_NCCREATE || CWnd::FromHandlePermanent(hWnd))
        return ::DefWindowProcW(hWnd, uMsg, wParam, lParam);
    CVelmorWindow* pCtl = nullptr;
    try {
        pCtl = new CVelmorWindow(*reinterpret_cast<CREATESTRUCTW*>(lParam));
        if (!pCtl->SubclassWindow(hWnd)) {
            delete pCtl;
            return FALSE;
        }
    } catch (CException* e) {
        e->Delete();
        delete pCtl;
        return FALSE;
    } catch (...) {
        delete pCtl;
        return FALSE;
    }
    return AfxWndProc(hWnd, uMsg, wParam, lParam);
}

} // namespace

extern "C" BOOL WINAPI VelmorRegisterClasses(HINSTANCE hInstance)
{
    WNDCLASSEXW wc;
    HINSTANCE hDll = AfxGetInstanceHandle();
    if (::GetClassInfoExW(hDll, VELMOR_CLASSNAME, &wc))
        return TRUE;
    ZeroMemory(&wc, sizeof wc);
    wc.cbSize = sizeof wc;
    // Global: hosts create it with their own instance handle.
    wc.style = CS_DBLCLKS | CS_GLOBALCLASS;
    wc.lpfnWndProc = VelmorClassProc;
    wc.hInstance = hDll;
    wc.hCursor = ::LoadCursorW(nullptr, (LPCWSTR)IDC_IBEAM);
    wc.lpszClassName = VELMOR_CLASSNAME;
    if (!::RegisterClassExW(&wc))
        return FALSE;
    g_bRegistered = true;
    return TRUE;
}

extern "C" BOOL WINAPI VelmorUnregisterClasses(void)
{
    g_bRegistered = false;
    return ::UnregisterClassW(VELMOR_CLASSNAME, AfxGetInstanceHandle());
}

extern "C" BOOL WINAPI DllMain(HINSTANCE hInstance, DWORD dwReason, LPVOID)
{
    if (dwReason == DLL_PROCESS_ATTACH)
        VelmorRegisterClasses(hInstance);
    else if (dwReason == DLL_PROCESS_DETACH && g_bRegistered)
        VelmorUnregisterClasses();
    return TRUE;
}

// ---------------------------------------------------------------------------
// The window's control

CVelmorWindow::CVelmorWindow(const CREATESTRUCTW& cs)
    : m_nStatus(VELMOR_STATUS_OK), m_uEventMask(VELMOR_EVENT_ALL), m_nCreateStyle((int)cs.style), m_bridge(this), m_bFailed(false)
{
    // What the creating constructors set up before their window exists.
    m_crBackground = 0x00FFFFFF;
    m_nID = (int)(INT_PTR)cs.hMenu;
    m_nTabSize = 4;
    m_hAccel = ::LoadAcceleratorsW(AfxGetResourceHandle(), MAKEINTRESOURCEW(IDR_VELMOR_ACCEL));
    m_nFontSize = kDefaultFontSize;
    m_strFontName = kDefaultFontFace;
    m_font.CreatePointFont(kDefaultFontSize, kDefaultFontFace);
}

void CVelmorWindow::AfterCreate()
{
    // As the creating constructors do once the window exists.
    Reset();
    m_bNoFrame = (m_nCreateStyle & VES_COMPACT) != 0;
    SetReadOnly((m_nCreateStyle & VES_READONLY) != 0);
    SetLineNumber((m_nCreateStyle & VES_LINENUMBERS) != 0);
    UseKeyboardAccelerators((m_nCreateStyle & VES_NOACCELERATORS) == 0);
    m_ptSentCaret = GetCursorPos();
    m_ptSentAnchor = GetAnchorPos();
}

LRESULT CVelmorWindow::WindowProc(UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    if (uMsg == WM_LBUTTONDOWN)
        NotifyMarginClick(lParam);
    LRESULT r = Message(uMsg, wParam, lParam);
    if (uMsg == WM_CREATE && r != -1)
        Message(VEM_FIRST - 1, 0, 0); // AfterCreate, with its exceptions caught
    return r;
}

LRESULT WINAPI CVelmorWindow::DirectCall(void* pInstance, UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    CVelmorWindow* pCtl = static_cast<CVelmorWindow*>(pInstance);
    if (!pCtl)
        return VELMOR_ERROR;
    // Messages of the control's own message map want the framework's
    // dispatch (Default() reads the current message): they go the window's way.
    if (!Find(uMsg))
        return ::SendMessageW(pCtl->m_hWnd, uMsg, wParam, lParam);
    return pCtl->Message(uMsg, wParam, lParam);
}

LRESULT CVelmorWindow::Message(UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    LRESULT r = 0;
    const bool bOuterFailed = m_bFailed;
    m_bFailed = false;
    try {
        if (uMsg == VEM_FIRST - 1)
            AfterCreate();
        else
            r = Dispatch(uMsg, wParam, lParam);
    } catch (CInvalidArgException* e) {
        e->Delete();
        r = Fail(VELMOR_STATUS_BADVALUE);
    } catch (CMemoryException* e) {
        e->Delete();
        r = Fail(VELMOR_STATUS_NOMEMORY);
    } catch (CException* e) {
        e->Delete();
        r = Fail(VELMOR_STATUS_FAILURE);
    } catch (std::bad_alloc&) {
        r = Fail(VELMOR_STATUS_NOMEMORY);
    } catch (...) {
        r = Fail(VELMOR_STATUS_FAILURE);
    }
    const bool bFailed = m_bFailed;
    m_bFailed = bOuterFailed;
    if (bFailed && !Find(uMsg)) {
        // A message of the control's own map failed: what the framework
        // gives such a message.
        r = uMsg == WM_CREATE ? -1 : 0;
        if (uMsg == WM_PAINT)
            ::ValidateRect(m_hWnd, nullptr);
    }
    if (m_hWnd && uMsg != WM_NCDESTROY && uMsg != WM_DESTROY)
        NotifySelection();
    return r;
}

LRESULT CVelmorWindow::Dispatch(UINT uMsg, WPARAM wParam, LPARAM lParam)
{
    if (Handler pfn = Find(uMsg))
        return pfn(*this, wParam, lParam);
    return CVelmor::WindowProc(uMsg, wParam, lParam);
}

CVelmorWindow::Handler CVelmorWindow::Find(UINT uMsg)
{
    // The control's messages by number; the standard ones by a short search.
    static Handler byNumber[VEM_LAST - VEM_FIRST + 1];
    static std::vector<Entry> standard;
    static bool bReady = false;
    if (!bReady) {
        size_t n = 0;
        const Entry* table = Table(n);
        for (size_t i = 0; i < n; ++i) {
            if (table[i].uMsg >= VEM_FIRST && table[i].uMsg <= VEM_LAST)
                byNumber[table[i].uMsg - VEM_FIRST] = table[i].pfn;
            else
                standard.push_back(table[i]);
        }
        bReady = true;
    }
    if (uMsg >= VEM_FIRST && uMsg <= VEM_LAST)
        return byNumber[uMsg - VEM_FIRST];
    for (const Entry& e : standard)
        if (e.uMsg == uMsg)
            return e.pfn;
    return nullptr;
}

// ---------------------------------------------------------------------------
// Notifications

LRESULT CVelmorWindow::SendNotify(NMHDR& hdr, UINT uCode)
{
    HWND hParent = m_hWnd ? ::GetParent(m_hWnd) : nullptr;
    if (!hParent)
        return 0;
    hdr.hwndFrom = m_hWnd;
    hdr.idFrom = (UINT_PTR)(UINT)m_nID;
    hdr.code = uCode;
    return ::SendMessageW(hParent, WM_NOTIFY, (WPARAM)(UINT)m_nID, (LPARAM)&hdr);
}

void CVelmorWindow::NotifyParent(UINT nCode)
{
    CVelmor::NotifyParent(nCode);
    if (nCode != EN_CHANGE)
        return;
    // The lines the text primitives marked since the last report.
    const ChangeSpan span = m_change;
    m_change.bAny = false;
    if (!span.bAny || !(m_uEventMask & VELMOR_EVENT_CHANGE))
        return;
    NMVELMORCHANGE nm;
    ZeroMemory(&nm, sizeof nm);
    nm.nFirstLine = span.nFirst;
    nm.nLastLine = span.nLast;
    nm.nLinesAdded = span.nAdded;
    nm.nLineCount = GetLineCount();
    SendNotify(nm.hdr, VEN_CHANGE);
}

void CVelmorWindow::SetEventMask(UINT uMask)
{
    m_uEventMask = uMask;
}

void CVelmorWindow::NotifySelection()
{
    const CPoint caret = GetCursorPos(), anchor = GetAnchorPos();
    if (caret == m_ptSentCaret && anchor == m_ptSentAnchor)
        return;
    m_ptSentCaret = caret;
    m_ptSentAnchor = anchor;
    if (!(m_uEventMask & VELMOR_EVENT_SELCHANGE))
        return;
    NMVELMORSELCHANGE nm;
    ZeroMemory(&nm, sizeof nm);
    nm.sel.cbSize = sizeof nm.sel;
    nm.sel.nAnchorColumn = anchor.x;
    nm.sel.nAnchorLine = anchor.y;
    nm.sel.nCaretColumn = caret.x;
    nm.sel.nCaretLine = caret.y;
    SendNotify(nm.hdr, VEN_SELCHANGE);
}

void CVelmorWindow::NotifyMarginClick(LPARAM lParam)
{
    const int x = (short)LOWORD(lParam), y = (short)HIWORD(lParam);
    if (!(m_uEventMask & VELMOR_EVENT_MARGINCLICK) || x < 0 || x >= m_nLeftMargin || y < 0 || m_nLineHeight <= 0)
        return;
    const int line = FirstVisibleLine() + y / m_nLineHeight;
    if (line >= GetLineCount())
        return;
    NMVELMORLINE nm;
    ZeroMemory(&nm, sizeof nm);
    nm.nLine = line;
    nm.nMark = line < m_arrBreaks.GetSize() ? m_arrBreaks[line] : 0;
    SendNotify(nm.hdr, VEN_MARGINCLICK);
}

void CVelmorWindow::NotifyBreakpoint(int nLine, int nMark)
{
    if (!(m_uEventMask & VELMOR_EVENT_BREAKPOINT))
        return;
    NMVELMORLINE nm;
    ZeroMemory(&nm, sizeof nm);
    nm.nLine = nLine;
    nm.nMark = nMark;
    SendNotify(nm.hdr, VEN_BREAKPOINT);
}

// ---------------------------------------------------------------------------
// The value tip's answers

bool CInspectorBridge::InspectVariable(int nLine, const char* pszName, long long nIndex, CVelmorValue& value)
{
    // The parent first (VEN_INSPECT), then the callback table.
    HWND hParent = m_pOwner->m_hWnd ? ::GetParent(m_pOwner->m_hWnd) : nullptr;
    if (hParent) {
        NMVELMORINSPECT nm;
        ZeroMemory(&nm, sizeof nm);
        nm.hdr.hwndFrom = m_pOwner->m_hWnd;
        nm.hdr.idFrom = (UINT_PTR)(UINT)m_pOwner->m_nID;
        nm.hdr.code = VEN_INSPECT;
        nm.nLine = nLine;
        nm.nIndex = nIndex;
        nm.pszName = pszName;
        nm.hValue = reinterpret_cast<HVELMORVALUE>(&value);
        if (::SendMessageW(hParent, WM_NOTIFY, (WPARAM)(UINT)m_pOwner->m_nID, (LPARAM)&nm))
            return true;
    }
    if (m_table.pfnInspect)
        return m_table.pfnInspect(m_table.pContext, nLine, pszName, nIndex,
                                  reinterpret_cast<HVELMORVALUE>(&value)) != FALSE;
    return false;
}

namespace {
CVelmorValue* ValueOf(HVELMORVALUE h)
{
    return reinterpret_cast<CVelmorValue*>(h);
}
} // namespace

extern "C" BOOL WINAPI VelmorValueSetInt(HVELMORVALUE hValue, int nType, LONGLONG n)
{
    if (!hValue)
        return FALSE;
    ValueOf(hValue)->nType = nType;
    ValueOf(hValue)->nInt = n;
    return TRUE;
}

extern "C" BOOL WINAPI VelmorValueSetReal(HVELMORVALUE hValue, int nType, double d)
{
    if (!hValue)
        return FALSE;
    ValueOf(hValue)->nType = nType;
    ValueOf(hValue)->dValue = d;
    return TRUE;
}

extern "C" BOOL WINAPI VelmorValueSetString(HVELMORVALUE hValue, const char* pszUtf8)
{
    if (!hValue || !pszUtf8)
        return FALSE;
    try {
        ValueOf(hValue)->str = pszUtf8;
    } catch (...) {
        return FALSE;
    }
    ValueOf(hValue)->nType = VELMOR_T_STRING;
    return TRUE;
}

extern "C" BOOL WINAPI VelmorValueSetArray(HVELMORVALUE hValue, int nElemType, LONGLONG nLength, LONGLONG nFirst)
{
    if (!hValue || nLength < 0 || nFirst < 0)
        return FALSE;
    CVelmorValue* v = ValueOf(hValue);
    v->nType = VELMOR_T_ARRAY;
    v->nElemType = nElemType;
    v->nLength = nLength;
    v->nFirst = nFirst;
    return TRUE;
}

extern "C" BOOL WINAPI VelmorValueSetStruct(HVELMORVALUE hValue, int nType)
{
    if (!hValue || (nType != VELMOR_T_STRUCT && nType != VELMOR_T_ISTRUCT))
        return FALSE;
    ValueOf(hValue)->nType = nType;
    return TRUE;
}

extern "C" HVELMORVALUE WINAPI VelmorValueAddElement(HVELMORVALUE hArray)
{
    if (!hArray)
        return nullptr;
    try {
        std::vector<CVelmorValue>& e = ValueOf(hArray)->elements;
        e.emplace_back();
        return reinterpret_cast<HVELMORVALUE>(&e.back());
    } catch (...) {
        return nullptr;
    }
}

extern "C" HVELMORVALUE WINAPI VelmorValueAddField(HVELMORVALUE hStruct, const char* pszName)
{
    if (!hStruct || !pszName)
        return nullptr;
    try {
        auto& f = ValueOf(hStruct)->fields;
        f.emplace_back(std::string(pszName), CVelmorValue());
        return reinterpret_cast<HVELMORVALUE>(&f.back().second);
    } catch (...) {
        return nullptr;
    }
}
