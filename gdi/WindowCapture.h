// Reads a window's pixels back from the screen into 0x00RRGGBB values,
// top-down: the client area, or the whole window with frame and menu.
// Used by hosts for screenshots and by the tests to check what was painted.
#pragma once
#include <windows.h>
#include <cstdio>
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

// Writes captured pixels as a 24-bit BMP, for a person to look at.
inline bool SavePixelsBmp(const wchar_t* path, const std::vector<DWORD>& pixels, int width, int height)
{
    FILE* f = _wfopen(path, L"wb");
    if (!f)
        return false;
    const int stride = (width * 3 + 3) & ~3;
    BITMAPFILEHEADER fh = {};
    BITMAPINFOHEADER ih = {};
    fh.bfType = 0x4D42;
    fh.bfOffBits = sizeof fh + sizeof ih;
    fh.bfSize = fh.bfOffBits + (DWORD)(stride * height);
    ih.biSize = sizeof ih;
    ih.biWidth = width;
    ih.biHeight = height; // bottom-up
    ih.biPlanes = 1;
    ih.biBitCount = 24;
    fwrite(&fh, sizeof fh, 1, f);
    fwrite(&ih, sizeof ih, 1, f);
    std::vector<unsigned char> row((size_t)stride);
    for (int y = height - 1; y >= 0; --y) {
        for (int x = 0; x < width; ++x) {
            const DWORD p = pixels[(size_t)y * width + x];
            row[(size_t)x * 3] = p & 0xFF;
            row[(size_t)x * 3 + 1] = (p >> 8) & 0xFF;
            row[(size_t)x * 3 + 2] = (p >> 16) & 0xFF;
        }
        fwrite(row.data(), 1, row.size(), f);
    }
    return fclose(f) == 0;
}
