// Breakpoint verification against a script's text, hit conditions and log
// messages.
#include "Breakpoints.h"
#include <climits>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v';
}

// The line without leading and trailing blanks.
std::string Stripped(const std::string& s)
{
    size_t b = 0, e = s.size();
    while (b < e && IsSpace(s[b]))
        ++b;
    while (e > b && IsSpace(s[e - 1]))
        --e;
    return s.substr(b, e - b);
}

bool StartsWithWord(const std::string& s, const char* word)
{
    const size_t n = std::char_traits<char>::length(word);
    if (s.compare(0, n, word) != 0)
        return false;
    return s.size() == n || !(isalnum((unsigned char)s[n]) || s[n] == '_');
}

} // namespace

void CSourceLines::Read(const std::string& strText)
{
    m_code.clear();
    std::istringstream in(strText);
    std::string line;
    bool bInString = false; // inside a multi-line string ("...\ continued, or a `...` raw string)
    char chQuote = 0;
    while (std::getline(in, line)) {
        bool bCode = false;
        // What of the line lies outside strings that began on earlier lines.
        std::string rest;
        size_t i = 0;
        if (bInString) {
            for (; i < line.size(); ++i) {
                if (chQuote == '"' && line[i] == '\\') {
                    ++i;
                    continue;
                }
                if (line[i] == chQuote) {
                    bInString = false;
                    ++i;
                    break;
                }
            }
            if (bInString) {
                m_code.push_back(false);
                continue;
            }
        }
        // Scan the rest: strings and comments ('%' to the line's end).
        for (; i < line.size(); ++i) {
            const char c = line[i];
            if (c == '%')
                break;
            if (c == '"' || c == '`') {
                rest += 'S';
                const char q = c;
                size_t j = i + 1;
                bool closed = false;
                for (; j < line.size(); ++j) {
                    if (q == '"' && line[j] == '\\') {
                        ++j;
                        continue;
                    }
                    if (line[j] == q) {
                        closed = true;
                        break;
                    }
                }
                if (!closed) {
                    // A string continued on the next line: "...\ or `...
                    bInString = true;
                    chQuote = q;
                    i = line.size();
                    break;
                }
                i = j;
                continue;
            }
            if (c == '\'') { // a character literal
                rest += 'C';
                size_t j = i + 1;
                if (j < line.size() && line[j] == '\\')
                    ++j;
                i = (j + 1 < line.size() && line[j + 1] == '\'') ? j + 1 : i;
                continue;
            }
            rest += c;
        }
        const std::string s = Stripped(rest);
        if (s.empty() || s[0] == '#') {
            bCode = false;
        } else if (s.find_first_not_of("{}; \t") == std::string::npos) {
            bCode = false; // braces alone
        } else if (StartsWithWord(s, "define") || StartsWithWord(s, "private") || StartsWithWord(s, "static") ||
                   StartsWithWord(s, "public")) {
            // A function's header runs nothing; "private variable x = 1;"
            // does.
            bCode = s.find("define") == std::string::npos || s.find('{') != std::string::npos;
            if (bCode && s.find("define") != std::string::npos) {
                // "define f () { x = 1; }" on one line: the body runs.
                const size_t brace = s.find('{');
                bCode = s.find_first_not_of("{}; \t", brace) != std::string::npos;
            }
        } else if (s == "else" || s == "try" || s == "finally" || StartsWithWord(s, "catch") ||
                   s == "do" || s == "else {" || s == "} else" || s == "} else {") {
            bCode = false;
        } else {
            bCode = true;
        }
        m_code.push_back(bCode);
    }
}

int CSourceLines::CodeLineAtOrAfter(int nLine) const
{
    for (int l = nLine < 1 ? 1 : nLine; l <= LineCount(); ++l)
        if (m_code[(size_t)l - 1])
            return l;
    return 0;
}

bool ParseHitCondition(const std::string& strText, char& chOp, long long& nValue)
{
    const std::string s = Stripped(strText);
    size_t i = 0;
    if (s.compare(0, 2, "==") == 0) {
        chOp = '=';
        i = 2;
    } else if (s.compare(0, 2, ">=") == 0) {
        chOp = 'g';
        i = 2;
    } else if (s.compare(0, 2, "<=") == 0) {
        chOp = 'l';
        i = 2;
    } else if (!s.empty() && (s[0] == '>' || s[0] == '<' || s[0] == '%')) {
        chOp = s[0];
        i = 1;
    } else {
        chOp = '=';
    }
    const std::string num = Stripped(s.substr(i));
    if (num.empty() || num.size() > 18 || num.find_first_not_of("0123456789") != std::string::npos)
        return false;
    nValue = std::atoll(num.c_str());
    return !(chOp == '%' && nValue == 0);
}

bool HitConditionHolds(char chOp, long long nValue, long long nHits)
{
    switch (chOp) {
    case '=': return nHits == nValue;
    case '>': return nHits > nValue;
    case 'g': return nHits >= nValue;
    case '<': return nHits < nValue;
    case 'l': return nHits <= nValue;
    case '%': return nHits % nValue == 0;
    default: return true;
    }
}

std::vector<CLogPart> SplitLogMessage(const std::string& strMessage)
{
    std::vector<CLogPart> parts;
    std::string lit;
    for (size_t i = 0; i < strMessage.size(); ++i) {
        const char c = strMessage[i];
        if ((c == '{' || c == '}') && i + 1 < strMessage.size() && strMessage[i + 1] == c) {
            lit += c;
            ++i;
            continue;
        }
        if (c == '{') {
            const size_t close = strMessage.find('}', i + 1);
            if (close == std::string::npos) {
                lit += strMessage.substr(i);
                break;
            }
            if (!lit.empty())
                parts.push_back({false, lit});
            lit.clear();
            parts.push_back({true, strMessage.substr(i + 1, close - i - 1)});
            i = close;
            continue;
        }
        lit += c;
    }
    if (!lit.empty())
        parts.push_back({false, lit});
    return parts;
}

std::vector<CBreakpoint> CBreakpointTable::Set(const std::string& strPath, const std::vector<Request>& requests)
{
    std::ifstream in(strPath, std::ios::binary);
    std::stringstream text;
    if (in)
        text << in.rdbuf();
    return SetWithText(strPath, text.str(), (bool)in, requests);
}

std::vector<CBreakpoint> CBreakpointTable::SetWithText(const std::string& strPath, const std::string& strText,
                                                        bool bReadable, const std::vector<Request>& requests)
{
    ++m_nGeneration;
    auto old = m_files.find(strPath);
    if (old != m_files.end()) {
        m_nCount -= old->second.size();
        m_files.erase(old);
    }
    CSourceLines lines;
    if (bReadable)
        lines.Read(strText);
    std::vector<CBreakpoint> result;
    std::vector<CBreakpoint> active;
    for (const Request& r : requests) {
        CBreakpoint bp;
        bp.nId = m_nNextId++;
        bp.nRequestedLine = r.nLine;
        bp.strCondition = r.strCondition;
        bp.strHitCondition = r.strHitCondition;
        bp.strLogMessage = r.strLogMessage;
        if (!bReadable) {
            bp.strReason = "cannot read " + strPath;
        } else if (r.nLine < 1 || r.nLine > lines.LineCount()) {
            bp.strReason = "line " + std::to_string(r.nLine) + " is outside the file (" +
                           std::to_string(lines.LineCount()) + " lines)";
        } else if (!r.strHitCondition.empty() && !ParseHitCondition(r.strHitCondition, bp.chHitOp, bp.nHitValue)) {
            bp.strReason = "hit condition \"" + r.strHitCondition +
                           "\" is not a count (N, ==N, >N, >=N, <N, <=N or %N)";
        } else if (int l = lines.CodeLineAtOrAfter(r.nLine)) {
            bp.nLine = l;
            bp.bVerified = true;
        } else {
            bp.strReason = "no statement at or after line " + std::to_string(r.nLine);
        }
        result.push_back(bp);
        // Two breakpoints that land on one line stop once: the first wins.
        if (bp.bVerified) {
            bool dup = false;
            for (const auto& a : active)
                dup = dup || a.nLine == bp.nLine;
            if (!dup)
                active.push_back(bp);
        }
    }
    if (!active.empty()) {
        m_nCount += active.size();
        m_files[strPath] = std::move(active);
    }
    return result;
}

std::vector<CBreakpoint>* CBreakpointTable::ForFile(const std::string& strPath)
{
    auto it = m_files.find(strPath);
    return it == m_files.end() ? nullptr : &it->second;
}

std::string CanonicalPath(const std::string& strPath)
{
    char* p = realpath(strPath.c_str(), nullptr);
    if (!p)
        return strPath;
    std::string s(p);
    free(p);
    return s;
}
