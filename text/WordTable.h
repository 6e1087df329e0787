// Looking words up in a colorizer's three word sets, many lines at a time.
//
// A colorizer asks its sets (ordered trees of strings) three times for
// every word of every line it colours. While many lines are coloured in
// one go (a block indented, an undo step, a paste) the sets stay as they
// are, so their answers can be read from one hash table made at the start.
// A CColourBatch marks such a stretch on the current thread; the library's
// colorizers then use a table made from their sets on first use. Whoever
// opens a batch promises that meanwhile no word set changes except by a
// whole exchange of contents (std::set::swap, as the lazy recolouring lends
// its word sets to the colorizer), or through the library's own code, which
// calls CColourBatch::Forget when it changes a set. A table belongs to the
// contents it was made from: it is found again by the identity of the
// sets' first and last nodes and their sizes, which travel with the
// contents when sets are exchanged.
#pragma once
#include "../framework/afxstr.h"
#include <cstdint>
#include <set>
#include <vector>

class CColorizer;

class CColourBatch
{
public:
    CColourBatch();
    ~CColourBatch();
    CColourBatch(const CColourBatch&) = delete;
    CColourBatch& operator=(const CColourBatch&) = delete;

    // A word set changed: the tables made in the open batch are dropped.
    static void Forget() noexcept;
};

// The answers of a colorizer's three sets for one content of them: 1 for a
// word of the keyword set, 2 of the operator set, 3 of the function set (the
// first set that holds it), 0 for none. Words are matched by their exact
// code units, as the sets match them.
class CWordTable
{
public:
    void Build(const std::set<CString>& keys, const std::set<CString>& ops, const std::set<CString>& funcs);
    int Kind(const wchar_t* p, int n) const noexcept;

private:
    struct Slot
    {
        uint32_t hash;
        int kind;    // 0: empty slot
        int offset;  // into m_chars
        int length;
    };
    static uint32_t Hash(const wchar_t* p, int n) noexcept;
    void Add(const CString& word, int kind);

    std::vector<Slot> m_slots; // a power of two, at most half full
    std::vector<wchar_t> m_chars;
    uint32_t m_mask = 0;
    int m_nMaxLength = 0;       // of the longest word
    uint64_t m_firstChars = 0;  // bit c & 63 for each word's first character c
};

// The table of the batch open on this thread for the colorizer's current
// sets, made now if need be; null outside a batch.
const CWordTable* ColourBatchTable(const CColorizer& c);

// A colorizer's words as far as the open batch can tell them apart: the
// batch (a stamp that changes when a batch opens and whenever the library
// changes a set within it; 0 outside a batch), the colorizer, the contents
// of its three sets and m_bNoCase. Two equal identities with a stamp other
// than 0 mean the same words, without comparing them.
struct CWordsIdentity
{
    uint64_t stamp = 0;
    const CColorizer* colorizer = nullptr;
    size_t sizes[3] = {};
    const CString* ends[6] = {};
    bool bNoCase = false;
    bool operator==(const CWordsIdentity& o) const;
};
CWordsIdentity WordsIdentityOf(const CColorizer& c);
