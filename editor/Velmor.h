/* Velmor.h: the Velmor editor control as a window class, for hosts in any
 * language. C89 and C++; needs only <windows.h>.
 *
 * Loading velmor.dll registers the Unicode window class "VelmorEdit"
 * (VELMOR_CLASSNAME). A host creates the control with CreateWindowExW as a
 * child window, talks to it with the messages below (SendMessageW, or the
 * direct-call function of VEM_GETDIRECTFUNCTION) and hears from it through
 * WM_COMMAND (EN_CHANGE, EN_SETFOCUS, EN_KILLFOCUS) and WM_NOTIFY (VEN_...).
 *
 * Lines and columns are zero-based; the execution line (VEM_SETEXECLINE) is
 * one-based. Texts are UTF-16; the names of the value tip are UTF-8.
 *
 * Errors: a message given a bad argument returns VELMOR_ERROR (standard
 * edit-control messages return what the system's edit control returns on
 * failure, usually 0) and leaves a VELMOR_STATUS_... that VEM_GETSTATUS
 * reads; the status stays until VEM_SETSTATUS clears it. Nothing is changed
 * by a message that fails its argument checks.
 *
 * Every structure starts with its size (cbSize); fields are fixed-size
 * integers, laid out alike in 32-bit and 64-bit programs. The structures
 * that embed NMHDR or hold function pointers are the exception: NMHDR and
 * code addresses are pointer-sized, and their sizes are given per
 * architecture.
 */
#ifndef VELMOR_H
#define VELMOR_H

#include <stddef.h>
#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(VELMOR_BUILD_DLL)
#define VELMOR_API __declspec(dllexport)
#else
#define VELMOR_API __declspec(dllimport)
#endif

#define VELMOR_CLASSNAME L"VelmorEdit"

/* ---- Window styles (the low 16 bits of the window style) ---------------- */
#define VES_COMPACT       0x0001L /* no frame, no scroll bars: as bNoFrame of the C++ constructors */
#define VES_READONLY      0x0002L /* starts read-only (EM_SETREADONLY) */
#define VES_LINENUMBERS   0x0004L /* line numbers in the margin */
#define VES_NOACCELERATORS 0x0008L /* the keyboard accelerators are off */

/* ---- Status and errors --------------------------------------------------- */
#define VELMOR_ERROR ((LRESULT)-2)
#define VELMOR_STATUS_OK          0
#define VELMOR_STATUS_FAILURE     1 /* the operation failed inside the control */
#define VELMOR_STATUS_NOMEMORY    2 /* out of memory */
#define VELMOR_STATUS_NULLPOINTER 3 /* a required pointer was NULL */
#define VELMOR_STATUS_BADLINE     4 /* a line outside the text */
#define VELMOR_STATUS_BADSIZE     5 /* a structure's cbSize is not its size */
#define VELMOR_STATUS_BADVALUE    6 /* an argument outside its range */
#define VELMOR_STATUS_READONLY    7 /* the control is read-only */
#define VELMOR_STATUS_NOWINDOW    8 /* the HTML view could not be made */

/* ---- Messages ------------------------------------------------------------ */
/* The standard messages answered as the system's edit control does:
 * WM_SETTEXT, WM_GETTEXT, WM_GETTEXTLENGTH, WM_SETFONT, WM_GETFONT, WM_CUT,
 * WM_COPY, WM_PASTE, WM_CLEAR, WM_UNDO, EM_UNDO, EM_CANUNDO,
 * EM_EMPTYUNDOBUFFER, EM_GETSEL, EM_SETSEL, EM_REPLACESEL, EM_GETLINE,
 * EM_GETLINECOUNT, EM_LINEINDEX, EM_LINEFROMCHAR, EM_GETFIRSTVISIBLELINE,
 * EM_SCROLLCARET, EM_SETREADONLY, EM_GETMODIFY, EM_SETMODIFY.
 * Where the control's own rules differ (WM_SETTEXT drops text after the last
 * line feed; lines end with a line feed only), docs/api.md says so. */
#define VEM_FIRST               (WM_USER + 0x1000)
/* status */
#define VEM_GETSTATUS           (VEM_FIRST + 0)  /* -> VELMOR_STATUS_... */
#define VEM_SETSTATUS           (VEM_FIRST + 1)  /* wParam status (0 clears) */
#define VEM_GETDIRECTFUNCTION   (VEM_FIRST + 2)  /* -> VELMORDIRECTFUNCTION */
#define VEM_GETDIRECTPOINTER    (VEM_FIRST + 3)  /* -> the instance for the direct function */
#define VEM_SETEVENTMASK        (VEM_FIRST + 4)  /* wParam VELMOR_EVENT_... bits: the notifications sent */
#define VEM_GETEVENTMASK        (VEM_FIRST + 5)
/* text */
#define VEM_GETSOURCE           (VEM_FIRST + 10) /* wParam cch, lParam WCHAR* (NULL: length) -> chars, comments blanked */
#define VEM_GETLINELENGTH       (VEM_FIRST + 11) /* wParam line -> length */
#define VEM_GETLINE             (VEM_FIRST + 12) /* wParam line, lParam VELMORTEXT* -> chars copied */
#define VEM_SETLINE             (VEM_FIRST + 13) /* wParam line, lParam text; one undo step */
#define VEM_INSERTLINE          (VEM_FIRST + 14) /* wParam line (== count appends), lParam text; one undo step */
#define VEM_REMOVELINE          (VEM_FIRST + 15) /* wParam line; one undo step */
#define VEM_REMOVEALLTEXT       (VEM_FIRST + 16)
#define VEM_GETCURLINE          (VEM_FIRST + 17) /* -> the caret's line */
/* caret, anchor and selection */
#define VEM_GETCARET            (VEM_FIRST + 20) /* lParam VELMORPOS* */
#define VEM_SETCARET            (VEM_FIRST + 21) /* wParam column, lParam line */
#define VEM_GETANCHOR           (VEM_FIRST + 22) /* lParam VELMORPOS* */
#define VEM_SETANCHOR           (VEM_FIRST + 23) /* wParam column, lParam line */
#define VEM_GETSELECTION        (VEM_FIRST + 24) /* lParam VELMORSELECTION* -> TRUE when not empty */
#define VEM_SETSELECTION        (VEM_FIRST + 25) /* lParam VELMORSELECTION* */
#define VEM_GETSELTEXT          (VEM_FIRST + 26) /* wParam cch, lParam WCHAR* (NULL: length) -> chars */
#define VEM_SELECTALL           (VEM_FIRST + 27)
#define VEM_ISSELECTED          (VEM_FIRST + 28) /* wParam column, lParam line -> TRUE inside the selection */
/* the view */
#define VEM_GETLASTVISIBLELINE  (VEM_FIRST + 30)
#define VEM_GETVISIBLELINES     (VEM_FIRST + 31) /* wParam TRUE: partly visible lines too */
#define VEM_SCROLLTOLINE        (VEM_FIRST + 32) /* wParam line */
#define VEM_GOTOLINE            (VEM_FIRST + 33) /* wParam line */
#define VEM_GOTOPOS             (VEM_FIRST + 34) /* wParam column, lParam line */
#define VEM_GETSCROLLPOS        (VEM_FIRST + 35) /* lParam VELMORPOS* (first column, first line) */
#define VEM_GETVISIBLECOLUMNS   (VEM_FIRST + 36)
/* settings */
#define VEM_SETFONT             (VEM_FIRST + 40) /* wParam tenths of a point (>= 20), lParam face or NULL -> TRUE */
#define VEM_GETFONTSIZE         (VEM_FIRST + 41) /* -> tenths of a point */
#define VEM_GETFONTNAME         (VEM_FIRST + 42) /* wParam cch, lParam WCHAR* (NULL: length) -> chars */
#define VEM_SETCHARSPACING      (VEM_FIRST + 43) /* wParam extra x, lParam extra y pixels, added */
#define VEM_GETCHARCELL         (VEM_FIRST + 44) /* -> MAKELRESULT(cell width, line height) */
#define VEM_SETCOLOR            (VEM_FIRST + 45) /* wParam VELMOR_COLOR_..., lParam COLORREF */
#define VEM_GETCOLOR            (VEM_FIRST + 46) /* wParam VELMOR_COLOR_... -> COLORREF */
#define VEM_SETTABSIZE          (VEM_FIRST + 47) /* wParam 1..64 */
#define VEM_GETTABSIZE          (VEM_FIRST + 48)
#define VEM_SETLINENUMBERS      (VEM_FIRST + 49) /* wParam BOOL */
#define VEM_GETLINENUMBERS      (VEM_FIRST + 50)
#define VEM_GETREADONLY         (VEM_FIRST + 51)
#define VEM_SETACCELERATORS     (VEM_FIRST + 52) /* wParam BOOL */
#define VEM_SETSTYLEBITS        (VEM_FIRST + 53) /* wParam VELMOR_STYLEBIT_..., lParam BOOL */
#define VEM_GETSTYLEBITS        (VEM_FIRST + 54) /* wParam bits -> the bits set */
#define VEM_RECOLORIZE          (VEM_FIRST + 55)
/* word sets and host variables */
#define VEM_ADDWORD             (VEM_FIRST + 60) /* wParam VELMOR_WORDS_..., lParam word */
#define VEM_ADDVARIABLE         (VEM_FIRST + 61) /* lParam name */
#define VEM_CLEARVARIABLES      (VEM_FIRST + 62)
#define VEM_GETVARIABLECOUNT    (VEM_FIRST + 63)
#define VEM_INITPARSERVARIABLES (VEM_FIRST + 64) /* the host variables become keywords */
/* breakpoints and the running script */
#define VEM_SETBREAKPOINT       (VEM_FIRST + 70) /* wParam line, lParam mark (0 none, 1..255) */
#define VEM_GETBREAKPOINT       (VEM_FIRST + 71) /* wParam line -> mark */
#define VEM_TOGGLEBREAKPOINT    (VEM_FIRST + 72) /* wParam line -> the new mark (0 or 1) */
#define VEM_CLEARBREAKPOINTS    (VEM_FIRST + 73)
#define VEM_GETBREAKPOINTS      (VEM_FIRST + 74) /* wParam cap, lParam BYTE* marks per line -> lines held */
#define VEM_ENABLEBREAKPOINTS   (VEM_FIRST + 75) /* wParam BOOL */
#define VEM_GETBREAKSDISABLED   (VEM_FIRST + 76) /* -> non-zero while disabled */
#define VEM_SETEXECLINE         (VEM_FIRST + 77) /* wParam one-based line, -1 none */
#define VEM_GETEXECLINE         (VEM_FIRST + 78)
#define VEM_SETRUNNINGLINE      (VEM_FIRST + 79) /* wParam line (stored for the host) */
#define VEM_GETRUNNINGLINE      (VEM_FIRST + 80)
#define VEM_SETRUNNING          (VEM_FIRST + 81) /* wParam BOOL */
#define VEM_GETRUNNING          (VEM_FIRST + 82)
/* undo */
#define VEM_REDO                (VEM_FIRST + 90)
#define VEM_CANREDO             (VEM_FIRST + 91)
/* search, braces, comments, indentation */
#define VEM_FIND                (VEM_FIRST + 100) /* wParam VELMORFIND*, lParam what -> line or -1 */
#define VEM_REPLACE             (VEM_FIRST + 101) /* lParam replacement (read-only refuses) */
#define VEM_FINDBRACE           (VEM_FIRST + 102)
#define VEM_COMMENT             (VEM_FIRST + 103)
#define VEM_UNCOMMENT           (VEM_FIRST + 104)
#define VEM_INDENT              (VEM_FIRST + 105)
#define VEM_UNINDENT            (VEM_FIRST + 106)
/* the value tip */
#define VEM_SETINSPECTOR        (VEM_FIRST + 110) /* lParam VELMORINSPECTOR* (NULL: none) */
#define VEM_SETENGINE           (VEM_FIRST + 111) /* lParam VELMORENGINE* */
#define VEM_GETVARIABLE         (VEM_FIRST + 112) /* wParam VELMORTEXT*, lParam VELMORPOS* -> chars */
/* the HTML view */
#define VEM_SHOWHTML            (VEM_FIRST + 120) /* lParam URL, NULL hides the view */
#define VEM_SETHTML             (VEM_FIRST + 121) /* lParam HTML text -> TRUE when written */
#define VEM_GETHTMLPAGESIZE     (VEM_FIRST + 122) /* lParam SIZE* */
#define VEM_LAST                VEM_GETHTMLPAGESIZE

#define VELMOR_COLOR_BACKGROUND    0
#define VELMOR_COLOR_HIGHLIGHT     1
#define VELMOR_COLOR_HIGHLIGHTTEXT 2

#define VELMOR_WORDS_KEYWORD  0
#define VELMOR_WORDS_OPERATOR 1
#define VELMOR_WORDS_FUNCTION 2

#define VELMOR_STYLEBIT_MODIFIED       0x0001
#define VELMOR_STYLEBIT_BREAKSDISABLED 0x0002

#define VELMOR_FINDF_MATCHCASE 0x0002
#define VELMOR_FINDF_WHOLEWORD 0x0004
#define VELMOR_FINDF_BACKWARDS 0x0008

/* ---- Notifications (WM_NOTIFY; NMHDR.code) ------------------------------- */
/* Which of them are sent (VEM_SETEVENTMASK; all after creation). VEN_INSPECT
 * is an answer channel and always sent. */
#define VELMOR_EVENT_CHANGE      0x0001
#define VELMOR_EVENT_SELCHANGE   0x0002
#define VELMOR_EVENT_MARGINCLICK 0x0004
#define VELMOR_EVENT_BREAKPOINT  0x0008
#define VELMOR_EVENT_ALL         0x000F
#define VEN_FIRST        (0U - 3100U)
#define VEN_CHANGE       (VEN_FIRST - 0) /* NMVELMORCHANGE */
#define VEN_SELCHANGE    (VEN_FIRST - 1) /* NMVELMORSELCHANGE */
#define VEN_MARGINCLICK  (VEN_FIRST - 2) /* NMVELMORLINE */
#define VEN_BREAKPOINT   (VEN_FIRST - 3) /* NMVELMORLINE (nMark the new mark) */
#define VEN_INSPECT      (VEN_FIRST - 4) /* NMVELMORINSPECT: return TRUE when answered */

/* ---- Structures ---------------------------------------------------------- */
typedef struct VELMORPOS {
    LONG nColumn;
    LONG nLine;
} VELMORPOS;

typedef struct VELMORSELECTION {
    UINT cbSize;
    LONG nAnchorColumn;
    LONG nAnchorLine;
    LONG nCaretColumn;
    LONG nCaretLine;
} VELMORSELECTION;

/* A buffer for text read back: the pointer as a 64-bit number, so that the
 * layout does not depend on the architecture. VELMOR_BUFFER sets it. */
typedef struct VELMORTEXT {
    UINT cbSize;
    UINT cchMax;     /* WCHARs in the buffer, the terminating zero included */
    UINT64 pszText;  /* WCHAR* */
} VELMORTEXT;
#define VELMOR_BUFFER(t, buf, cch) \
    ((t).cbSize = sizeof(VELMORTEXT), (t).cchMax = (UINT)(cch), (t).pszText = (UINT64)(UINT_PTR)(buf))

typedef struct VELMORFIND {
    UINT cbSize;
    UINT uFlags;      /* VELMOR_FINDF_... */
    LONG nStartLine;
    LONG nEndLine;
    LONG nColumn;     /* in and out: where the search goes on from */
} VELMORFIND;

/* The host engine's records for the value tip (pointers as 64-bit numbers). */
typedef struct VELMORENGINE {
    UINT cbSize;
    UINT uReserved;
    UINT64 pFunctionList;
    UINT64 pStaticNameSpace;
    UINT64 pLocalFrame;
    UINT64 pLocalLog;
} VELMORENGINE;

/* A value being built for the value tip (VelmorValue... functions). */
typedef struct VELMORVALUE_* HVELMORVALUE;

/* Answers for the value tip: fills hValue for the variable pszName (UTF-8)
 * as the script sees it at line nLine; nIndex the wanted element of an
 * array, -1 none. Returns FALSE when there is no such variable. */
typedef BOOL (WINAPI *VELMORINSPECTPROC)(void* pContext, int nLine, const char* pszName, LONGLONG nIndex,
                                         HVELMORVALUE hValue);
typedef struct VELMORINSPECTOR {
    UINT cbSize;
    void* pContext;
    VELMORINSPECTPROC pfnInspect;
} VELMORINSPECTOR;

typedef struct NMVELMORCHANGE {
    NMHDR hdr;
    LONG nFirstLine;    /* first line that changed */
    LONG nLastLine;     /* last line that changed, in the text now; < nFirstLine: only removed */
    LONG nLinesAdded;   /* lines now minus lines before */
    LONG nLineCount;
} NMVELMORCHANGE;

typedef struct NMVELMORSELCHANGE {
    NMHDR hdr;
    VELMORSELECTION sel;
} NMVELMORSELCHANGE;

typedef struct NMVELMORLINE {
    NMHDR hdr;
    LONG nLine;
    LONG nMark;
} NMVELMORLINE;

typedef struct NMVELMORINSPECT {
    NMHDR hdr;
    LONG nLine;
    LONG nReserved;
    LONGLONG nIndex;
    const char* pszName;
    HVELMORVALUE hValue;
} NMVELMORINSPECT;

/* ---- Direct calls -------------------------------------------------------- */
/* VEM_GETDIRECTFUNCTION and VEM_GETDIRECTPOINTER give a function and an
 * instance: fn(instance, msg, wParam, lParam) is SendMessageW(hwnd, msg,
 * wParam, lParam) without the window manager, on the control's thread. */
typedef LRESULT (WINAPI *VELMORDIRECTFUNCTION)(void* pInstance, UINT uMsg, WPARAM wParam, LPARAM lParam);

/* ---- Exported functions ------------------------------------------------- */
/* The class is registered when the DLL loads; these do it explicitly (for a
 * host that unregistered it, or another module instance). TRUE on success
 * or when it is registered already. */
VELMOR_API BOOL WINAPI VelmorRegisterClasses(HINSTANCE hInstance);
VELMOR_API BOOL WINAPI VelmorUnregisterClasses(void);

/* Building a value inside VELMORINSPECTPROC or VEN_INSPECT. A handle from
 * VelmorValueAddElement or VelmorValueAddField stays valid until the next
 * element or field is added to the same parent, and all of them until the
 * callback returns. FALSE / NULL on a NULL handle or out of memory. */
VELMOR_API BOOL WINAPI VelmorValueSetInt(HVELMORVALUE hValue, int nType, LONGLONG n);
VELMOR_API BOOL WINAPI VelmorValueSetReal(HVELMORVALUE hValue, int nType, double d);
VELMOR_API BOOL WINAPI VelmorValueSetString(HVELMORVALUE hValue, const char* pszUtf8);
VELMOR_API BOOL WINAPI VelmorValueSetArray(HVELMORVALUE hValue, int nElemType, LONGLONG nLength, LONGLONG nFirst);
VELMOR_API BOOL WINAPI VelmorValueSetStruct(HVELMORVALUE hValue, int nType);
VELMOR_API HVELMORVALUE WINAPI VelmorValueAddElement(HVELMORVALUE hArray);
VELMOR_API HVELMORVALUE WINAPI VelmorValueAddField(HVELMORVALUE hStruct, const char* pszName);

/* The value types of the tip (VelmorValueSet...). */
#define VELMOR_TYPE_INT     2
#define VELMOR_TYPE_DOUBLE  3
#define VELMOR_TYPE_CHAR    4
#define VELMOR_TYPE_UCHAR   9
#define VELMOR_TYPE_SHORT   10
#define VELMOR_TYPE_USHORT  11
#define VELMOR_TYPE_UINT    12
#define VELMOR_TYPE_LONG    13
#define VELMOR_TYPE_ULONG   14
#define VELMOR_TYPE_STRING  15
#define VELMOR_TYPE_FLOAT   16
#define VELMOR_TYPE_ISTRUCT 18
#define VELMOR_TYPE_ARRAY   32
#define VELMOR_TYPE_STRUCT  39

/* ---- Layout checks, compiled into every program that includes this ------ */
#define VELMOR_ASSERT_(name, cond) typedef char velmor_layout_##name[(cond) ? 1 : -1]
#define VELMOR_OFFSET_(type, field) offsetof(type, field)
/* The numbers a 32-bit and a 64-bit compiler must both arrive at. */
#define VELMOR_BITS_(v32, v64) (sizeof(void*) == 8 ? (v64) : (v32))
VELMOR_ASSERT_(pos, sizeof(VELMORPOS) == 8 && VELMOR_OFFSET_(VELMORPOS, nLine) == 4);
VELMOR_ASSERT_(sel, sizeof(VELMORSELECTION) == 20 && VELMOR_OFFSET_(VELMORSELECTION, nCaretLine) == 16);
VELMOR_ASSERT_(text, sizeof(VELMORTEXT) == 16 && VELMOR_OFFSET_(VELMORTEXT, cchMax) == 4 &&
               VELMOR_OFFSET_(VELMORTEXT, pszText) == 8);
VELMOR_ASSERT_(find, sizeof(VELMORFIND) == 20 && VELMOR_OFFSET_(VELMORFIND, nStartLine) == 8 &&
               VELMOR_OFFSET_(VELMORFIND, nColumn) == 16);
VELMOR_ASSERT_(engine, sizeof(VELMORENGINE) == 40 && VELMOR_OFFSET_(VELMORENGINE, pFunctionList) == 8 &&
               VELMOR_OFFSET_(VELMORENGINE, pLocalLog) == 32);
VELMOR_ASSERT_(inspector, sizeof(VELMORINSPECTOR) == VELMOR_BITS_(12, 24) &&
               VELMOR_OFFSET_(VELMORINSPECTOR, pContext) == VELMOR_BITS_(4, 8) &&
               VELMOR_OFFSET_(VELMORINSPECTOR, pfnInspect) == VELMOR_BITS_(8, 16));
VELMOR_ASSERT_(nmhdr, sizeof(NMHDR) == VELMOR_BITS_(12, 24));
VELMOR_ASSERT_(change, sizeof(NMVELMORCHANGE) == VELMOR_BITS_(28, 40) &&
               VELMOR_OFFSET_(NMVELMORCHANGE, nFirstLine) == VELMOR_BITS_(12, 24) &&
               VELMOR_OFFSET_(NMVELMORCHANGE, nLineCount) == VELMOR_BITS_(24, 36));
VELMOR_ASSERT_(selchange, sizeof(NMVELMORSELCHANGE) == VELMOR_BITS_(32, 48) &&
               VELMOR_OFFSET_(NMVELMORSELCHANGE, sel) == VELMOR_BITS_(12, 24));
VELMOR_ASSERT_(line, sizeof(NMVELMORLINE) == VELMOR_BITS_(20, 32) &&
               VELMOR_OFFSET_(NMVELMORLINE, nMark) == VELMOR_BITS_(16, 28));
VELMOR_ASSERT_(inspect, sizeof(NMVELMORINSPECT) == VELMOR_BITS_(40, 56) &&
               VELMOR_OFFSET_(NMVELMORINSPECT, nLine) == VELMOR_BITS_(12, 24) &&
               VELMOR_OFFSET_(NMVELMORINSPECT, nIndex) == VELMOR_BITS_(24, 32) &&
               VELMOR_OFFSET_(NMVELMORINSPECT, pszName) == VELMOR_BITS_(32, 40) &&
               VELMOR_OFFSET_(NMVELMORINSPECT, hValue) == VELMOR_BITS_(36, 48));

#ifdef __cplusplus
}
#endif

#endif /* VELMOR_H */
