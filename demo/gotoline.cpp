#include "gotoline.h"
#include <string>
#include <vector>

namespace {

const WORD kPromptId = 100;
const WORD kLineId = 101;

struct Request
{
    int nLines;
    int nLine;
};

// Builds a dialog template in memory: the header, then each item aligned on
// a DWORD, strings in UTF-16, controls named by their predefined class atoms.
class TemplateWriter
{
public:
    void Dialog(DWORD style, short cx, short cy, const wchar_t* title, WORD nPoint, const wchar_t* face, WORD nItems)
    {
        Dword(style);
        Dword(0); // extended style
        Word(nItems);
        Word(0); // x, y: centred (DS_CENTER)
        Word(0);
        Word((WORD)cx);
        Word((WORD)cy);
        Word(0); // no menu
        Word(0); // the dialog class
        String(title);
        Word(nPoint);
        String(face);
    }
    void Item(DWORD style, short x, short y, short cx, short cy, WORD id, WORD classAtom, const wchar_t* text)
    {
        Align();
        Dword(style | WS_CHILD | WS_VISIBLE);
        Dword(0);
        Word((WORD)x);
        Word((WORD)y);
        Word((WORD)cx);
        Word((WORD)cy);
        Word(id);
        Word(0xFFFF);
        Word(classAtom);
        String(text);
        Word(0); // no creation data
    }
    const DLGTEMPLATE* Get() const { return reinterpret_cast<const DLGTEMPLATE*>(m_words.data()); }

private:
    void Word(WORD w) { m_words.push_back(w); }
    void Dword(DWORD d)
    {
        Word(LOWORD(d));
        Word(HIWORD(d));
    }
    void String(const wchar_t* s)
    {
        for (; *s; ++s)
            Word((WORD)*s);
        Word(0);
    }
    void Align()
    {
        if (m_words.size() % 2)
            Word(0);
    }
    // vector<WORD> keeps the DWORD alignment the template needs: its storage
    // comes from the heap, aligned for any type.
    std::vector<WORD> m_words;
};

INT_PTR CALLBACK GoToLineProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam)
{
    Request* req = reinterpret_cast<Request*>(GetWindowLongPtrW(hwnd, DWLP_USER));
    switch (msg) {
    case WM_INITDIALOG: {
        req = reinterpret_cast<Request*>(lParam);
        SetWindowLongPtrW(hwnd, DWLP_USER, lParam);
        const std::wstring prompt = L"&Line number (1 - " + std::to_wstring(req->nLines) + L"):";
        SetDlgItemTextW(hwnd, kPromptId, prompt.c_str());
        SetDlgItemInt(hwnd, kLineId, (UINT)req->nLine, FALSE);
        HWND edit = GetDlgItem(hwnd, kLineId);
        SendMessageW(edit, EM_LIMITTEXT, 10, 0);
        SendMessageW(edit, EM_SETSEL, 0, -1);
        SetFocus(edit);
        return FALSE; // the focus is set
    }
    case WM_COMMAND:
        switch (LOWORD(wParam)) {
        case IDOK: {
            BOOL ok = FALSE;
            const UINT n = GetDlgItemInt(hwnd, kLineId, &ok, FALSE);
            if (!ok || n < 1 || n > (UINT)req->nLines) {
                // Not a line of the script: stay, with the text selected.
                MessageBeep(MB_ICONWARNING);
                HWND edit = GetDlgItem(hwnd, kLineId);
                SendMessageW(edit, EM_SETSEL, 0, -1);
                SetFocus(edit);
                return TRUE;
            }
            req->nLine = (int)n;
            EndDialog(hwnd, IDOK);
            return TRUE;
        }
        case IDCANCEL:
            EndDialog(hwnd, IDCANCEL);
            return TRUE;
        }
        break;
    }
    return FALSE;
}

} // namespace

bool AskLineNumber(HWND hwndOwner, int nLines, int& nLine)
{
    const WORD kButton = 0x0080, kEdit = 0x0081, kStatic = 0x0082;
    TemplateWriter t;
    t.Dialog(DS_SETFONT | DS_MODALFRAME | DS_CENTER | WS_POPUP | WS_CAPTION | WS_SYSMENU, 148, 62, L"Go To Line", 8,
             L"MS Shell Dlg", 4);
    t.Item(SS_LEFT, 7, 7, 134, 9, kPromptId, kStatic, L"&Line number:");
    t.Item(WS_BORDER | WS_TABSTOP | ES_NUMBER | ES_AUTOHSCROLL, 7, 19, 134, 13, kLineId, kEdit, L"");
    t.Item(BS_DEFPUSHBUTTON | WS_TABSTOP, 37, 41, 50, 14, IDOK, kButton, L"OK");
    t.Item(BS_PUSHBUTTON | WS_TABSTOP, 91, 41, 50, 14, IDCANCEL, kButton, L"Cancel");

    Request req{ nLines, nLine < 1 ? 1 : (nLine > nLines ? nLines : nLine) };
    if (DialogBoxIndirectParamW(GetModuleHandleW(nullptr), t.Get(), hwndOwner, GoToLineProc, (LPARAM)&req) != IDOK)
        return false;
    nLine = req.nLine;
    return true;
}
