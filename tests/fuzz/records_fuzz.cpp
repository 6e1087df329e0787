// The record walker over random engine memory: whatever the bytes, a
// lookup reads nothing outside the arena (the arena refuses, AddressSanitizer
// watches the rest), never faults and ends quickly.
#include "engine/RecordWalker.h"
#include "engine/ScriptLookup.h"
#include <cstring>

namespace {

const uint32_t kBase = 0x40; // low, so that small numbers in the bytes are pointers into them

// Every name is a global whose object lies at an address taken from the
// input, so the namespace path reads random records too.
class CFuzzNamespaces : public IVelmorEngineNamespaces
{
public:
    uint64_t object = 0;
    int FindName(const char* pszName, void*, const CVelmorMemory&, CVelmorNameHit& hit) override
    {
        if (!*pszName || pszName[0] == 'q')
            return CVelmorNameHit::kNotFound;
        hit.object = object;
        return hit.nKind = CVelmorNameHit::kObject;
    }
};

uint32_t U32(const uint8_t* p)
{
    uint32_t v;
    memcpy(&v, p, 4);
    return v;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // 24 bytes of parameters, a word up to the first NUL (at most 64
    // bytes), then the arena.
    if (size < 25)
        return 0;
    const int line = (int)U32(data);
    // Pointers land inside the arena most of the time, anywhere otherwise.
    auto pointer = [&](uint32_t v) { return v & 0x80000000u ? (uint64_t)v : kBase + (v % 4096); };
    const uint64_t list = pointer(U32(data + 4));
    const uint64_t frame = pointer(U32(data + 8));
    CFuzzNamespaces ns;
    ns.object = pointer(U32(data + 12));
    data += 24, size -= 24;
    const size_t wordLen = strnlen((const char*)data, std::min<size_t>(size, 64));
    char buf[1024] = {};
    memcpy(buf, data, wordLen);
    data += wordLen, size -= wordLen;

    CArenaMemory mem(kBase, data, size);
    IVelmorEngineNamespaces* old = VelmorRegisterEngineNamespaces(&ns);
    CVelmorLookup lookup;
    lookup.Lookup(mem, line, buf, nullptr, (void*)(uintptr_t)frame, (void*)(uintptr_t)list);
    lookup.Lookup(mem, line, buf, nullptr, (void*)(uintptr_t)frame, (void*)(uintptr_t)list);
    VelmorRegisterEngineNamespaces(old);
    if (strnlen(buf, sizeof buf) >= sizeof buf)
        __builtin_trap(); // the text must stay terminated within the buffer
    return 0;
}
