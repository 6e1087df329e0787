#include "ValueFormat.h"
#include <cstdint>
#include <cstdio>

namespace {

// printf into a std::string.
template <typename... Args>
std::string Printf(const char* fmt, Args... args)
{
    char buf[VELMOR_VALUE_TEXT_MAX + 1];
    std::snprintf(buf, sizeof buf, fmt, args...);
    return buf;
}

// The engine's integers print through a signed 32-bit "%d".
int AsInt32(long long n)
{
    return (int)(int32_t)(uint32_t)(unsigned long long)n;
}

unsigned AsUInt32(long long n)
{
    return (unsigned)(uint32_t)(unsigned long long)n;
}


void Cut(std::string& s)
{
    if (s.size() > VELMOR_VALUE_TEXT_MAX)
        s.resize(VELMOR_VALUE_TEXT_MAX);
}

bool FormatObject(std::string& out, const std::string& name, const CVelmorValue& v, const std::string& field,
                  long long index);

// Lines of a structure's fields, each "\t" + the field's text + "\n".
void AppendStructLines(std::string& out, const CVelmorValue& v)
{
    for (const auto& f : v.fields) {
        std::string text;
        if (!FormatObject(text, f.first, f.second, std::string(), -1))
            text = f.first; // a field the formats cannot show keeps its name
        out += '\t';
        out += text;
        out += '\n';
        if (out.size() > VELMOR_VALUE_TEXT_MAX)
            break;
    }
}

// "<prefix><value>\n" for a value stored in an array element or an
// intrinsic structure's field, appended to out; false for a type those
// lines do not show. (A char 0 ends the line's text, as it does in C.)
bool AppendValueLine(std::string& out, const std::string& prefix, int type, const CVelmorValue& e)
{
    const char* p = prefix.c_str();
    switch (type) {
    case VELMOR_T_INT: case VELMOR_T_UCHAR: case VELMOR_T_SHORT:
    case VELMOR_T_USHORT: case VELMOR_T_UINT: case VELMOR_T_LONG:
    case VELMOR_T_INTP: // the integer it points at
        out += Printf("%s%d\n", p, AsInt32(e.nInt));
        return true;
    case VELMOR_T_DOUBLE: case VELMOR_T_FLOAT:
        out += Printf("%s%f\n", p, e.dValue);
        return true;
    case VELMOR_T_CHAR:
        out += Printf("%s%c\n", p, (int)(char)e.nInt);
        return true;
    case VELMOR_T_ULONG:
        out += Printf("%s%u\n", p, AsUInt32(e.nInt));
        return true;
    case VELMOR_T_STRING:
        out += Printf("%s%s\n", p, e.str.c_str());
        return true;
    default:
        return false;
    }
}

// One field line of an intrinsic structure: "\t.name=value\n".
void IStructFieldLine(std::string& out, const std::string& name, const CVelmorValue& f)
{
    AppendValueLine(out, "\t." + name + "=", f.nType, f);
}

bool FormatIStruct(std::string& out, const std::string& name, const CVelmorValue& v, const std::string& field)
{
    if (field.empty()) {
        out = name + "\n";
        for (const auto& f : v.fields) {
            IStructFieldLine(out, f.first, f.second);
            if (out.size() > VELMOR_VALUE_TEXT_MAX)
                break;
        }
        return true;
    }
    out = name;
    for (const auto& f : v.fields)
        if (f.first == field) {
            IStructFieldLine(out, f.first, f.second);
            break;
        }
    return true;
}

bool FormatStruct(std::string& out, const std::string& name, const CVelmorValue& v, const std::string& field)
{
    out = name;
    if (!field.empty()) {
        out += '.';
        for (const auto& f : v.fields)
            if (f.first == field) {
                std::string text;
                if (FormatObject(text, f.first, f.second, std::string(), -1))
                    out += text;
                else
                    out += f.first;
                break;
            }
        return true;
    }
    out += '\n';
    AppendStructLines(out, v);
    return true;
}

bool FormatArrayElement(std::string& out, const std::string& name, const CVelmorValue& v, long long index)
{
    if (index < 0)
        index = 0;
    const CVelmorValue* e = v.Element(index);
    if (!e)
        return false;
    const std::string prefix = Printf("%s[%d]=", name.c_str(), (int)index);
    if (v.nElemType == VELMOR_T_STRUCT) {
        out = prefix + "\n";
        AppendStructLines(out, *e);
        return true;
    }
    out.clear();
    return AppendValueLine(out, prefix, v.nElemType, *e);
}

bool FormatObject(std::string& out, const std::string& name, const CVelmorValue& v, const std::string& field,
                  long long index)
{
    const char* n = name.c_str();
    switch (v.nType) {
    case VELMOR_T_INT: case VELMOR_T_ULONG: case VELMOR_T_CHAR: case VELMOR_T_INTP:
    case VELMOR_T_UCHAR: case VELMOR_T_SHORT: case VELMOR_T_USHORT:
    case VELMOR_T_UINT: case VELMOR_T_LONG:
        out = Printf("%s=%d", n, AsInt32(v.nInt));
        return true;
    case VELMOR_T_DOUBLE: case VELMOR_T_FLOAT: case VELMOR_T_FLOAT2:
        out = Printf("%s=%f", n, v.dValue);
        return true;
    case VELMOR_T_STRING:
        out = Printf("%s=\"%s\"", n, v.str.c_str());
        return true;
    case VELMOR_T_ISTRUCT:
        return FormatIStruct(out, name, v, field);
    case VELMOR_T_ARRAY:
        return FormatArrayElement(out, name, v, index);
    case VELMOR_T_STRUCT:
        return FormatStruct(out, name, v, field);
    default:
        return false;
    }
}

} // namespace

bool VelmorFormatValue(std::string& text, const std::string& name, const CVelmorValue& value,
                       const std::string& field, long long index)
{
    text.clear();
    if (!FormatObject(text, name, value, field, index)) {
        text.clear();
        return false;
    }
    Cut(text);
    return true;
}
