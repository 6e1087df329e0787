#include "screenshot.h"
#include "gdi/WindowCapture.h"
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

bool SaveWindowPng(HWND hwnd, const std::wstring& path, HWND overlay)
{
    std::vector<DWORD> capture;
    int w = 0, h = 0;
    if (!CaptureWindowPixels(hwnd, true, capture, w, h))
        return false;
    // Popups are windows of their own: their pixels are copied in where
    // they stand on the screen, clipped to the window.
    std::vector<DWORD> top;
    int tw = 0, th = 0;
    if (overlay && IsWindowVisible(overlay) && CaptureWindowPixels(overlay, true, top, tw, th)) {
        RECT rw, ro;
        GetWindowRect(hwnd, &rw);
        GetWindowRect(overlay, &ro);
        for (int y = 0; y < th; ++y)
            for (int x = 0; x < tw; ++x) {
                const int X = ro.left - rw.left + x, Y = ro.top - rw.top + y;
                if (X >= 0 && Y >= 0 && X < w && Y < h)
                    capture[(size_t)Y * w + X] = top[(size_t)y * tw + x];
            }
    }
    std::vector<BYTE> pixels((BYTE*)capture.data(), (BYTE*)capture.data() + capture.size() * 4);
    for (size_t i = 3; i < pixels.size(); i += 4)
        pixels[i] = 0xFF; // opaque

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
