// Reads variables of a held script through S-Lang's own frame and namespace
// intrinsics (the ones S-Lang's debugger uses) and turns the values on the
// interpreter's stack into value trees with the public stack API.
#include "SlangValues.h"
#include <cstring>
// The library is built with long long support; its header declares it only on request.
#define HAVE_LONG_LONG 1
#include <slang.h>

namespace {

// Structures nest; a tip shows a few levels at most.
const int kMaxDepth = 8;
// What one lookup reads at most: the tip shows 1,023 characters, and a
// structure that holds itself would otherwise expand to fields^8 values.
const unsigned kMaxFields = 256;
const unsigned kMaxValues = 4096;
const size_t kMaxText = 1023;
unsigned g_nValuesLeft = 0; // for the lookup under way (script thread only)

// Helpers are called from C inside the statement or function hook, so the
// frame below the helper's own is the script's running function.
const char kHelpers[] = R"SL(
% S-Lang drops a statement hook that raised an error (an aborted run
% does): each run installs it again. boseos: compile the script (which the
% adapter holds) with the statement hook (3) or without (0).
define __velmor_run (boseos)
{
   () = _set_bos_handler (&__velmor_bos);
   _boseos_info = boseos;
   try
     __velmor_load_script ();
   finally
     _boseos_info = 0;
}

define __velmor_call (f)
{
   () = _set_bos_handler (&__velmor_bos);
   (@f) ();
}

% A reference to name, resolved as code of frame d would resolve it
% (its private and static namespace, then the global one); NULL if none.
private define velmor_ref_in_frame (d, name)
{
   try
     {
        eval (sprintf ("_use_frame_namespace(%d);&%s;", d, name));
        return ();
     }
   catch AnyError;
   return NULL;
}

% The frame of the innermost call of function fn (NULL: the running
% function's), 0 when fn is not running.
private define velmor_function_frame (top, fn)
{
   if (fn == NULL)
     return top;
   variable d = top;
   while (d > 0)
     {
        variable f = _get_frame_info (d).function;
        if ((f != NULL) && (f == fn))
          return d;
        d--;
     }
   return 0;
}

% 1 and the value, 2 for a name without a value (a variable not yet set,
% or a function: found, shown bare), 0 when not found: a local of fn's
% frame, else a name visible from the running function.
define __velmor_find (name, fn)
{
   variable top = _get_frame_depth () - 1;
   variable d = velmor_function_frame (top, fn);
   if (d > 0)
     {
        variable info = _get_frame_info (d);
        if ((info.locals != NULL) && any (info.locals == name))
          {
             try
               return _get_frame_variable (d, name), 1;
             catch AnyError;
             return 2;
          }
     }
   variable r = velmor_ref_in_frame (top, name);
   if (r == NULL)
     return 0;
   if (__is_callable (r))
     return 2;
   if (0 == __is_initialized (r))
     return 2;
   return @r, 1;
}

define __velmor_elem (a, i)
{
   if (length (array_shape (a)) > 1)
     a = _reshape (a, [length (a)]);
   return a[i];
}

define __velmor_funref (name)
{
   variable r = velmor_ref_in_frame (_get_frame_depth () - 1, name);
   if ((r != NULL) && __is_callable (r))
     return r;
   return NULL;
}
)SL";

bool IsIdentifier(const char* s)
{
    if (!s || !*s || (*s >= '0' && *s <= '9') || strlen(s) > 255)
        return false;
    for (; *s; ++s)
        if (!((*s >= 'a' && *s <= 'z') || (*s >= 'A' && *s <= 'Z') || (*s >= '0' && *s <= '9') || *s == '_'))
            return false;
    return true;
}

// Calls the helper fn with the arguments already pushed by push().
template <class Push> bool CallHelper(const char* fn, Push push)
{
    SLang_Name_Type* f = SLang_get_function((char*)fn);
    if (!f || SLang_start_arg_list() == -1)
        return false;
    push();
    return SLang_end_arg_list() != -1 && SLexecute_function(f) != -1;
}

bool PopValue(CVelmorValue& v, long long nIndex, int depth);

// Pops a number with S-Lang's pop function for its C type into out.
template <class T, class Out> bool PopNumber(int (*pop)(T*), Out& out)
{
    T n;
    if (pop(&n) == -1)
        return false;
    out = (Out)n;
    return true;
}

bool PopArray(CVelmorValue& v, long long nIndex, int depth)
{
    SLang_Array_Type* at = nullptr;
    if (SLang_pop_array(&at, 0) == -1)
        return false;
    v.nType = VELMOR_T_ARRAY;
    v.nElemType = SlangTypeToVelmor(at->data_type);
    v.nLength = (long long)at->num_elements;
    const long long want = nIndex < 0 ? 0 : nIndex;
    bool ok = true;
    if (want < v.nLength && depth < kMaxDepth) {
        // Only the element shown is read; S-Lang indexes it (a string, a
        // structure, any element type alike).
        ok = CallHelper("__velmor_elem", [&] {
            SLang_push_array(at, 0);
            SLang_push_array_index((SLindex_Type)want);
        });
        CVelmorValue e;
        if (ok && PopValue(e, -1, depth + 1)) {
            v.nFirst = want;
            v.elements.push_back(std::move(e));
        }
    }
    SLang_free_array(at);
    return ok;
}

bool PopStruct(CVelmorValue& v, int depth)
{
    SLang_Struct_Type* s = nullptr;
    if (SLang_pop_struct(&s) == -1)
        return false;
    v.nType = VELMOR_T_STRUCT;
    SLang_Array_Type* names = nullptr;
    bool ok = CallHelper("get_struct_field_names", [&] { SLang_push_struct(s); }) &&
              SLang_pop_array_of_type(&names, SLANG_STRING_TYPE) != -1;
    if (ok) {
        char** pNames = (char**)names->data;
        for (SLuindex_Type i = 0; ok && i < names->num_elements && i < kMaxFields && g_nValuesLeft; ++i) {
            CVelmorValue field;
            ok = SLang_push_struct_field(s, pNames[i]) != -1;
            if (!ok)
                break;
            if (depth < kMaxDepth) {
                ok = PopValue(field, -1, depth + 1);
            } else {
                ok = SLdo_pop() != -1; // too deep: the field's name alone
                --g_nValuesLeft;
            }
            v.fields.emplace_back(pNames[i], std::move(field));
        }
        SLang_free_array(names);
    }
    SLang_free_struct(s);
    return ok;
}

// Pops the value on top of the stack into v.
bool PopValue(CVelmorValue& v, long long nIndex, int depth)
{
    const int t = SLang_peek_at_stack();
    if (t == -1)
        return false;
    if (g_nValuesLeft == 0) { // past the lookup's budget: no text for it
        v.nType = 0;
        return SLdo_pop() != -1;
    }
    --g_nValuesLeft;
    v.nType = SlangTypeToVelmor((unsigned)t);
    switch (t) {
    case SLANG_CHAR_TYPE: {
        char c;
        if (SLang_pop_char(&c) == -1)
            return false;
        v.nInt = (signed char)c;
        return true;
    }
    case SLANG_UCHAR_TYPE: return PopNumber<unsigned char>(SLang_pop_uchar, v.nInt);
    case SLANG_SHORT_TYPE: return PopNumber<short>(SLang_pop_short, v.nInt);
    case SLANG_USHORT_TYPE: return PopNumber<unsigned short>(SLang_pop_ushort, v.nInt);
    case SLANG_INT_TYPE: return PopNumber<int>(SLang_pop_int, v.nInt);
    case SLANG_UINT_TYPE: return PopNumber<unsigned>(SLang_pop_uint, v.nInt);
    case SLANG_LONG_TYPE: return PopNumber<long>(SLang_pop_long, v.nInt);
    case SLANG_ULONG_TYPE: return PopNumber<unsigned long>(SLang_pop_ulong, v.nInt);
    case SLANG_LLONG_TYPE: return PopNumber<long long>(SLang_pop_long_long, v.nInt);
    case SLANG_ULLONG_TYPE: return PopNumber<unsigned long long>(SLang_pop_ulong_long, v.nInt);
    case SLANG_FLOAT_TYPE: return PopNumber<float>(SLang_pop_float, v.dValue);
    case SLANG_DOUBLE_TYPE: return PopNumber<double>(SLang_pop_double, v.dValue);
    case SLANG_STRING_TYPE: {
        SLstr_Type* s = nullptr;
        if (SLang_pop_slstring(&s) == -1)
            return false;
        v.str.assign(s, strnlen(s, kMaxText));
        SLang_free_slstring(s);
        return true;
    }
    case SLANG_ARRAY_TYPE:
        return PopArray(v, nIndex, depth);
    case SLANG_STRUCT_TYPE:
        return PopStruct(v, depth);
    default: // a value the tip has no text for
        v.nType = 0;
        return SLdo_pop() != -1;
    }
}

} // namespace

const char* SlangHelperSource()
{
    return kHelpers;
}

int SlangTypeToVelmor(unsigned int nSlangType)
{
    switch (nSlangType) {
    case SLANG_CHAR_TYPE: return VELMOR_T_CHAR;
    case SLANG_UCHAR_TYPE: return VELMOR_T_UCHAR;
    case SLANG_SHORT_TYPE: return VELMOR_T_SHORT;
    case SLANG_USHORT_TYPE: return VELMOR_T_USHORT;
    case SLANG_INT_TYPE: return VELMOR_T_INT;
    case SLANG_UINT_TYPE: return VELMOR_T_UINT;
    case SLANG_LONG_TYPE: case SLANG_LLONG_TYPE: return VELMOR_T_LONG;
    case SLANG_ULONG_TYPE: case SLANG_ULLONG_TYPE: return VELMOR_T_ULONG;
    case SLANG_FLOAT_TYPE: return VELMOR_T_FLOAT;
    case SLANG_DOUBLE_TYPE: return VELMOR_T_DOUBLE;
    case SLANG_STRING_TYPE: return VELMOR_T_STRING;
    case SLANG_ARRAY_TYPE: return VELMOR_T_ARRAY;
    case SLANG_STRUCT_TYPE: return VELMOR_T_STRUCT;
    default: return 0;
    }
}

bool SlangFindVariable(const char* pszName, const char* pszFunction, long long nIndex, CVelmorValue& value)
{
    if (!IsIdentifier(pszName))
        return false;
    const int depth0 = SLstack_depth();
    if (!CallHelper("__velmor_find", [&] {
            SLang_push_string((char*)pszName);
            pszFunction ? SLang_push_string((char*)pszFunction) : SLang_push_null();
        }))
        return false;
    int status = 0;
    bool found = false;
    if (SLang_pop_int(&status) != -1) {
        if (status == 1) {
            value = CVelmorValue();
            g_nValuesLeft = kMaxValues;
            found = PopValue(value, nIndex, 0);
        } else if (status == 2) {
            value = CVelmorValue(); // exists, no value yet
            found = true;
        }
    }
    // Whatever went wrong, leave the script's stack as it was.
    if (SLstack_depth() > depth0)
        SLdo_pop_n((unsigned)(SLstack_depth() - depth0));
    return found;
}

bool SlangFunctionRef(const char* pszName, void** ppRef)
{
    *ppRef = nullptr;
    const int depth0 = SLstack_depth();
    if (!IsIdentifier(pszName) || !CallHelper("__velmor_funref", [&] { SLang_push_string((char*)pszName); }))
        return false;
    SLang_Any_Type* ref = nullptr;
    if (SLang_peek_at_stack() == SLANG_REF_TYPE && SLang_pop_anytype(&ref) != -1)
        *ppRef = ref;
    if (SLstack_depth() > depth0)
        SLdo_pop_n((unsigned)(SLstack_depth() - depth0));
    return *ppRef != nullptr;
}
