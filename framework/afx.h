// The portable core of the framework: strings, arrays, points and
// rectangles, exceptions. Free of window-system calls.
#pragma once
#include "afxdefs.h"
#include "afxexcept.h"
#include "atltypes.h"
#include "afxtempl.h"
#include "afxstr.h"
