// Basic types and the export macro shared by every framework header.
//
// On Windows the real <windows.h> supplies the types. The portable half of
// the framework (strings, arrays, points and rectangles, exceptions) and the
// text store also build natively with g++, where this header supplies the
// handful of Windows types they use.
#pragma once

#ifdef _WIN32
#ifndef UNICODE
#define UNICODE
#endif
#ifndef _UNICODE
#define _UNICODE
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <cstdint>
#include <cstddef>

typedef int BOOL;
typedef unsigned char BYTE;
typedef unsigned short WORD;
typedef uint32_t DWORD;
typedef unsigned int UINT;
typedef int32_t LONG;
typedef DWORD COLORREF;
typedef wchar_t WCHAR;
typedef wchar_t TCHAR;
typedef const wchar_t* LPCWSTR;
typedef const wchar_t* LPCTSTR;
typedef wchar_t* LPWSTR;
typedef wchar_t* LPTSTR;
typedef UINT* PUINT;

#ifndef TRUE
#define TRUE 1
#define FALSE 0
#endif

#define RGB(r, g, b) ((COLORREF)(((BYTE)(r) | ((WORD)((BYTE)(g)) << 8)) | (((DWORD)(BYTE)(b)) << 16)))
#define GetRValue(rgb) ((BYTE)(rgb))
#define GetGValue(rgb) ((BYTE)(((WORD)(rgb)) >> 8))
#define GetBValue(rgb) ((BYTE)((rgb) >> 16))

struct POINT { LONG x; LONG y; };
struct SIZE { LONG cx; LONG cy; };
struct RECT { LONG left; LONG top; LONG right; LONG bottom; };
typedef RECT* LPRECT;
typedef const RECT* LPCRECT;
typedef POINT* LPPOINT;
#endif

// Classes of the library are exported from velmor.dll and imported by hosts.
#if defined(_WIN32) && defined(VELMOR_BUILD_DLL)
#define AFX_EXT_CLASS __declspec(dllexport)
#define AFX_EXT_API __declspec(dllexport)
#elif defined(_WIN32) && !defined(VELMOR_STATIC)
#define AFX_EXT_CLASS __declspec(dllimport)
#define AFX_EXT_API __declspec(dllimport)
#else
#define AFX_EXT_CLASS
#define AFX_EXT_API
#endif

#ifndef AFXAPI
#define AFXAPI
#endif
