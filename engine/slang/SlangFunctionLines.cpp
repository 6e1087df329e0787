#include "SlangFunctionLines.h"

namespace {

bool IsNameStart(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == '$';
}

bool IsNameChar(char c)
{
    return IsNameStart(c) || (c >= '0' && c <= '9');
}

} // namespace

void CSlangFunctionLines::Scan(const std::string& text)
{
    Clear();
    struct Open
    {
        std::string name;
        int nFirst;
        int nDepth; // brace depth of the body's '{'
    };
    std::vector<Open> open;
    std::string pending; // a defined name whose body has not begun
    int nPendingLine = 0, nDepth = 0, nLine = 1;
    bool bExpectName = false;
    const size_t n = text.size();
    for (size_t i = 0; i < n; ++i) {
        const char c = text[i];
        if (c == '\n') {
            ++nLine;
        } else if (c == '%') { // comment to the end of the line
            while (i + 1 < n && text[i + 1] != '\n')
                ++i;
        } else if (c == '"' || c == '\'') {
            for (++i; i < n && text[i] != c; ++i) {
                if (text[i] == '\n')
                    return Clear(); // strings and characters end on their line
                if (text[i] == '\\')
                    ++i;
            }
            if (i >= n)
                return Clear();
        } else if (c == '`') { // verbatim string, may span lines
            for (++i; i < n && text[i] != '`'; ++i)
                nLine += text[i] == '\n';
            if (i >= n)
                return Clear();
        } else if (IsNameStart(c)) {
            size_t j = i;
            while (j < n && IsNameChar(text[j]))
                ++j;
            const std::string word = text.substr(i, j - i);
            i = j - 1;
            if (bExpectName) {
                pending = word;
                bExpectName = false;
            } else if (word == "define") {
                bExpectName = true;
                nPendingLine = nLine;
                pending.clear();
            }
        } else if (c == ';' && !pending.empty()) {
            pending.clear(); // a declaration without a body
        } else if (c == '{') {
            ++nDepth;
            if (!pending.empty()) {
                open.push_back({pending, nPendingLine, nDepth});
                pending.clear();
            }
        } else if (c == '}') {
            if (!open.empty() && open.back().nDepth == nDepth) {
                m_spans[open.back().name].emplace_back(open.back().nFirst, nLine);
                open.pop_back();
            }
            if (--nDepth < 0)
                return Clear();
        }
    }
    if (nDepth != 0 || !open.empty())
        m_spans.clear();
    else
        m_bRead = true;
}

std::string CSlangFunctionLines::FunctionAt(int nLine) const
{
    std::string name;
    int nFirst = 0;
    for (const auto& f : m_spans)
        for (const auto& span : f.second)
            if (nLine >= span.first && nLine <= span.second && span.first > nFirst) {
                name = f.first;
                nFirst = span.first;
            }
    return name;
}

const std::vector<std::pair<int, int>>* CSlangFunctionLines::Find(const char* pszName) const
{
    auto it = m_spans.find(pszName);
    return it == m_spans.end() ? nullptr : &it->second;
}
