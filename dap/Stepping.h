// Where a step stops, by call depth. A step starts at a depth and a file;
// each statement that starts a new line (a new file, line or depth) is
// offered, and the step says whether it stops there:
//   in   - at the next new line, anywhere;
//   over - at a new line of the same depth in the same file (code of a file
//          that the statement loads runs at the same depth, in another
//          file, and is run whole), or at any line of a shallower depth;
//   out  - at the first line of a shallower depth.
// Plain C++, so that the rules are tested without S-Lang.
#pragma once
#include <string>

class CStepPlan
{
public:
    enum Kind { NONE, IN, OVER, OUT };

    void Begin(Kind nKind, int nDepth, const std::string& strFile)
    {
        m_nKind = nKind;
        m_nDepth = nDepth;
        m_strFile = strFile;
    }
    void Clear() { m_nKind = NONE; }
    bool Active() const { return m_nKind != NONE; }
    Kind Current() const { return m_nKind; }
    // Whether a statement at this depth may still be a stop of the step
    // (the statement hook must stay on there).
    bool MayStopAt(int nDepth) const { return m_nKind == IN || (m_nKind != NONE && nDepth <= m_nDepth); }

    bool StopsAt(int nDepth, const char* pszFile) const
    {
        switch (m_nKind) {
        case IN: return true;
        case OVER: return nDepth < m_nDepth || (nDepth == m_nDepth && m_strFile == pszFile);
        case OUT: return nDepth < m_nDepth;
        case NONE: break;
        }
        return false;
    }

private:
    Kind m_nKind = NONE;
    int m_nDepth = 0;
    std::string m_strFile;
};
