// The lookup entry of the engine build: from a hovered word to the text of
// its value, over the records of the host's engine.
#pragma once
#include "../framework/afxdefs.h"
#include "EngineRecords.h"

// The engine's state that lookups install and keep between calls: the
// function list installed by one lookup is the one the next searches.
class CVelmorLookup
{
public:
    int Lookup(const CVelmorMemory& mem, int nLine, char* pszNameInOut, void* pStaticNameSpace, void* pLocalFrame,
               void* pFunctionList);

private:
    void* m_pFunctionList = nullptr;
    void* m_pLocalFrame = nullptr;
    void* m_pStaticNameSpace = nullptr;
};

// The registered namespaces (null when the engine build registered none).
IVelmorEngineNamespaces* VelmorEngineNamespaces();

// The engine's log hook, run before each lookup the hover starts.
void VelmorEngineLogHook(void* pLocalLog);
