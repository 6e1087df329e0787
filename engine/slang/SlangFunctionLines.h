// Which lines of a script each function's definition spans, read from the
// script's text. The run control uses it to leave S-Lang's statement hook
// off inside a function that holds no breakpoint (the hook is S-Lang's most
// expensive part of a run). Portable: no S-Lang calls.
#pragma once
#include <map>
#include <string>
#include <utility>
#include <vector>

class CSlangFunctionLines
{
public:
    // Reads "define name (...) { ... }" (also private, static and public
    // ones) from S-Lang source, skipping comments, strings and character
    // literals. Lines are one-based. When the text does not read cleanly
    // (braces that do not balance, an unterminated string) nothing is known.
    void Scan(const std::string& strText);
    void Clear()
    {
        m_spans.clear();
        m_bRead = false;
    }
    // The text read cleanly (it may define no function).
    bool IsRead() const { return m_bRead; }

    // The spans (first line, last line) of the functions named pszName; null
    // when the script defines no such function.
    const std::vector<std::pair<int, int>>* Find(const char* pszName) const;
    // The function whose definition holds nLine (of two, the one that
    // starts later); empty for a line outside every function.
    std::string FunctionAt(int nLine) const;

private:
    bool m_bRead = false;
    std::map<std::string, std::vector<std::pair<int, int>>, std::less<>> m_spans;
};
