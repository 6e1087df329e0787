// Documents that stress the control: a 10 MiB line, 10^6 empty lines,
// 1 MiB of tabs, lone surrogates, 100,000 alternating comment delimiters.
// Shared by the benchmark (which times each step) and the tests (which
// check that each loads, paints, scrolls and reads back exactly).
#pragma once
#include <string>
#include <vector>

namespace bench {

struct Hostile
{
    const char* name;
    std::wstring text;     // as loaded
    std::wstring expected; // as UnloadText must give it back
};

inline std::vector<Hostile> HostileInputs()
{
    std::vector<Hostile> v;
    {
        std::wstring s(10u << 20, L'a');
        for (size_t i = 0; i < s.size(); i += 7)
            s[i] = L' ';
        s += L'\n';
        v.push_back({ "a 10 MiB line", s, s + L'\n' });
    }
    {
        std::wstring s(1000000, L'\n');
        v.push_back({ "10^6 empty lines", s, s + L'\n' });
    }
    {
        // Tabs expand to spaces up to the next stop of 4.
        std::wstring s, e;
        for (int line = 0; line < 1024; ++line) {
            std::wstring t(1023, L'\t'), x((size_t)1023 * 4, L' ');
            s += t + L'\n';
            e += x + L'\n';
        }
        v.push_back({ "1 MiB of tabs", s, e + L'\n' });
    }
    {
        std::wstring s;
        for (int i = 0; i < 20000; ++i) {
            s += L"x = \xD800; y = \xDC00 \xDFFF\xD800z \xDBFF\n";
            s += L"\xDC01\xD801\n";
        }
        v.push_back({ "lone surrogates", s, s + L'\n' });
    }
    {
        std::wstring s;
        for (int i = 0; i < 100000; ++i)
            s += i % 2 ? L"b */ c\n" : L"a /* b\n";
        v.push_back({ "100,000 alternating comment delimiters", s, s + L'\n' });
    }
    return v;
}

} // namespace bench
