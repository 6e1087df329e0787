// The held script as the debug session sees it: frames, their locals and
// globals, values by page, evaluation and assignment, the error under way.
// Each call runs a helper of SlangHelpersSource.cpp; script thread only,
// and only while the script is held in a hook (or after its run).
#pragma once
#include <string>
#include <vector>

struct _pSLang_Object_Type;
typedef struct _pSLang_Object_Type SLang_Any_Type;

const char* SlangInspectSource();

// A value the session keeps while the script is held (an S-Lang reference
// count). Freed on the script thread.
class CSlangValue
{
public:
    CSlangValue() = default;
    explicit CSlangValue(SLang_Any_Type* p) : m_p(p) {}
    ~CSlangValue();
    CSlangValue(CSlangValue&& o) noexcept : m_p(o.m_p) { o.m_p = nullptr; }
    CSlangValue& operator=(CSlangValue&& o) noexcept;
    CSlangValue(const CSlangValue&) = delete;
    CSlangValue& operator=(const CSlangValue&) = delete;
    SLang_Any_Type* Get() const { return m_p; }
    explicit operator bool() const { return m_p != nullptr; }

private:
    SLang_Any_Type* m_p = nullptr;
};

struct CSlangFrame
{
    int nDepth = 0;          // S-Lang's frame depth (or the snapshot's index)
    std::string strFunction; // "" at a file's top level
    std::string strFile;
    int nLine = 0;
};

enum SlangValueKind { SLV_PLAIN = 0, SLV_ARRAY, SLV_STRUCT, SLV_LIST, SLV_ASSOC };

struct CSlangValueText
{
    std::string strName, strValue, strType;
    int nKind = SLV_PLAIN;
    long long nCount = 0; // children
};

struct CSlangException
{
    std::string strDescription, strMessage, strFile, strFunction;
    std::string strName; // IndexError...; "" when not known
    int nLine = 0;
    int nCode = 0;
};

// Every call returns false and sets strError when S-Lang reports an error.
bool SlangFrames(std::vector<CSlangFrame>& frames, std::string& strError);
bool SlangLocals(int nDepth, CSlangValue& locals, std::string& strError);
bool SlangGlobals(int nDepth, CSlangValue& globals, std::string& strError);
bool SlangDescribe(const CSlangValue& v, CSlangValueText& text, std::string& strError);
bool SlangChildren(const CSlangValue& v, long long nStart, long long nCount, std::vector<CSlangValueText>& children,
                   std::string& strError);
bool SlangChild(const CSlangValue& v, long long nIndex, CSlangValue& child, std::string& strError);
// Evaluates text where frame nDepth runs (0: the global namespace), with
// the fields of locals as variables; the values it leaves, in order.
bool SlangEvaluate(int nDepth, const std::string& strText, const CSlangValue& locals, std::vector<CSlangValue>& results,
                   std::string& strError);
bool SlangSetChild(const CSlangValue& v, long long nIndex, const CSlangValue& x, std::string& strError);
bool SlangSetGlobal(int nDepth, const std::string& strName, const CSlangValue& x, std::string& strError);
bool SlangCurrentException(CSlangException& e);
bool SlangSnapshot(CSlangValue& snapshot, std::string& strError);
bool SlangSnapshotFrames(const CSlangValue& snapshot, std::vector<CSlangFrame>& frames, std::string& strError);
bool SlangSnapshotLocals(const CSlangValue& snapshot, int nIndex, CSlangValue& locals, std::string& strError);
// Whether a value is true as a condition (nonzero number, or any other value but NULL).
bool SlangIsTrue(const CSlangValue& v);
