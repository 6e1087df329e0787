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

// One field line of an intrinsic structure: "\t.name=value\n".
bool IStructFieldLine(std::string& out, const std::string& name, const CVelmorValue& f)
{
    const char* n = name.c_str();
    switch (f.nType) {
    case VELMOR_T_INT: case VELMOR_T_UCHAR: case VELMOR_T_SHORT:
    case VELMOR_T_USHORT: case VELMOR_T_UINT: case VELMOR_T_LONG:
    case VELMOR_T_INTP: // the integer it points at
        out += Printf("\t.%s=%d\n", n, AsInt32(f.nInt));
        return true;
    case VELMOR_T_DOUBLE: case VELMOR_T_FLOAT:
        out += Printf("\t.%s=%f\n", n, f.dValue);
        return true;
    case VELMOR_T_CHAR:
        out += Printf("\t.%s=%c\n", n, (int)(char)f.nInt);
        return true;
    case VELMOR_T_ULONG:
        out += Printf("\t.%s=%u\n", n, AsUInt32(f.nInt));
        return true;
    case VELMOR_T_STRING:
        out += Printf("\t.%s=%s\n", n, f.str.c_str());
        return true;
    default:
        return false;
    }
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
    const char* n = name.c_str();
    const int i = (int)index;
    switch (v.nElemType) {
    case VELMOR_T_INT: case VELMOR_T_UCHAR: case VELMOR_T_SHORT:
    case VELMOR_T_USHORT: case VELMOR_T_UINT: case VELMOR_T_LONG:
    case VELMOR_T_INTP: // the integer it points at
        out = Printf("%s[%d]=%d\n", n, i, AsInt32(e->nInt));
        return true;
    case VELMOR_T_DOUBLE: case VELMOR_T_FLOAT:
        out = Printf("%s[%d]=%f\n", n, i, e->dValue);
        return true;
    case VELMOR_T_CHAR:
        out = Printf("%s[%d]=%c\n", n, i, (int)(char)e->nInt);
        return true;
    case VELMOR_T_ULONG:
        out = Printf("%s[%d]=%u\n", n, i, AsUInt32(e->nInt));
        return true;
    case VELMOR_T_STRING:
        out = Printf("%s[%d]=%s\n", n, i, e->str.c_str());
        return true;
    case VELMOR_T_STRUCT:
        out = Printf("%s[%d]=\n", n, i);
        AppendStructLines(out, *e);
        return true;
    default:
        return false;
    }
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
