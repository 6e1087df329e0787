// The demo host's script engine, as far as the value tip needs one.
//
// A real host runs scripts in its S-Lang engine and, at a breakpoint, hands
// the control its engine's state. The demo has no interpreter: "holding at
// the execution line" runs the script's top-level declarations and
// assignments of literal values above the arrow (numbers, strings, arrays
// of them, structures and their fields, copies of other variables) and
// answers the control's questions about them through the inspection
// interface.
#pragma once
#include "editor/VelmorCtrl.h"
#include <map>
#include <string>

class CDemoEngine : public IVelmorInspector
{
public:
    // Forgets every variable and runs the text's lines before nStopLine
    // (zero-based: the line the arrow points at has not run yet).
    void RunTo(CVelmor& ed, int nStopLine);
    bool InspectVariable(int nLine, const char* pszName, long long nIndex, CVelmorValue& value) override;
    size_t VariableCount() const { return m_vars.size(); }

private:
    void Statement(const std::string& text);
    void Assign(const std::string& target, const std::string& expr);
    bool Evaluate(const std::string& expr, CVelmorValue& value) const;

    std::map<std::string, CVelmorValue> m_vars;
};
