// The held script's frames, scopes and values as the protocol's requests
// see them: variables references are handles to values the session keeps
// until the script resumes.
#include "DebugSession.h"
#include <cstdlib>

namespace {

// One variables request lists at most this many children (a client pages
// through bigger arrays with start and count).
const long long kMaxPage = 1000;
const int kEvaluateSeconds = 2;

std::string BaseName(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

} // namespace

void CDebugSession::ForgetStop()
{
    m_handles.clear();
    m_frames.clear();
    m_bFramesRead = false;
}

int CDebugSession::AddHandle(CSlangValue&& v, VarHandle::Kind nKind, int nDepth, const std::string& strExpression,
                             const CSlangValueText* pText)
{
    auto h = std::make_unique<VarHandle>();
    h->value = std::move(v);
    h->nKind = nKind;
    h->nDepth = nDepth;
    h->strExpression = strExpression;
    if (pText) {
        h->nKind_ = pText->nKind;
        h->bLinear = pText->nKind == SLV_ARRAY && pText->strValue.find(',') != std::string::npos;
    }
    m_handles.push_back(std::move(h));
    return (int)m_handles.size();
}

const CDebugSession::Frame* CDebugSession::FrameById(int nId)
{
    if (!m_bFramesRead) {
        std::vector<CSlangFrame> frames;
        std::string err;
        const bool ok = m_bPostMortem ? SlangSnapshotFrames(m_snapshot, frames, err) : SlangFrames(frames, err);
        if (!ok)
            throw CDapError("cannot read the script's frames: " + err);
        for (size_t i = 0; i < frames.size(); ++i)
            m_frames.push_back({frames[i], (int)i + 1});
        m_bFramesRead = true;
    }
    if (nId < 1 || nId > (int)m_frames.size())
        return nullptr;
    return &m_frames[(size_t)nId - 1];
}

json CDebugSession::StackTrace(const json& args)
{
    FrameById(1);
    const int start = std::max(0, args.value("startFrame", 0));
    const int levels = args.value("levels", 0);
    json frames = json::array();
    for (int i = start; i < (int)m_frames.size() && (levels <= 0 || i < start + levels); ++i) {
        const Frame& f = m_frames[(size_t)i];
        frames.push_back({{"id", f.nId},
                          {"name", f.f.strFunction.empty() ? "<top-level>" : f.f.strFunction},
                          {"source", {{"name", BaseName(f.f.strFile)}, {"path", f.f.strFile}}},
                          {"line", f.f.nLine - (m_bLinesStartAt1 ? 0 : 1)},
                          {"column", m_bLinesStartAt1 ? 1 : 0}});
    }
    return {{"stackFrames", frames}, {"totalFrames", m_frames.size()}};
}

bool CDebugSession::FrameLocals(const Frame& f, CSlangValue& locals, std::string& strError)
{
    return m_bPostMortem ? SlangSnapshotLocals(m_snapshot, f.f.nDepth, locals, strError)
                         : SlangLocals(f.f.nDepth, locals, strError);
}

json CDebugSession::Scopes(const json& args)
{
    const Frame* f = FrameById(args.at("frameId").get<int>());
    if (!f)
        throw CDapError("no frame " + std::to_string(args.at("frameId").get<int>()));
    std::string err;
    CSlangValue locals, globals;
    if (!FrameLocals(*f, locals, err))
        throw CDapError("cannot read the frame's locals: " + err);
    const int depth = m_bPostMortem ? 0 : f->f.nDepth;
    if (!SlangGlobals(depth, globals, err))
        throw CDapError("cannot read the globals: " + err);
    CSlangValueText lt, gt;
    SlangDescribe(locals, lt, err);
    SlangDescribe(globals, gt, err);
    json scopes = json::array();
    scopes.push_back({{"name", "Locals"},
                      {"presentationHint", "locals"},
                      {"variablesReference", AddHandle(std::move(locals), VarHandle::LOCALS, depth)},
                      {"namedVariables", lt.nCount},
                      {"expensive", false}});
    scopes.push_back({{"name", "Globals"},
                      {"variablesReference", AddHandle(std::move(globals), VarHandle::GLOBALS, depth)},
                      {"namedVariables", gt.nCount},
                      {"expensive", false}});
    return {{"scopes", scopes}};
}

// A child's expression: x.field, x[i], x["key"]; the name itself in a
// scope; "" when the parent has none or S-Lang indexes it otherwise.
std::string CDebugSession::ChildExpression(const VarHandle& h, const std::string& strChild)
{
    if (h.nKind == VarHandle::LOCALS || h.nKind == VarHandle::GLOBALS)
        return strChild;
    if (h.strExpression.empty() || h.bLinear)
        return std::string();
    if (h.nKind_ == SLV_STRUCT)
        return h.strExpression + "." + strChild;
    return h.strExpression + strChild; // "[i]"
}

json CDebugSession::VariableJson(const std::string& strName, const CSlangValueText& t, CSlangValue&& v,
                                 const std::string& strExpression)
{
    json j = {{"name", strName}, {"value", t.strValue}, {"type", t.strType}, {"variablesReference", 0}};
    if (!strExpression.empty())
        j["evaluateName"] = strExpression;
    if (t.nKind != SLV_PLAIN && v) {
        j["variablesReference"] = AddHandle(std::move(v), VarHandle::VALUE, 0, strExpression, &t);
        if (t.nKind == SLV_ARRAY || t.nKind == SLV_LIST)
            j["indexedVariables"] = t.nCount;
        else
            j["namedVariables"] = t.nCount;
    }
    return j;
}

json CDebugSession::Variables(const json& args)
{
    const int ref = args.at("variablesReference").get<int>();
    if (ref < 1 || ref > (int)m_handles.size())
        throw CDapError("no variables reference " + std::to_string(ref) + " (references last until the script resumes)");
    VarHandle& h = *m_handles[(size_t)ref - 1];
    long long start = std::max<long long>(0, args.value("start", 0LL));
    long long count = args.value("count", 0LL);
    if (count <= 0 || count > kMaxPage)
        count = kMaxPage;
    std::vector<CSlangValueText> children;
    std::string err;
    if (!SlangChildren(h.value, start, count, children, err))
        throw CDapError("cannot read the value: " + err);
    json vars = json::array();
    for (size_t i = 0; i < children.size(); ++i) {
        CSlangValue child;
        if (children[i].nKind != SLV_PLAIN && !SlangChild(h.value, start + (long long)i, child, err))
            child = CSlangValue();
        std::string expr;
        if (h.nKind_ == SLV_ASSOC)
            expr = h.strExpression.empty() ? "" : h.strExpression + "[" + children[i].strName + "]";
        else
            expr = ChildExpression(h, children[i].strName);
        vars.push_back(VariableJson(children[i].strName, children[i], std::move(child), expr));
    }
    return {{"variables", vars}};
}

bool CDebugSession::EvaluateIn(int nFrameId, const std::string& strText, std::vector<CSlangValue>& results,
                               std::string& strError)
{
    const Frame* f = FrameById(nFrameId <= 0 ? 1 : nFrameId);
    CSlangValue locals;
    int depth = 0;
    if (f) {
        if (!FrameLocals(*f, locals, strError))
            return false;
        depth = m_bPostMortem ? 0 : f->f.nDepth;
    }
    ++m_nInHelper;
    const bool bWasEvaluating = m_bEvaluating;
    m_bEvaluating = true;
    m_helperDeadline = std::chrono::steady_clock::now() + std::chrono::seconds(kEvaluateSeconds);
    const bool ok = SlangEvaluate(depth, strText, locals, results, strError);
    m_bEvaluating = bWasEvaluating;
    --m_nInHelper;
    if (!ok && strError == "User Break")
        strError = "the evaluation took longer than " + std::to_string(kEvaluateSeconds) + " s and was stopped";
    return ok;
}

json CDebugSession::Evaluate(const json& args)
{
    const std::string text = args.at("expression").get<std::string>();
    std::vector<CSlangValue> results;
    std::string err;
    if (!EvaluateIn(args.value("frameId", 0), text, results, err))
        throw CDapError(err);
    if (results.empty())
        return {{"result", ""}, {"variablesReference", 0}};
    if (results.size() == 1) {
        CSlangValueText t;
        if (!SlangDescribe(results[0], t, err))
            throw CDapError(err);
        json v = VariableJson(text, t, std::move(results[0]), "(" + text + ")");
        return {{"result", v["value"]},
                {"type", v["type"]},
                {"variablesReference", v["variablesReference"]},
                {"indexedVariables", v.value("indexedVariables", 0)},
                {"namedVariables", v.value("namedVariables", 0)}};
    }
    std::string joined;
    for (auto& r : results) {
        CSlangValueText t;
        if (!joined.empty())
            joined += ", ";
        joined += SlangDescribe(r, t, err) ? t.strValue : "?";
    }
    return {{"result", joined}, {"variablesReference", 0}};
}

json CDebugSession::SetVariable(const json& args)
{
    const int ref = args.at("variablesReference").get<int>();
    const std::string name = args.at("name").get<std::string>();
    const std::string text = args.at("value").get<std::string>();
    if (ref < 1 || ref > (int)m_handles.size())
        throw CDapError("no variables reference " + std::to_string(ref));
    VarHandle& h = *m_handles[(size_t)ref - 1];
    if (h.nKind == VarHandle::LOCALS)
        throw CDapError("S-Lang cannot write a local variable of a running function from outside it; "
                        "globals, and fields and elements of any value, can be set");
    std::vector<CSlangValue> results;
    std::string err;
    if (!EvaluateIn(args.value("frameId", 0), text, results, err))
        throw CDapError(err);
    if (results.size() != 1)
        throw CDapError("'" + text + "' gives " + std::to_string(results.size()) + " values, not one");
    if (h.nKind == VarHandle::GLOBALS && !m_bPostMortem) {
        if (!SlangSetGlobal(h.nDepth, name, results[0], err))
            throw CDapError(err);
    } else {
        // The child's position: "[i]" for elements, else its name.
        long long index = -1;
        if (name.size() > 2 && name.front() == '[' && name.back() == ']') {
            index = atoll(name.c_str() + 1);
        } else {
            std::vector<CSlangValueText> children;
            if (!SlangChildren(h.value, 0, 100000, children, err))
                throw CDapError(err);
            for (size_t i = 0; i < children.size() && index < 0; ++i)
                if (children[i].strName == name)
                    index = (long long)i;
        }
        if (index < 0)
            throw CDapError("no variable '" + name + "' here");
        if (!SlangSetChild(h.value, index, results[0], err))
            throw CDapError(err);
    }
    CSlangValueText t;
    if (!SlangDescribe(results[0], t, err))
        throw CDapError(err);
    json v = VariableJson(name, t, std::move(results[0]), std::string());
    v.erase("name");
    return v;
}

json CDebugSession::ExceptionInfo(const json& args)
{
    if (!m_bHaveException)
        throw CDapError("the script is not stopped on an error");
    const CSlangException& e = m_exception;
    const std::string where = e.strFile + ":" + std::to_string(e.nLine);
    return {{"exceptionId", e.strName.empty() ? e.strDescription : e.strName},
            {"description", e.strMessage + " (" + where + (e.strFunction.empty() ? "" : ", in " + e.strFunction) + ")"},
            {"breakMode", m_bPostMortem ? "unhandled" : "always"},
            {"details",
             {{"message", e.strMessage},
              {"typeName", e.strName.empty() ? e.strDescription : e.strName},
              {"source", e.strFile},
              {"line", e.nLine},
              {"stackTrace", where}}}};
}
