#include "hostengine.h"
#include <cctype>
#include <cstdlib>
#include <vector>

namespace {

std::string Trim(const std::string& s)
{
    size_t a = 0, b = s.size();
    while (a < b && isspace((unsigned char)s[a]))
        ++a;
    while (b > a && isspace((unsigned char)s[b - 1]))
        --b;
    return s.substr(a, b - a);
}

// Splits at sep where it is not inside quotes, brackets or braces.
std::vector<std::string> SplitTop(const std::string& s, char sep)
{
    std::vector<std::string> parts;
    std::string cur;
    int depth = 0;
    bool quoted = false;
    for (char c : s) {
        if (c == '"')
            quoted = !quoted;
        else if (!quoted && (c == '[' || c == '{' || c == '('))
            ++depth;
        else if (!quoted && (c == ']' || c == '}' || c == ')'))
            --depth;
        if (c == sep && !quoted && depth == 0) {
            parts.push_back(cur);
            cur.clear();
        } else {
            cur += c;
        }
    }
    parts.push_back(cur);
    return parts;
}

bool IsName(const std::string& s)
{
    if (s.empty() || !(isalpha((unsigned char)s[0]) || s[0] == '_'))
        return false;
    for (char c : s)
        if (!(isalnum((unsigned char)c) || c == '_'))
            return false;
    return true;
}

} // namespace

void CDemoEngine::RunTo(CVelmor& ed, int nStopLine)
{
    m_vars.clear();
    bool inComment = false;
    int depth = 0; // inside a block: function bodies do not run when defined
    std::string statement;
    for (int i = 0; i < nStopLine && i < ed.GetLineCount(); ++i) {
        const CString line = ed.GetLine(i);
        std::string text;
        for (int k = 0; k < line.GetLength(); ++k)
            text += line[k] < 0x80 ? (char)line[k] : '?';
        if (!inComment && (Trim(text).rfind("@", 0) == 0 || Trim(text).rfind("#", 0) == 0))
            continue; // preprocessor lines
        bool quoted = false;
        for (size_t k = 0; k < text.size(); ++k) {
            const char c = text[k];
            if (inComment) {
                if (text.compare(k, 2, "*/") == 0)
                    inComment = false, ++k;
                continue;
            }
            if (c == '"')
                quoted = !quoted;
            if (quoted) {
                statement += c;
                continue;
            }
            if (c == '%' || text.compare(k, 2, "//") == 0)
                break;
            if (text.compare(k, 2, "/*") == 0) {
                inComment = true, ++k;
            } else if (c == '{' && (depth > 0 || statement.find("struct") == std::string::npos)) {
                if (depth++ == 0)
                    statement.clear(); // the block's header ("define f (a)")
            } else if (c == '}' && depth > 0) {
                --depth;
            } else if (depth > 0) {
                continue;
            } else if (c == ';') {
                Statement(statement);
                statement.clear();
            } else {
                statement += c;
            }
        }
        statement += ' ';
    }
}

void CDemoEngine::Statement(const std::string& text)
{
    std::string s = Trim(text);
    if (s.rfind("variable ", 0) == 0) {
        for (const std::string& decl : SplitTop(s.substr(9), ',')) {
            const std::vector<std::string> parts = SplitTop(decl, '=');
            const std::string name = Trim(parts[0]);
            if (parts.size() == 2)
                Assign(name, parts[1]);
            else if (IsName(name))
                m_vars[name] = CVelmorValue(); // declared, no value yet
        }
        return;
    }
    const std::vector<std::string> parts = SplitTop(s, '=');
    if (parts.size() == 2)
        Assign(Trim(parts[0]), parts[1]);
}

void CDemoEngine::Assign(const std::string& target, const std::string& expr)
{
    CVelmorValue v;
    const bool known = Evaluate(Trim(expr), v);
    const size_t dot = target.find('.');
    if (dot == std::string::npos) {
        if (!IsName(target))
            return;
        if (known)
            m_vars[target] = v;
        else
            m_vars.erase(target); // a value the demo cannot work out
        return;
    }
    auto it = m_vars.find(target.substr(0, dot));
    if (it == m_vars.end() || it->second.nType != VELMOR_T_STRUCT)
        return;
    for (auto& f : it->second.fields)
        if (f.first == target.substr(dot + 1))
            f.second = known ? v : CVelmorValue();
}

bool CDemoEngine::Evaluate(const std::string& e, CVelmorValue& v) const
{
    if (e.empty())
        return false;
    if (e.size() >= 2 && e.front() == '"' && e.back() == '"') {
        v = CVelmorValue::String(e.substr(1, e.size() - 2));
        return true;
    }
    char* end = nullptr;
    const long long n = strtoll(e.c_str(), &end, 10);
    if (*end == 0) {
        v = CVelmorValue::Int(VELMOR_T_INT, n);
        return true;
    }
    const double d = strtod(e.c_str(), &end);
    if (*end == 0) {
        v = CVelmorValue::Real(VELMOR_T_DOUBLE, d);
        return true;
    }
    if (e.front() == '[' && e.back() == ']') {
        v = CVelmorValue();
        v.nType = VELMOR_T_ARRAY;
        for (const std::string& item : SplitTop(e.substr(1, e.size() - 2), ',')) {
            CVelmorValue x;
            if (!Evaluate(Trim(item), x))
                return false;
            v.elements.push_back(x);
        }
        v.nLength = (long long)v.elements.size();
        v.nElemType = v.elements.empty() ? VELMOR_T_INT : v.elements[0].nType;
        return true;
    }
    if (e.rfind("struct", 0) == 0) {
        const size_t open = e.find('{'), close = e.rfind('}');
        if (open == std::string::npos || close == std::string::npos || close < open)
            return false;
        v = CVelmorValue();
        v.nType = VELMOR_T_STRUCT;
        for (const std::string& f : SplitTop(e.substr(open + 1, close - open - 1), ','))
            if (IsName(Trim(f)))
                v.fields.emplace_back(Trim(f), CVelmorValue());
        return true;
    }
    auto it = m_vars.find(e);
    if (it != m_vars.end()) {
        v = it->second;
        return true;
    }
    return false;
}

bool CDemoEngine::InspectVariable(int, const char* pszName, long long, CVelmorValue& value)
{
    auto it = m_vars.find(pszName);
    if (it == m_vars.end())
        return false;
    value = it->second;
    return true;
}
