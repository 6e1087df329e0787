// Reads a window's pixels back from the screen into 0x00RRGGBB values,
// top-down: the client area, or the whole window with frame and menu.
// Used by hosts for screenshots and by the tests to check what was painted.
#pragma once
#include <windows.h>
#include <vector>

inline bool CaptureWindowPixels(HWND hwnd, bool bWholeWindow, std::vector<DWORD>& pixels, int& width, int& height)
{
    RECT rc;
    if (bWholeWindow) {
        GetWindowRect(hwnd, &rc);
        OffsetRect(&rc, -rc.left, -rc.top);
    } else {
        GetClientRect(hwnd, &rc);
    }
    width = rc.right;
    height = rc.bottom;
    BITMAPINFO bi = {};
    bi.bmiHeader.biSize = sizeof bi.bmiHeader;
    bi.bmiHeader.biWidth = width;
    bi.bmiHeader.biHeight = -height; // top-down
    bi.bmiHeader.biPlanes = 1;
    bi.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    HDC wdc = bWholeWindow ? GetWindowDC(hwnd) : GetDC(hwnd);
    HDC mdc = CreateCompatibleDC(wdc);
    HBITMAP dib = CreateDIBSection(wdc, &bi, DIB_RGB_COLORS, &bits, nullptr, 0);
    bool ok = dib != nullptr;
    if (ok) {
        HGDIOBJ old = SelectObject(mdc, dib);
        BitBlt(mdc, 0, 0, width, height, wdc, 0, 0, SRCCOPY);
        GdiFlush();
        pixels.assign((DWORD*)bits, (DWORD*)bits + (size_t)width * height);
        SelectObject(mdc, old);
        DeleteObject(dib);
    }
    DeleteDC(mdc);
    ReleaseDC(hwnd, wdc);
    return ok;
}
