// A variable's value as the value tip shows it: one tree that both sources
// of values fill, the walker over the engine's own records and an
// inspection interface a host implements (EngineInspector.h), so that both
// give the same texts through one formatter (ValueFormat.h).
#pragma once
#include <string>
#include <utility>
#include <vector>

// Type codes of the engine's values. Other codes are shown as the bare name.
enum VelmorTypeCode
{
    VELMOR_T_INT = 2,       // 32-bit integer
    VELMOR_T_DOUBLE = 3,
    VELMOR_T_CHAR = 4,      // signed 8-bit
    VELMOR_T_INTP = 5,      // pointer to a 32-bit integer (the tree holds the integer)
    VELMOR_T_UCHAR = 9,
    VELMOR_T_SHORT = 10,
    VELMOR_T_USHORT = 11,
    VELMOR_T_UINT = 12,
    VELMOR_T_LONG = 13,     // 32 bits in this engine
    VELMOR_T_ULONG = 14,
    VELMOR_T_STRING = 15,
    VELMOR_T_FLOAT = 16,
    VELMOR_T_FLOAT2 = 17,   // a second float code; shown like 16
    VELMOR_T_ISTRUCT = 18,  // intrinsic structure: typed fields over a C data block
    VELMOR_T_ARRAY = 32,
    VELMOR_T_STRUCT = 39,   // structure of named values
};

struct CVelmorValue
{
    int nType = 0;
    // Integers of every width, already widened by their type (a char -1 is
    // -1, an unsigned char 255 is 255), and the integer an INTP points at.
    long long nInt = 0;
    double dValue = 0; // DOUBLE and both FLOAT codes
    std::string str;   // STRING: the text, UTF-8 or the engine's 8-bit text

    // ARRAY: the elements' type code, how many there are, and the elements
    // the source supplied, starting at element nFirst (a source may supply
    // only the one asked for; see the index of the lookup).
    int nElemType = 0;
    long long nLength = 0;
    long long nFirst = 0;
    std::vector<CVelmorValue> elements;

    // STRUCT and ISTRUCT: the fields in order, each a name and its value.
    std::vector<std::pair<std::string, CVelmorValue>> fields;

    static CVelmorValue Int(int nType, long long n)
    {
        CVelmorValue v;
        v.nType = nType;
        v.nInt = n;
        return v;
    }
    static CVelmorValue Real(int nType, double d)
    {
        CVelmorValue v;
        v.nType = nType;
        v.dValue = d;
        return v;
    }
    static CVelmorValue String(const std::string& s)
    {
        CVelmorValue v;
        v.nType = VELMOR_T_STRING;
        v.str = s;
        return v;
    }
    // The element at index, or null when the source did not supply it.
    const CVelmorValue* Element(long long index) const
    {
        if (index < nFirst || index - nFirst >= (long long)elements.size() || index >= nLength)
            return nullptr;
        return &elements[(size_t)(index - nFirst)];
    }
};
