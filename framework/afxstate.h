// Per-thread state of the framework (internal).
#pragma once
#include "afxwin.h"
#include <unordered_map>

struct AFX_THREAD_STATE
{
    ~AFX_THREAD_STATE();
    void ClearTemps();

    MSG lastMsg{};              // the message being handled, for Default()
    CWnd* pWndInit = nullptr;   // the object whose window is being created
    HHOOK hHookCbt = nullptr;
    std::unordered_map<HWND, CWnd*> permWnd;
    std::unordered_map<HWND, CWnd*> tempWnd;
    std::unordered_map<HGDIOBJ, CGdiObject*> permGdi;
    std::unordered_map<HGDIOBJ, CGdiObject*> tempGdi;
    std::unordered_map<HDC, CDC*> tempDC;
};

AFX_THREAD_STATE& AfxGetThreadState();
