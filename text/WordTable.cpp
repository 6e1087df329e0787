#include "WordTable.h"
#include "Colorizer.h"
#include <algorithm>
#include <cstring>
#include <new>

namespace {

// Which contents a set holds, as far as a batch can tell them apart: its
// size and the addresses of its first and last elements (nodes stay where
// they are, and go with their contents when two sets are exchanged).
struct SetKey
{
    size_t size;
    const CString* first;
    const CString* last;
    bool operator==(const SetKey& o) const { return size == o.size && first == o.first && last == o.last; }
};

SetKey KeyOf(const std::set<CString>& s)
{
    if (s.empty())
        return SetKey{ 0, nullptr, nullptr };
    return SetKey{ s.size(), &*s.begin(), &*s.rbegin() };
}

// A batch sees the colorizer's own sets and the recolouring's lent ones:
// a few tables are enough.
const int kTables = 4;

struct BatchState
{
    int depth = 0;
    int next = 0;
    uint64_t stamp = 0;
    bool used[kTables] = {};
    SetKey keys[kTables][3];
    CWordTable tables[kTables];
};

thread_local BatchState* t_batch = nullptr;
// Counts the batches opened on this thread and the sets changed in them.
thread_local uint64_t t_stamp = 0;

} // namespace

CColourBatch::CColourBatch()
{
    if (!t_batch) {
        // Without the memory for a batch the sets are simply asked.
        t_batch = new (std::nothrow) BatchState;
        if (!t_batch)
            return;
        t_batch->stamp = ++t_stamp;
    }
    ++t_batch->depth;
}

CColourBatch::~CColourBatch()
{
    BatchState* b = t_batch;
    if (b && --b->depth == 0) {
        delete b;
        t_batch = nullptr;
    }
}

void CColourBatch::Forget() noexcept
{
    if (BatchState* b = t_batch) {
        for (bool& u : b->used)
            u = false;
        b->stamp = ++t_stamp;
    }
}

bool CWordsIdentity::operator==(const CWordsIdentity& o) const
{
    return stamp == o.stamp && colorizer == o.colorizer && bNoCase == o.bNoCase &&
           std::equal(sizes, sizes + 3, o.sizes) && std::equal(ends, ends + 6, o.ends);
}

CWordsIdentity WordsIdentityOf(const CColorizer& c)
{
    CWordsIdentity id;
    if (!t_batch)
        return id;
    id.stamp = t_batch->stamp;
    id.colorizer = &c;
    id.bNoCase = c.m_bNoCase;
    const std::set<CString>* sets[3] = { &c.m_setKeys, &c.m_setOps, &c.m_setFuncs };
    for (int k = 0; k < 3; ++k) {
        const SetKey key = KeyOf(*sets[k]);
        id.sizes[k] = key.size;
        id.ends[2 * k] = key.first;
        id.ends[2 * k + 1] = key.last;
    }
    return id;
}

const CWordTable* ColourBatchTable(const CColorizer& c)
{
    BatchState* b = t_batch;
    if (!b)
        return nullptr;
    const SetKey key[3] = { KeyOf(c.m_setKeys), KeyOf(c.m_setOps), KeyOf(c.m_setFuncs) };
    for (int t = 0; t < kTables; ++t)
        if (b->used[t] && b->keys[t][0] == key[0] && b->keys[t][1] == key[1] && b->keys[t][2] == key[2])
            return &b->tables[t];
    const int t = b->next;
    b->next = (t + 1) % kTables;
    b->used[t] = false;
    try {
        b->tables[t].Build(c.m_setKeys, c.m_setOps, c.m_setFuncs);
    } catch (...) {
        return nullptr; // out of memory: the sets answer
    }
    for (int s = 0; s < 3; ++s)
        b->keys[t][s] = key[s];
    b->used[t] = true;
    return &b->tables[t];
}

uint32_t CWordTable::Hash(const wchar_t* p, int n) noexcept
{
    // Words are short and the table small: the length and three
    // characters tell its words apart well enough.
    if (n == 0)
        return 0;
    return ((uint32_t)p[0] * 0x9E3779B1u) ^ ((uint32_t)p[n - 1] * 0x85EBCA77u) ^ ((uint32_t)p[n / 2] * 0x27D4EB2Fu) ^
           ((uint32_t)n * 0xC2B2AE3Du);
}

void CWordTable::Build(const std::set<CString>& keys, const std::set<CString>& ops, const std::set<CString>& funcs)
{
    size_t words = keys.size() + ops.size() + funcs.size(), chars = 0;
    for (const std::set<CString>* s : { &keys, &ops, &funcs })
        for (const CString& w : *s)
            chars += (size_t)w.GetLength();
    size_t size = 16;
    while (size < words * 2)
        size *= 2;
    m_slots.assign(size, Slot{ 0, 0, 0, 0 });
    m_chars.clear();
    m_chars.reserve(chars);
    m_mask = (uint32_t)(size - 1);
    m_nMaxLength = 0;
    m_firstChars = 0;
    // The first set that holds a word gives its kind.
    for (const CString& w : keys)
        Add(w, 1);
    for (const CString& w : ops)
        Add(w, 2);
    for (const CString& w : funcs)
        Add(w, 3);
}

void CWordTable::Add(const CString& word, int kind)
{
    const int n = word.GetLength();
    const wchar_t* p = word.GetString();
    if (Kind(p, n) != 0)
        return;
    const uint32_t h = Hash(p, n);
    uint32_t i = (h ^ (h >> 16)) & m_mask;
    while (m_slots[i].kind != 0)
        i = (i + 1) & m_mask;
    m_slots[i] = Slot{ h, kind, (int)m_chars.size(), n };
    if (n > m_nMaxLength)
        m_nMaxLength = n;
    if (n > 0)
        m_firstChars |= 1ULL << ((unsigned)p[0] & 63);
    m_chars.insert(m_chars.end(), p, p + n);
}

int CWordTable::Kind(const wchar_t* p, int n) const noexcept
{
    // Most words of a text are in no set: longer than any, or beginning
    // with a character none begins with (by its low six bits).
    if (n > m_nMaxLength || (n > 0 && !((m_firstChars >> ((unsigned)p[0] & 63)) & 1)))
        return 0;
    const uint32_t h = Hash(p, n);
    // (The hash is spread over the slots by its high bits too.)
    for (uint32_t i = (h ^ (h >> 16)) & m_mask;; i = (i + 1) & m_mask) {
        const Slot& s = m_slots[i];
        if (s.kind == 0)
            return 0;
        if (s.hash == h && s.length == n &&
            (n == 0 || std::memcmp(m_chars.data() + s.offset, p, (size_t)n * sizeof(wchar_t)) == 0))
            return s.kind;
    }
}
