// Checked reads of the host engine's memory.
//
// The control reads records the host hands it as raw pointers. Every read
// goes through a CVelmorMemory, which says false instead of faulting when
// the bytes are not there: a null, stale, unmapped or guard-page pointer
// gives "not found", never a crash. Addresses are 64-bit so that the
// engine's 32-bit pointer fields, zero-extended, work on both builds.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>

class CVelmorMemory
{
public:
    virtual ~CVelmorMemory() = default;

    // Copies n bytes at addr into dst; false when any of them cannot be read.
    virtual bool Read(uint64_t addr, void* dst, size_t n) const = 0;

    // A little-endian value (the engine's records are, as both targets are).
    template <typename T> bool ReadValue(uint64_t addr, T& v) const { return Read(addr, &v, sizeof v); }
    bool ReadU8(uint64_t addr, uint8_t& v) const { return ReadValue(addr, v); }
    bool ReadU16(uint64_t addr, uint16_t& v) const { return ReadValue(addr, v); }
    bool ReadU32(uint64_t addr, uint32_t& v) const { return ReadValue(addr, v); }
    bool ReadF32(uint64_t addr, float& v) const { return ReadValue(addr, v); }
    bool ReadF64(uint64_t addr, double& v) const { return ReadValue(addr, v); }

    // The NUL-terminated 8-bit text at addr, at most nMax bytes before the
    // NUL. False when a byte cannot be read; when no NUL comes within nMax
    // bytes, false too unless bTruncate, which keeps the first nMax bytes.
    bool ReadText(uint64_t addr, size_t nMax, std::string& out, bool bTruncate = false) const;

    // Whether the NUL-terminated text at addr is exactly s (n bytes): reads
    // at most n + 1 bytes, so an unterminated name costs no more than that.
    bool TextEquals(uint64_t addr, const char* s, size_t n) const;
};

// A block of bytes standing for the engine's memory at a given address:
// reads outside it fail. Tests build record images in one; the fuzzer
// hands it random bytes.
class CArenaMemory : public CVelmorMemory
{
public:
    CArenaMemory(uint64_t base, const void* bytes, size_t size) : m_base(base), m_bytes((const uint8_t*)bytes), m_size(size) {}
    bool Read(uint64_t addr, void* dst, size_t n) const override;

private:
    uint64_t m_base;
    const uint8_t* m_bytes;
    size_t m_size;
};
