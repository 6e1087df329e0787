// Writes a window (frame, menu and children included) as a PNG file.
#pragma once
#include <windows.h>
#include <string>

bool SaveWindowPng(HWND hwnd, const std::wstring& path);
