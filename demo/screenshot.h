// Writes a window (frame, menu and children included) as a PNG file.
#pragma once
#include <windows.h>
#include <string>

// overlay: a popup over it (a tip) drawn in at its place on the screen.
bool SaveWindowPng(HWND hwnd, const std::wstring& path, HWND overlay = nullptr);
