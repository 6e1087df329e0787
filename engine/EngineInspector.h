// The inspection interface: how a host whose engine does not have the
// records the control can walk (EngineRecords.h) shows values in the tip.
//
// The host implements IVelmorInspector and hands it to the control with
// CVelmor::SetInspector. While the control is running (SetRunning), a
// hovered word is resolved through it: "arr[i]" asks for i, then for arr
// with i's value as the index; "pos.x" asks for pos and shows its field x.
// The texts are the same as for the records.
#pragma once
#include "ValueTree.h"

class IVelmorInspector
{
public:
    virtual ~IVelmorInspector() = default;
    // Fills value with the variable pszName (UTF-8, no index or field) as
    // the script sees it at line nLine (the control's zero-based line
    // under the mouse); false when there is no such variable. nIndex is the
    // element wanted when the value is an array, -1 when the word had no
    // index (element 0 is shown): an array may supply only that element
    // (CVelmorValue::nFirst = the index) or all of them. Called on the
    // control's thread; the host makes sure its engine is not running
    // meanwhile.
    virtual bool InspectVariable(int nLine, const char* pszName, long long nIndex, CVelmorValue& value) = 0;
};
