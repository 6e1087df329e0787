// Per-thread state of the framework (internal).
#pragma once
#include "afxwin.h"
#include <unordered_map>

// How a wrapper object holds its handle.
inline void AfxSetHandle(CWnd* p, HWND h) { p->m_hWnd = h; }
inline void AfxSetHandle(CGdiObject* p, HGDIOBJ h) { p->m_hObject = h; }
inline void AfxSetHandle(CDC* p, HDC h) { p->m_hDC = p->m_hAttribDC = h; }
inline void AfxSetHandle(CMenu* p, HMENU h) { p->m_hMenu = h; }

// Maps handles to framework objects: permanent entries for objects attached
// to their handle, temporary wrappers for handles met in passing (freed by
// AfxDeleteTempMaps, or when the handle is deleted through the framework).
template <class H, class T>
class CHandleMap
{
public:
    ~CHandleMap() { DeleteTemps(); }

    T* LookupPermanent(H h) const
    {
        auto it = m_permanent.find(h);
        return it == m_permanent.end() ? nullptr : it->second;
    }
    T* FromHandle(H h)
    {
        if (!h)
            return nullptr;
        if (T* p = LookupPermanent(h))
            return p;
        T*& temp = m_temporary[h];
        if (!temp) {
            temp = new T;
            AfxSetHandle(temp, h);
        }
        return temp;
    }
    void SetPermanent(H h, T* p)
    {
        DeleteTemp(h);
        m_permanent[h] = p;
    }
    void RemovePermanent(H h, const T* p)
    {
        auto it = m_permanent.find(h);
        if (it != m_permanent.end() && it->second == p)
            m_permanent.erase(it);
    }
    // Returns true if p was the temporary wrapper of h (and frees it).
    bool DeleteTemp(H h, const T* p = nullptr)
    {
        auto it = m_temporary.find(h);
        if (it == m_temporary.end() || (p && it->second != p))
            return false;
        AfxSetHandle(it->second, nullptr); // a wrapper never frees the handle
        delete it->second;
        m_temporary.erase(it);
        return true;
    }
    void DeleteTemps()
    {
        for (auto& kv : m_temporary) {
            AfxSetHandle(kv.second, nullptr);
            delete kv.second;
        }
        m_temporary.clear();
    }

private:
    std::unordered_map<H, T*> m_permanent;
    std::unordered_map<H, T*> m_temporary;
};

struct AFX_THREAD_STATE
{
    MSG lastMsg{};              // the message being handled, for Default()
    CWnd* pWndInit = nullptr;   // the object whose window is being created
    HHOOK hHookCbt = nullptr;
    CHandleMap<HWND, CWnd> wndMap;
    CHandleMap<HGDIOBJ, CGdiObject> gdiMap;
    CHandleMap<HDC, CDC> dcMap; // temporary wrappers only
    CHandleMap<HMENU, CMenu> menuMap;
};

AFX_THREAD_STATE& AfxGetThreadState();
