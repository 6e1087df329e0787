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

bool SaveWindowPng(HWND hwnd, const std::wstring& path)
{
    std::vector<DWORD> capture;
    int w = 0, h = 0;
    if (!CaptureWindowPixels(hwnd, true, capture, w, h))
        return false;
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
