// The value tip's lookup, as its one-second refresh makes it: engine records
// of 1,000 functions with 50 locals each, in memory below 4 GiB, looked up
// through the exported LookupScriptVariable (checked reads included).
#include "BenchUtil.h"
#include "WinBench.h"
#include "tests/support/LowMemory.h"
#include "tests/support/RecordImage.h"
#include <cstdio>
#include <cstring>

namespace {

// Microseconds per lookup of word at line: the median of 15 batches.
double Measure(int line, const char* word, void* frame, void* list, bool expectFound)
{
    const int kBatch = 2000;
    std::vector<double> batches;
    char buf[1024];
    for (int b = 0; b < 15; ++b) {
        const double t0 = bench::NowMs();
        for (int i = 0; i < kBatch; ++i) {
            std::snprintf(buf, sizeof buf, "%s", word);
            if ((LookupScriptVariable(line, buf, nullptr, frame, list) != 0) != expectFound) {
                std::printf("  value lookup of %s: unexpected result \"%s\"\n", word, buf);
                return -1;
            }
        }
        batches.push_back((bench::NowMs() - t0) * 1e3 / kBatch);
    }
    return bench::Median(batches);
}

} // namespace

int main()
{
    const int kFunctions = 1000, kLocals = 50;
    uint8_t* mem = (uint8_t*)VelmorLowAlloc(16 << 20);
    if (!mem) {
        std::printf("  value lookup: no memory below 4 GiB\n");
        return 1;
    }
    CRecordImage img((uint32_t)(uintptr_t)mem);
    // Function k starts at line 100*k; the list holds the last first. Each
    // has its own table and frame; the one searched is the first function,
    // at the list's far end.
    uint32_t next = 0, frame0 = 0;
    for (int k = 0; k < kFunctions; ++k) {
        std::vector<std::pair<std::string, uint32_t>> locals;
        for (int i = 0; i < kLocals; ++i)
            locals.emplace_back("local_" + std::to_string(i), (uint32_t)i);
        const uint32_t frame = img.Frame(kLocals);
        for (int i = 0; i < kLocals; ++i)
            img.IntObject(img.Slot(frame, i), VELMOR_T_INT, (uint32_t)(k * 1000 + i));
        if (k == 0)
            frame0 = frame;
        next = img.Function(100 * k, (uint8_t)kLocals, true, img.LocalTable(locals), next);
    }
    std::memcpy(mem, img.Bytes().data(), img.Bytes().size());
    void* list = (void*)(uintptr_t)next;
    void* frame = (void*)(uintptr_t)frame0;
    char warm[1024] = "local_0";
    LookupScriptVariable(50, warm, nullptr, frame, list); // installs the list the next lookup searches

    const double found = Measure(50, "local_49", frame, list, true);
    const double miss = Measure(50, "not_a_local", frame, list, false);
    std::printf("  value lookup: %.2f us  (the last of %d locals, by table, in the last of %d functions; "
                "a miss %.2f us; %.1f MiB of records)\n",
                found, kLocals, kFunctions, miss, img.Bytes().size() / 1048576.0);
    std::printf("RESULT\tvalue lookup, 1,000 functions x 50 locals (us)\t10 MiB\t%.2f\n", found);
    VirtualFree(mem, 0, MEM_RELEASE);
    return found < 0 || miss < 0;
}
