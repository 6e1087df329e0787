// CBorrowedDC: a CDC wrapped around a device context that someone else
// owns (the control's kept off-screen DC): the handle is detached, never
// deleted, when the wrapper goes, however the scope is left.
#pragma once
#include "../framework/afxwin.h"

class CBorrowedDC : public CDC
{
public:
    explicit CBorrowedDC(HDC hDC) { Attach(hDC); }
    ~CBorrowedDC() override { Detach(); }
    CBorrowedDC(const CBorrowedDC&) = delete;
    CBorrowedDC& operator=(const CBorrowedDC&) = delete;
};
