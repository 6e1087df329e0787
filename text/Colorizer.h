// Colorizers turn one line of text into one colour (COLORREF) per character.
//
// Comment text carries one of two exact colours, and every part of the
// control recognises comments by these two values alone:
//   COLOR_OPEN_COMMENT   a block comment still open at the end of its line
//   COLOR_CLOSED_COMMENT a comment that ends on its line ("//", "... */")
#pragma once
#include "../framework/afx.h"
#include <set>
#include <vector>

const unsigned long COLOR_DEFAULT = 0x00000000;
const unsigned long COLOR_KEYWORD = 0x00FF0078;
const unsigned long COLOR_OPERATOR = 0x00DC0000;
const unsigned long COLOR_FUNCTION = 0x00005AB4;
const unsigned long COLOR_STRING = 0x00000AD2;
const unsigned long COLOR_MARKER = 0x000000FF;
const unsigned long COLOR_LABEL = 0x000028A0;
const unsigned long COLOR_OPEN_COMMENT = 0x0000A000;
const unsigned long COLOR_CLOSED_COMMENT = 0x0000A100;

inline bool IsCommentColor(unsigned long c)
{
    return c == COLOR_OPEN_COMMENT || c == COLOR_CLOSED_COMMENT;
}

// Base colorizer: colours the words found in its three sets.
class AFX_EXT_CLASS CColorizer
{
public:
    CColorizer();
    virtual ~CColorizer();
    CColorizer(const CColorizer&) = default;
    CColorizer& operator=(const CColorizer&) = default;

    virtual void SetLineColors(const CString& line, std::vector<unsigned long>& colors);
    virtual void InsertKey(wchar_t* pszWord);
    virtual void InsertOpKey(wchar_t* pszWord);
    virtual void InsertFuncKey(wchar_t* pszWord);

    std::set<CString>& GetStringSet() { return m_setKeys; }
    std::set<CString>& GetStringOpSet() { return m_setOps; }
    std::set<CString>& GetStringFuncSet() { return m_setFuncs; }

protected:
    virtual int IsKeyWord(CString& word);
    virtual int IsOpWord(CString& word);
    virtual int IsFuncWord(CString& word);

public:
    // True when the colours SetLineColors gives a line depend on nothing
    // but the line's text, m_bInComment on entry, the three word sets and
    // m_bNoCase, and its only other effect is the m_bInComment it leaves.
    // The text store then colours lazily: after a change it recolours only
    // what the change can reach and what is read. CColorizer and
    // CSampleColorizer are; a derived class is not unless it says so.
    virtual bool IsLineLocal() const;

    bool m_bInComment;
    bool m_bNoCase;
    std::set<CString> m_setKeys;
    std::set<CString> m_setOps;
    std::set<CString> m_setFuncs;

private:
    int WordKind(CString& word);
    void Insert(std::set<CString>& set, const wchar_t* pszWord) const;
    int Contains(const std::set<CString>& set, CString& word) const;
};

// Adds the control's built-in operator words ("+" ... "and", "or", "xor")
// and function words ("sin" ... "avg") to a colorizer. Only the word
// operators are ever coloured; the symbols are offered by the context menu.
AFX_EXT_API void AFXAPI AddBuiltinWords(CColorizer& colorizer);

// The colorizer the control installs: comments, the first string literal
// of a line, "@" marker lines, then the base word colouring.
class AFX_EXT_CLASS CSampleColorizer : public CColorizer
{
public:
    CSampleColorizer() {}
    ~CSampleColorizer() override;
    CSampleColorizer(const CSampleColorizer&) = default;
    CSampleColorizer& operator=(const CSampleColorizer&) = default;

    void SetLineColors(const CString& line, std::vector<unsigned long>& colors) override;
};
