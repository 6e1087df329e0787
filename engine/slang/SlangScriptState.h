// The script thread's side of the S-Lang adapter, shared by the engine's
// files: what it keeps of S-Lang between hooks. Script thread only.
#pragma once
#include "SlangEngine.h"
#include "SlangFunctionLines.h"
#include <slang.h>
#include <vector>

// The name the adapter compiles a script under: statements of this file
// are the script's lines (strings the script evaluates are S-Lang's
// "***string***").
const char kSlangScriptName[] = "<velmor script>";

// &__velmor_bos, to install the statement hook from C (made once).
extern SLang_Any_Type* g_pSlangBosRef;

// What the script thread keeps of S-Lang: the entry slots, the functions
// being called (with the reference to keep when one returns) and the
// messages of the run.
class CSlangEngine::CScriptState
{
public:
    struct Call
    {
        SLang_Any_Type* ref;                     // kept in slot when the call returns
        SlangEntry slot;
        const std::vector<std::pair<int, int>>* spans; // the function's lines; null: not known
        int nStatements;
    };
    SLang_Any_Type* entries[SLANG_ENTRY_COUNT] = {};
    std::vector<Call> calls;
    CSlangFunctionLines lines; // of the script running
    bool bHookOn = true;       // the statement hook is installed
    int nInHelper = 0;         // hooks do nothing while the adapter runs S-Lang code of its own
    bool bInitOk = false;
    std::string strMessages, strFirstMessage;

    void DropCalls()
    {
        for (auto& c : calls)
            if (c.ref)
                SLang_free_anytype(c.ref);
        calls.clear();
    }
    ~CScriptState()
    {
        DropCalls();
        for (auto*& r : entries)
            if (r)
                SLang_free_anytype(r);
    }
};

