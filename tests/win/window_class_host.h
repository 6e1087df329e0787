// A host of the "VelmorEdit" window class that knows only Velmor.h: a
// parent window that records WM_COMMAND and WM_NOTIFY, and a control made
// by class name.
#pragma once
#include "editor/Velmor.h"
#include <string>
#include <vector>

struct ClassNote
{
    UINT code;
    LONG a, b, c, d; // the structure's numbers, by notification
};

class ClassHost
{
public:
    explicit ClassHost(DWORD style = WS_VSCROLL | WS_HSCROLL, int id = 77);
    ~ClassHost();
    HWND parent = nullptr;
    HWND ctl = nullptr;
    int id;
    std::vector<ClassNote> notes;   // WM_NOTIFY from the control
    std::vector<UINT> commands;     // WM_COMMAND codes from the control
    // VEN_INSPECT answers: the parent fills these names (UTF-8) as ints.
    std::vector<std::pair<std::string, int>> answers;

    LRESULT Send(UINT msg, WPARAM wp = 0, LPARAM lp = 0) const { return SendMessageW(ctl, msg, wp, lp); }
    std::wstring Text() const;
    std::wstring Line(int n) const;
    int Status() const { return (int)Send(VEM_GETSTATUS); }
    void ClearStatus() const { Send(VEM_SETSTATUS, 0); }
    int Count(UINT code) const;
    const ClassNote* Last(UINT code) const;
    void SetText(const wchar_t* s) const { Send(WM_SETTEXT, 0, (LPARAM)s); }

    static LRESULT CALLBACK ParentProc(HWND, UINT, WPARAM, LPARAM);
};

void PumpClassMessages();
