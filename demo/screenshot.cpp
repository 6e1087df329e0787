#include "screenshot.h"
#include <wincodec.h>
#include <vector>

namespace {
template <class T> struct ComPtr
{
    T* p = nullptr;
    ~ComPtr() { if (p) p->Release(); }
    T** operator&() { return &p; }
    T* operator->() { return p; }
};
}

bool SaveWindowPng(HWND hwnd, const std::wstring& path)
{
    RECT rc;
    GetWindowRect(hwnd, &rc);
    const int w = rc.right - rc.left, h = rc.bottom - rc.top;
    BITMAPINFO bi = {};
    bi.bmiHeader.biSize = sizeof bi.bmiHeader;
    bi.bmiHeader.biWidth = w;
    bi.bmiHeader.biHeight = -h;
    bi.bmiHeader.biPlanes = 1;
    bi.bmiHeader.biBitCount = 32;
    void* bits = nullptr;
    HDC wdc = GetWindowDC(hwnd);
    HDC mdc = CreateCompatibleDC(wdc);
    HBITMAP dib = CreateDIBSection(wdc, &bi, DIB_RGB_COLORS, &bits, nullptr, 0);
    HGDIOBJ old = SelectObject(mdc, dib);
    BitBlt(mdc, 0, 0, w, h, wdc, 0, 0, SRCCOPY);
    GdiFlush();
    std::vector<BYTE> pixels((BYTE*)bits, (BYTE*)bits + (size_t)w * h * 4);
    for (size_t i = 3; i < pixels.size(); i += 4)
        pixels[i] = 0xFF; // opaque
    SelectObject(mdc, old);
    DeleteObject(dib);
    DeleteDC(mdc);
    ReleaseDC(hwnd, wdc);

    HRESULT hr = CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    bool ok = false;
    {
        ComPtr<IWICImagingFactory> factory;
        ComPtr<IWICStream> stream;
        ComPtr<IWICBitmapEncoder> encoder;
        ComPtr<IWICBitmapFrameEncode> frame;
        WICPixelFormatGUID format = GUID_WICPixelFormat32bppBGRA;
        ok = SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                        IID_IWICImagingFactory, (void**)&factory)) &&
             SUCCEEDED(factory->CreateStream(&stream)) &&
             SUCCEEDED(stream->InitializeFromFilename(path.c_str(), GENERIC_WRITE)) &&
             SUCCEEDED(factory->CreateEncoder(GUID_ContainerFormatPng, nullptr, &encoder)) &&
             SUCCEEDED(encoder->Initialize(stream.p, WICBitmapEncoderNoCache)) &&
             SUCCEEDED(encoder->CreateNewFrame(&frame, nullptr)) &&
             SUCCEEDED(frame->Initialize(nullptr)) &&
             SUCCEEDED(frame->SetSize((UINT)w, (UINT)h)) &&
             SUCCEEDED(frame->SetPixelFormat(&format)) &&
             SUCCEEDED(frame->WritePixels((UINT)h, (UINT)w * 4, (UINT)pixels.size(), pixels.data())) &&
             SUCCEEDED(frame->Commit()) && SUCCEEDED(encoder->Commit());
    }
    if (SUCCEEDED(hr))
        CoUninitialize();
    return ok;
}
