// The S-Lang side of the debug session's inspection: frames, locals,
// globals, the text of values and their children by page, evaluation in a
// frame and assignments. Compiled once, before any script, with no
// statement or function hooks. Every helper catches the errors of what it
// reads, so that no error is left behind in the interpreter.
#include "SlangInspect.h"

namespace {

const char kSource[] = R"SL(
private variable Vdap_Max_Text = 1023;

private define vdap_cut (s)
{
   if (strbytelen (s) > Vdap_Max_Text)
     s = substrbytes (s, 1, Vdap_Max_Text) + "...";
   return s;
}

% The script's frames, innermost first, as flat records of four strings:
% depth, function ("" at a file's top level), file, line. The helper's own
% frame, the frames of the strings the adapter evaluates and those of the
% launcher are left out.
define __vdap_frames ()
{
   variable top = _get_frame_depth () - 1, d;
   variable out = String_Type[0];
   for (d = top; d >= 1; d--)
     {
        variable info = _get_frame_info (d);
        if ((info.file == NULL) || (info.file == "***string***"))
          continue;
        variable fn = info.function;
        if (fn == NULL) fn = "";
        if (0 == strncmp (fn, "__vdap_", 7))
          continue;
        out = [out, string (d), fn, info.file, string (info.line)];
     }
   return out;
}

% The locals of frame d as one structure (fields in declaration order;
% those without a value yet are left out).
define __vdap_locals (d)
{
   variable info = _get_frame_info (d);
   variable names = info.locals;
   if (names == NULL)
     names = String_Type[0];
   variable have = Char_Type[length (names)], vals = {}, i;
   _for i (0, length (names) - 1, 1)
     {
        try
          {
             list_append (vals, _get_frame_variable (d, names[i]));
             have[i] = 1;
          }
        catch AnyError;
     }
   names = names[where (have)];
   variable s = @Struct_Type (names);
   _for i (0, length (names) - 1, 1)
     set_struct_field (s, names[i], vals[i]);
   return s;
}

% The user variables visible from frame d (its namespace's and the global
% ones), one structure; names beginning with '_' or '$' are the
% interpreter's or its shell's.
define __vdap_globals (d)
{
   variable ns = "Global";
   if (d > 0)
     ns = _get_frame_info (d).namespace;
   if (ns == NULL) ns = "Global";
   variable names = _apropos ("Global", "", 8);
   if (ns != "Global")
     names = [names, _apropos (ns, "", 8)];
   names = names[where (array_map (Int_Type, &strncmp, names, "_", 1) != 0
                        and array_map (Int_Type, &strncmp, names, "$", 1) != 0)];
   names = names[where (names != "SLSH_PATH_ENV")]; % the adapter's, for slsh's startup file
   names = names[array_sort (names)];
   if (length (names) > 1000) names = names[[0:999]];
   variable have = Char_Type[length (names)], vals = {}, i;
   _for i (0, length (names) - 1, 1)
     {
        if ((i > 0) && (names[i] == names[i-1]))
          continue;
        try
          {
             if (d > 0)
               eval (sprintf ("_boseos_info=0;_bofeof_info=0;_use_frame_namespace(%d);&%s;", d, names[i]));
             else
               eval (sprintf ("_boseos_info=0;_bofeof_info=0;&%s;", names[i]));
             variable r = ();
             if (__is_initialized (r) and not __is_callable (r))
               {
                  list_append (vals, @r);
                  have[i] = 1;
               }
          }
        catch AnyError;
     }
   names = names[where (have)];
   variable s = @Struct_Type (names);
   _for i (0, length (names) - 1, 1)
     set_struct_field (s, names[i], vals[i]);
   return s;
}

% What a value is: its text, its type, its kind (0 plain, 1 array,
% 2 structure, 3 list, 4 associative array) and how many children it has.
define __vdap_describe (v)
{
   variable t = typeof (v);
   if (t == String_Type)
     return [vdap_cut (make_printable_string (v)), "String_Type", "0", "0"];
   if (t == BString_Type)
     return [vdap_cut (make_printable_string (v)), "BString_Type", "0", "0"];
   if (t == Null_Type)
     return ["NULL", "Null_Type", "0", "0"];
   if (t == Array_Type)
     {
        variable dims = array_shape (v);
        variable dtext = strjoin (array_map (String_Type, &string, dims), ",");
        return [sprintf ("%S[%s]", _typeof (v), dtext), sprintf ("%S[]", _typeof (v)), "1", string (length (v))];
     }
   if (is_struct_type (v))
     {
        variable names = get_struct_field_names (v);
        variable shown = names;
        if (length (shown) > 8) shown = [shown[[0:7]], "..."];
        return [vdap_cut (sprintf ("struct {%s}", strjoin (shown, ", "))), string (t), "2", string (length (names))];
     }
   if (t == List_Type)
     return [sprintf ("List_Type[%d]", length (v)), "List_Type", "3", string (length (v))];
   if (t == Assoc_Type)
     return [sprintf ("Assoc_Type[%d]", length (v)), "Assoc_Type", "4", string (length (v))];
   variable text;
   try
     text = string (v);
   catch AnyError:
     text = string (t);
   return [vdap_cut (text), string (t), "0", "0"];
}

private define vdap_assoc_keys (a)
{
   variable k = assoc_get_keys (a);
   return k[array_sort (k)];
}

% The name and the value of child i of a container.
define __vdap_child (v, i)
{
   variable t = typeof (v);
   if (t == Array_Type)
     {
        if (length (array_shape (v)) > 1)
          return sprintf ("[%d]", i), _reshape (v, [length (v)])[i];
        return sprintf ("[%d]", i), v[i];
     }
   if (is_struct_type (v))
     {
        variable f = get_struct_field_names (v)[i];
        return f, get_struct_field (v, f);
     }
   if (t == List_Type)
     return sprintf ("[%d]", i), v[i];
   if (t == Assoc_Type)
     {
        variable k = vdap_assoc_keys (v)[i];
        return make_printable_string (k), v[k];
     }
   throw InvalidParmError, "no children";
}

% Children start .. start+count-1, as flat records of five strings: name,
% text, type, kind, count.
define __vdap_children (v, start, count)
{
   variable t = typeof (v), i, n, keys = NULL, names = NULL;
   if (not (is_struct_type (v) or (t == Array_Type) or (t == List_Type) or (t == Assoc_Type)))
     throw InvalidParmError, "a value of $t has no children"$;
   n = length (v);
   if (is_struct_type (v))
     {
        names = get_struct_field_names (v);
        n = length (names);
     }
   else if (t == Assoc_Type)
     keys = vdap_assoc_keys (v);
   else if ((t == Array_Type) && (length (array_shape (v)) > 1))
     v = _reshape (v, [n]);
   if (start > n) start = n;
   if (start + count > n) count = n - start;
   variable out = String_Type[5 * count], j = 0;
   _for i (start, start + count - 1, 1)
     {
        variable name, c;
        if (names != NULL)
          (name, c) = names[i], get_struct_field (v, names[i]);
        else if (keys != NULL)
          (name, c) = make_printable_string (keys[i]), v[keys[i]];
        else
          (name, c) = sprintf ("[%d]", i), v[i];
        out[j] = name;
        out[[j+1:j+4]] = __vdap_describe (c);
        j += 5;
     }
   return out;
}

% Sets child i of a container to x.
define __vdap_set_child (v, i, x)
{
   variable t = typeof (v);
   if (t == Array_Type)
     {
        if (length (array_shape (v)) > 1)
          throw InvalidParmError, "an element of an array of more than one dimension is set by its indexes, in an expression";
        v[i] = x;
        return;
     }
   if (is_struct_type (v))
     {
        set_struct_field (v, get_struct_field_names (v)[i], x);
        return;
     }
   if (t == List_Type)
     {
        v[i] = x;
        return;
     }
   if (t == Assoc_Type)
     {
        v[vdap_assoc_keys (v)[i]] = x;
        return;
     }
   throw InvalidParmError, "this value has no children to set";
}

% Sets the variable name as the code of frame d sees it (d = 0: the
% global namespace).
define __vdap_set_global (d, name, x)
{
   if (d > 0)
     eval (sprintf ("_boseos_info=0;_bofeof_info=0;_use_frame_namespace(%d);&%s;", d, name));
   else
     eval (sprintf ("_boseos_info=0;_bofeof_info=0;&%s;", name));
   variable r = ();
   if (__is_callable (r))
     throw InvalidParmError, "$name is a function"$;
   @r = x;
}

% Evaluates the expression text where the code of frame d runs (d = 0:
% the global namespace), the locals (a structure, see __vdap_locals, or
% NULL) visible as variables of their names. Returns the values it left, as a
% list.
define __vdap_eval (d, expr, locals)
{
   variable decl = "", names = String_Type[0], i;
   if (locals != NULL)
     names = get_struct_field_names (locals);
   _for i (0, length (names) - 1, 1)
     decl += sprintf ("variable %s = get_struct_field (__vdap_l, \"%s\");", names[i], names[i]);
   variable ns = "";
   if (d > 0) ns = sprintf ("_use_frame_namespace(%d);", d);
   eval (sprintf ("_boseos_info=0;_bofeof_info=0;%s private define __vdap_expr (__vdap_l) { %s\n%s;\n} &__vdap_expr;",
                  ns, decl, expr));
   variable f = ();
   variable n0 = _stkdepth ();
   (@f) (locals);
   return __pop_list (_stkdepth () - n0);
}

% Whatever the code left on the stack, as a list (for the adapter).
define __vdap_pop_all (n)
{
   return __pop_list (n);
}

% The name of an exception (IndexError...): the variable that holds its
% number ("" when none does).
private define vdap_exception_name (code)
{
   variable n;
   foreach n (_apropos ("Global", "Error$", 0xF))
     {
        variable r = __get_reference (n);
        if ((r == NULL) || __is_callable (r) || (0 == __is_initialized (r)))
          continue;
        variable v = @r;
        if ((typeof (v) == Int_Type) && (v == code))
          return n;
     }
   return "";
}

% The error under way: its description, message, file, line, function,
% number and name.
define __vdap_exception ()
{
   variable e = __get_exception_info ();
   if (e == NULL)
     return String_Type[0];
   variable fn = e.function;
   if (fn == NULL) fn = "";
   variable msg = e.message;
   if (msg == NULL) msg = e.descr;
   variable file = e.file;
   if (file == NULL) file = "";
   return [string (e.descr), string (msg), file, string (e.line), fn, string (e.error),
           vdap_exception_name (e.error)];
}

% The script's frames with their locals, kept when an error is raised so
% that an error nobody catches can be shown where it began: a list of
% structures {frame, function, file, line, locals}.
define __vdap_snapshot ()
{
   variable top = _get_frame_depth () - 1, d;
   variable out = {};
   for (d = top; d >= 1; d--)
     {
        variable info = _get_frame_info (d);
        if ((info.file == NULL) || (info.file == "***string***"))
          continue;
        variable fn = info.function;
        if (fn == NULL) fn = "";
        if (0 == strncmp (fn, "__vdap_", 7))
          continue;
        variable locals;
        try
          locals = __vdap_locals (d);
        catch AnyError:
          locals = @Struct_Type (String_Type[0]);
        list_append (out, struct {frame = d, function = fn, file = info.file, line = info.line, locals = locals});
     }
   return out;
}

define __vdap_snapshot_frames (snap)
{
   variable out = String_Type[0], i;
   _for i (0, length (snap) - 1, 1)
     out = [out, string (i + 1), snap[i].function, snap[i].file, string (snap[i].line)];
   return out;
}

define __vdap_snapshot_locals (snap, i)
{
   return snap[i - 1].locals;
}

% Calls the helper named by the first argument with the others; leaves its
% results, their number and "" on the stack, or 0 and the error's message.
define __vdap_guard ()
{
   variable args = __pop_list (_NARGS - 1);
   variable name = (), e;
   try (e)
     {
        variable f = __get_reference (name);
        variable n0 = _stkdepth ();
        (@f) (__push_list (args));
        variable results = __pop_list (_stkdepth () - n0);
        return __push_list (results), length (results), "";
     }
   catch AnyError:
     {
        variable msg = e.message;
        if ((msg == NULL) || (msg == "")) msg = e.descr;
        return 0, string (msg);
     }
}

% Runs the program: file is compiled with the statement hook; errors are
% left to the caller.
define __vdap_run (file)
{
   _boseos_info = 3;
   () = evalfile (file);
}
)SL";

} // namespace

const char* SlangInspectSource()
{
    return kSource;
}
