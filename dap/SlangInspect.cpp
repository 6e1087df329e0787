// Calls of the inspection helpers through __vdap_guard, and the popping of
// their results.
#include "SlangInspect.h"
// The library is built with long long support; its header declares it only on request.
#define HAVE_LONG_LONG 1
#include <slang.h>
#include <cstdlib>

namespace {

// Pushes the arguments: each is an integer, a string or a value.
struct Arg
{
    enum { INT, STR, VAL } k;
    long long n;
    std::string s;
    SLang_Any_Type* v;
    Arg(long long x) : k(INT), n(x), v(nullptr) {}
    Arg(int x) : k(INT), n(x), v(nullptr) {}
    Arg(const std::string& x) : k(STR), n(0), s(x), v(nullptr) {}
    Arg(const char* x) : k(STR), n(0), s(x), v(nullptr) {}
    Arg(const CSlangValue& x) : k(VAL), n(0), v(x.Get()) {}
};

void DropAbove(int depth0)
{
    if (SLstack_depth() > depth0)
        SLdo_pop_n((unsigned)(SLstack_depth() - depth0));
}

// Calls helper pszName; on success its nResults results are on the stack
// (the first deepest). On failure nothing is left and strError says why.
bool Call(const char* pszName, std::initializer_list<Arg> args, int& nResults, std::string& strError)
{
    static SLang_Name_Type* guard = nullptr;
    if (!guard)
        guard = SLang_get_function((char*)"__vdap_guard");
    const int depth0 = SLstack_depth();
    if (!guard || SLang_start_arg_list() == -1) {
        strError = "the adapter's S-Lang helpers are missing";
        return false;
    }
    SLang_push_string((char*)pszName);
    for (const Arg& a : args) {
        switch (a.k) {
        case Arg::INT: SLang_push_long_long(a.n); break;
        case Arg::STR: SLang_push_string((char*)a.s.c_str()); break;
        case Arg::VAL: a.v ? SLang_push_anytype(a.v) : SLang_push_null(); break;
        }
    }
    if (SLang_end_arg_list() == -1 || SLexecute_function(guard) == -1) {
        // S-Lang's user break is no AnyError: a try in the helper does not
        // catch it (an evaluation past its time ends so).
        const int err = SLang_get_error();
        SLang_set_error(0);
        DropAbove(depth0);
        strError = err == SL_UserBreak_Error ? "User Break"
                                             : "S-Lang could not run the adapter's helper " + std::string(pszName);
        return false;
    }
    char* err = nullptr;
    int n = 0;
    if (SLang_pop_slstring(&err) == -1 || SLang_pop_int(&n) == -1) {
        SLang_set_error(0);
        DropAbove(depth0);
        strError = "unexpected answer of the adapter's helper";
        return false;
    }
    const bool ok = err[0] == 0;
    if (!ok)
        strError = err;
    SLang_free_slstring(err);
    nResults = n;
    return ok;
}

bool PopStrings(std::vector<std::string>& out)
{
    SLang_Array_Type* at = nullptr;
    if (SLang_pop_array_of_type(&at, SLANG_STRING_TYPE) == -1)
        return false;
    char** p = (char**)at->data;
    for (SLuindex_Type i = 0; i < at->num_elements; ++i)
        out.emplace_back(p[i] ? p[i] : "");
    SLang_free_array(at);
    return true;
}

bool PopValue(CSlangValue& v)
{
    SLang_Any_Type* p = nullptr;
    if (SLang_pop_anytype(&p) == -1)
        return false;
    v = CSlangValue(p);
    return true;
}

// Calls a helper that returns one array of strings.
bool CallStrings(const char* name, std::initializer_list<Arg> args, std::vector<std::string>& out, std::string& err)
{
    const int depth0 = SLstack_depth();
    int n = 0;
    if (!Call(name, args, n, err))
        return false;
    const bool ok = n == 1 && PopStrings(out);
    DropAbove(depth0);
    if (!ok) {
        SLang_set_error(0);
        err = std::string("unexpected answer of ") + name;
    }
    return ok;
}

// Calls a helper that returns one value.
bool CallValue(const char* name, std::initializer_list<Arg> args, CSlangValue& out, std::string& err)
{
    const int depth0 = SLstack_depth();
    int n = 0;
    if (!Call(name, args, n, err))
        return false;
    const bool ok = n == 1 && PopValue(out);
    DropAbove(depth0);
    if (!ok) {
        SLang_set_error(0);
        err = std::string("unexpected answer of ") + name;
    }
    return ok;
}

bool CallVoid(const char* name, std::initializer_list<Arg> args, std::string& err)
{
    const int depth0 = SLstack_depth();
    int n = 0;
    const bool ok = Call(name, args, n, err);
    DropAbove(depth0);
    return ok;
}

bool FramesFrom(const std::vector<std::string>& s, std::vector<CSlangFrame>& frames)
{
    for (size_t i = 0; i + 3 < s.size(); i += 4) {
        CSlangFrame f;
        f.nDepth = atoi(s[i].c_str());
        f.strFunction = s[i + 1];
        f.strFile = s[i + 2];
        f.nLine = atoi(s[i + 3].c_str());
        frames.push_back(f);
    }
    return true;
}

} // namespace

CSlangValue::~CSlangValue()
{
    if (m_p)
        SLang_free_anytype(m_p);
}

CSlangValue& CSlangValue::operator=(CSlangValue&& o) noexcept
{
    if (this != &o) {
        if (m_p)
            SLang_free_anytype(m_p);
        m_p = o.m_p;
        o.m_p = nullptr;
    }
    return *this;
}

bool SlangFrames(std::vector<CSlangFrame>& frames, std::string& strError)
{
    std::vector<std::string> s;
    return CallStrings("__vdap_frames", {}, s, strError) && FramesFrom(s, frames);
}

bool SlangLocals(int nDepth, CSlangValue& locals, std::string& strError)
{
    return CallValue("__vdap_locals", {nDepth}, locals, strError);
}

bool SlangGlobals(int nDepth, CSlangValue& globals, std::string& strError)
{
    return CallValue("__vdap_globals", {nDepth}, globals, strError);
}

bool SlangDescribe(const CSlangValue& v, CSlangValueText& text, std::string& strError)
{
    std::vector<std::string> s;
    if (!CallStrings("__vdap_describe", {v}, s, strError) || s.size() != 4)
        return false;
    text.strValue = s[0];
    text.strType = s[1];
    text.nKind = atoi(s[2].c_str());
    text.nCount = atoll(s[3].c_str());
    return true;
}

bool SlangChildren(const CSlangValue& v, long long nStart, long long nCount, std::vector<CSlangValueText>& children,
                   std::string& strError)
{
    std::vector<std::string> s;
    if (!CallStrings("__vdap_children", {v, nStart, nCount}, s, strError))
        return false;
    for (size_t i = 0; i + 4 < s.size(); i += 5) {
        CSlangValueText t;
        t.strName = s[i];
        t.strValue = s[i + 1];
        t.strType = s[i + 2];
        t.nKind = atoi(s[i + 3].c_str());
        t.nCount = atoll(s[i + 4].c_str());
        children.push_back(std::move(t));
    }
    return true;
}

bool SlangChild(const CSlangValue& v, long long nIndex, CSlangValue& child, std::string& strError)
{
    const int depth0 = SLstack_depth();
    int n = 0;
    if (!Call("__vdap_child", {v, nIndex}, n, strError))
        return false;
    const bool ok = n == 2 && PopValue(child);
    DropAbove(depth0); // the name
    if (!ok)
        strError = "no such child";
    return ok;
}

bool SlangEvaluate(int nDepth, const std::string& strText, const CSlangValue& locals, std::vector<CSlangValue>& results,
                   std::string& strError)
{
    CSlangValue list;
    if (!CallValue("__vdap_eval", {nDepth, strText, locals}, list, strError))
        return false;
    // The list's items, in order.
    const int depth0 = SLstack_depth();
    int n = 0;
    if (!Call("__push_list", {list}, n, strError))
        return false;
    results.resize((size_t)n);
    bool ok = true;
    for (int i = n - 1; i >= 0 && ok; --i)
        ok = PopValue(results[(size_t)i]);
    DropAbove(depth0);
    return ok;
}

bool SlangSetChild(const CSlangValue& v, long long nIndex, const CSlangValue& x, std::string& strError)
{
    return CallVoid("__vdap_set_child", {v, nIndex, x}, strError);
}

bool SlangSetGlobal(int nDepth, const std::string& strName, const CSlangValue& x, std::string& strError)
{
    return CallVoid("__vdap_set_global", {nDepth, strName, x}, strError);
}

bool SlangCurrentException(CSlangException& e)
{
    std::vector<std::string> s;
    std::string err;
    if (!CallStrings("__vdap_exception", {}, s, err) || s.size() != 7)
        return false;
    e.strDescription = s[0];
    e.strMessage = s[1];
    e.strFile = s[2];
    e.nLine = atoi(s[3].c_str());
    e.strFunction = s[4];
    e.nCode = atoi(s[5].c_str());
    e.strName = s[6];
    return true;
}

bool SlangSnapshot(CSlangValue& snapshot, std::string& strError)
{
    return CallValue("__vdap_snapshot", {}, snapshot, strError);
}

bool SlangSnapshotFrames(const CSlangValue& snapshot, std::vector<CSlangFrame>& frames, std::string& strError)
{
    std::vector<std::string> s;
    return CallStrings("__vdap_snapshot_frames", {snapshot}, s, strError) && FramesFrom(s, frames);
}

bool SlangSnapshotLocals(const CSlangValue& snapshot, int nIndex, CSlangValue& locals, std::string& strError)
{
    return CallValue("__vdap_snapshot_locals", {snapshot, nIndex}, locals, strError);
}

bool SlangIsTrue(const CSlangValue& v)
{
    if (!v)
        return false;
    const int depth0 = SLstack_depth();
    SLang_push_anytype(v.Get());
    const int t = SLang_peek_at_stack();
    bool b = true;
    if (t == SLANG_NULL_TYPE) {
        b = false;
    } else if (t == SLANG_DOUBLE_TYPE || t == SLANG_FLOAT_TYPE) {
        double d = 0;
        b = SLang_pop_double(&d) != -1 && d != 0;
    } else if (t == SLANG_CHAR_TYPE || t == SLANG_UCHAR_TYPE || t == SLANG_SHORT_TYPE || t == SLANG_USHORT_TYPE ||
               t == SLANG_INT_TYPE || t == SLANG_UINT_TYPE || t == SLANG_LONG_TYPE || t == SLANG_ULONG_TYPE ||
               t == SLANG_LLONG_TYPE || t == SLANG_ULLONG_TYPE) {
        long long n = 0;
        b = SLang_pop_long_long(&n) != -1 && n != 0;
    }
    SLang_set_error(0);
    DropAbove(depth0);
    return b;
}
