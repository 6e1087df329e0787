#include "ScriptLookup.h"
#include "ProcessMemory.h"
#include "RecordWalker.h"

namespace {
IVelmorEngineNamespaces* g_pNamespaces = nullptr;
CVelmorLookup g_lookup;

uint64_t Address(void* p)
{
    return (uint64_t)(uintptr_t)p;
}
} // namespace

int CVelmorLookup::Lookup(const CVelmorMemory& mem, int nLine, char* pszNameInOut, void* pStaticNameSpace,
                          void* pLocalFrame, void* pFunctionList)
{
    void* pPrevious = m_pFunctionList;
    m_pFunctionList = pFunctionList;
    const uint64_t function = CRecordWalker::FindFunction(mem, Address(pPrevious), nLine);
    m_pLocalFrame = pLocalFrame;
    m_pStaticNameSpace = pStaticNameSpace;
    CRecordWalker walker(mem, function, Address(m_pLocalFrame), m_pStaticNameSpace, g_pNamespaces);
    return VelmorResolveVariable(walker, pszNameInOut, 1024);
}

IVelmorEngineNamespaces* VelmorRegisterEngineNamespaces(IVelmorEngineNamespaces* p)
{
    IVelmorEngineNamespaces* pOld = g_pNamespaces;
    g_pNamespaces = p;
    return pOld;
}

IVelmorEngineNamespaces* VelmorEngineNamespaces()
{
    return g_pNamespaces;
}

void VelmorEngineLogHook(void* pLocalLog)
{
    if (g_pNamespaces)
        g_pNamespaces->LogLookup(pLocalLog);
}

int LookupScriptVariable(int line, char* nameInOut, void* pStaticNameSpace, void* pLocalFrame, void* pFunctionList)
{
    CProcessMemory mem;
    return g_lookup.Lookup(mem, line, nameInOut, pStaticNameSpace, pLocalFrame, pFunctionList);
}
