// Where a step stops. A statement's place is its call depth (the script's
// function calls under way) and its load level: at one depth, the top-level
// code of a file that a statement loads (evalfile, require) runs one level
// deeper than the statement, and when it ends its loader's code goes on one
// level up. A step starts at a place; each statement that starts a new line
// is offered, and the step says whether it stops there:
//   in   - at the next new line, anywhere;
//   over - at a new line of the same depth and level (calls and loads run
//          whole), or of a shallower one;
//   out  - at the first line of a shallower depth, or at the same depth one
//          load level up (out of a loaded file's top level).
// Plain C++, so that the rules are tested without S-Lang.
#pragma once
#include <string>
#include <vector>

// The load levels, from the statements' depths and files in the order they
// run: at one depth a change of file is a load when the new file is not the
// one the current file was loaded from, else the return to it.
class CLoadLevels
{
public:
    // The level (1: the file the depth began in) of a statement.
    int OnStatement(int nDepth, const char* pszFile)
    {
        if (nDepth < 0)
            nDepth = 0;
        if ((size_t)nDepth >= m_files.size())
            m_files.resize((size_t)nDepth + 1);
        // Deeper than the last statement: a new call begins its own files.
        if (nDepth > m_nLastDepth)
            m_files[(size_t)nDepth].clear();
        m_nLastDepth = nDepth;
        std::vector<std::string>& files = m_files[(size_t)nDepth];
        if (files.empty())
            files.push_back(pszFile);
        else if (files.back() != pszFile) {
            if (files.size() >= 2 && files[files.size() - 2] == pszFile)
                files.pop_back(); // the loaded file has ended
            else
                files.push_back(pszFile);
        }
        return (int)files.size();
    }
    // A call begins at nDepth (its statements may not all be seen).
    void NewCall(int nDepth)
    {
        if (nDepth >= 0 && (size_t)nDepth < m_files.size())
            m_files[(size_t)nDepth].clear();
    }
    void Clear()
    {
        m_files.clear();
        m_nLastDepth = -1;
    }

private:
    std::vector<std::vector<std::string>> m_files; // by depth: the files loading one another
    int m_nLastDepth = -1;
};

class CStepPlan
{
public:
    enum Kind { NONE, IN, OVER, OUT };

    void Begin(Kind nKind, int nDepth, int nLevel)
    {
        m_nKind = nKind;
        m_nDepth = nDepth;
        m_nLevel = nLevel;
    }
    void Clear() { m_nKind = NONE; }
    bool Active() const { return m_nKind != NONE; }
    Kind Current() const { return m_nKind; }
    // Whether a statement at this depth may still be a stop of the step
    // (the statement hook must stay on there).
    bool MayStopAt(int nDepth) const { return m_nKind == IN || (m_nKind != NONE && nDepth <= m_nDepth); }

    bool StopsAt(int nDepth, int nLevel) const
    {
        switch (m_nKind) {
        case IN: return true;
        case OVER: return nDepth < m_nDepth || (nDepth == m_nDepth && nLevel <= m_nLevel);
        case OUT: return nDepth < m_nDepth || (nDepth == m_nDepth && nLevel < m_nLevel);
        case NONE: break;
        }
        return false;
    }

private:
    Kind m_nKind = NONE;
    int m_nDepth = 0;
    int m_nLevel = 1;
};
