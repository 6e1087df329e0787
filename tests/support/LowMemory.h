// Memory below 4 GiB, where the engine's 32-bit pointer fields can point,
// for record images on the x86_64 build (Windows only).
#pragma once
#include <windows.h>
#include <cstdint>

// size bytes, committed and zeroed, at the first free 16 MiB step from
// 256 MiB up; null when none is free.
inline void* VelmorLowAlloc(size_t size)
{
    for (uintptr_t a = 0x10000000; a < 0x7F000000; a += 0x01000000)
        if (void* p = VirtualAlloc((void*)a, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))
            return p;
    return nullptr;
}
