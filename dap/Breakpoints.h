// Line breakpoints of the debug session, per source file: where each one
// really stops (the first line at or after the asked one that holds a
// statement), its condition, its hit condition and its log message. Plain
// C++: the session evaluates conditions and messages through a callback.
#pragma once
#include <map>
#include <string>
#include <vector>

// Which lines of a script can hold a statement, read from its text: lines
// that are blank, comments, lone braces, preprocessor lines or a function's
// header ("define f (x)") never run a statement, nor do the lines inside a
// multi-line string or comment.
class CSourceLines
{
public:
    void Read(const std::string& strText);
    int LineCount() const { return (int)m_code.size(); }
    // The first line at or after nLine (one-based) with code, 0 when none.
    int CodeLineAtOrAfter(int nLine) const;

private:
    std::vector<bool> m_code; // index: line - 1
};

// "N" or "==N": the Nth hit stops; ">N", ">=N", "<N", "<=N": every hit so
// numbered; "%N": every Nth hit. Returns false for text of another form.
bool ParseHitCondition(const std::string& strText, char& chOp, long long& nValue);
bool HitConditionHolds(char chOp, long long nValue, long long nHits);

// A log message's text split into literal parts and the expressions in
// braces ("x is {x}"); "{{" and "}}" stand for braces.
struct CLogPart
{
    bool bExpression;
    std::string str;
};
std::vector<CLogPart> SplitLogMessage(const std::string& strMessage);

struct CBreakpoint
{
    int nId = 0;
    int nRequestedLine = 0;
    int nLine = 0; // where it stops; 0 when unverified
    bool bVerified = false;
    std::string strReason; // why unverified
    std::string strCondition;
    std::string strHitCondition;
    char chHitOp = 0;
    long long nHitValue = 0;
    std::string strLogMessage;
    long long nHits = 0;
};

class CBreakpointTable
{
public:
    // Replaces the breakpoints of one file (its canonical path) with the
    // requested ones and verifies them against the file's text (read here).
    // The results come back in the order asked.
    struct Request
    {
        int nLine;
        std::string strCondition, strHitCondition, strLogMessage;
    };
    std::vector<CBreakpoint> Set(const std::string& strPath, const std::vector<Request>& requests);
    // Same, with the text given (no file read).
    std::vector<CBreakpoint> SetWithText(const std::string& strPath, const std::string& strText, bool bReadable,
                                         const std::vector<Request>& requests);

    // The breakpoints of a file, null when none; kept stable until the next
    // Set of that file.
    std::vector<CBreakpoint>* ForFile(const std::string& strPath);
    bool Empty() const { return m_nCount == 0; }
    // Bumped by every Set: a cache of ForFile results is stale when it
    // changes.
    unsigned Generation() const { return m_nGeneration; }

private:
    std::map<std::string, std::vector<CBreakpoint>> m_files;
    int m_nNextId = 1;
    size_t m_nCount = 0;
    unsigned m_nGeneration = 0;
};

// The canonical form of a path (symbolic links and dots resolved); the path
// as given when it does not exist.
std::string CanonicalPath(const std::string& strPath);
