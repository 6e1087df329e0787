// The blocks under CString: contents survive any order of allocating and
// freeing, and the memory of a closed text is reused in address order by
// the next one (a search over a text loaded after another was closed must
// read memory in order, not hop over the closed text's free blocks).
#include "framework/afx.h"
#include "framework/strblocks.h"
#include "test_util.h"
#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>

namespace {

// A line of the given length whose characters say which line it is, made
// at its size in one block (as a load makes its lines).
CString MakeLine(int id, int length)
{
    std::wstring s;
    for (int i = 0; i < length; ++i)
        s += (wchar_t)(L'!' + (id * 7 + i) % 90);
    return CString(s.c_str(), length);
}

bool HoldsLine(const CString& s, int id, int length)
{
    if (s.GetLength() != length)
        return false;
    for (int i = 0; i < length; ++i)
        if (s[i] != (wchar_t)(L'!' + (id * 7 + i) % 90))
            return false;
    return true;
}

struct Text
{
    std::vector<CString> lines;
    std::vector<int> lengths;
};

// Lines of 0 to 119 characters (every small size class), built one after
// another as a load builds them.
std::unique_ptr<Text> Load(int count, uint32_t seed)
{
    std::mt19937 rng(seed);
    auto text = std::make_unique<Text>();
    text->lines.reserve(count);
    for (int i = 0; i < count; ++i) {
        const int length = (int)(rng() % 120);
        text->lengths.push_back(length);
        text->lines.push_back(MakeLine(i, length));
    }
    return text;
}

// Of the pairs of neighbouring non-empty lines, the share whose second
// line lies above the first in memory and at most a slab further on. (Not
// all: free blocks in slabs still in use elsewhere in the process, by the
// other tests, are taken first.)
double InOrder(const Text& text, size_t slabBytes)
{
    int pairs = 0, ordered = 0;
    const wchar_t* last = nullptr;
    for (const CString& line : text.lines) {
        if (line.IsEmpty())
            continue;
        const wchar_t* p = line.GetString();
        if (last) {
            ++pairs;
            ordered += p > last && (size_t)((const char*)p - (const char*)last) < slabBytes;
        }
        last = p;
    }
    return pairs ? (double)ordered / pairs : 1.0;
}

} // namespace

TEST(StringBlocksTest, ContentsSurviveMixedAllocationAndFreeing)
{
    std::mt19937 rng(7);
    std::vector<CString> lines(20000);
    std::vector<int> ids(lines.size(), -1), lengths(lines.size(), 0);
    for (int step = 0; step < 200000; ++step) {
        const size_t k = rng() % lines.size();
        switch (rng() % 4) {
        case 0: // freed
            lines[k].Empty();
            ids[k] = -1;
            lengths[k] = 0;
            break;
        case 1: // grown in place or moved to a bigger block
            if (ids[k] >= 0) {
                lines[k] += MakeLine(ids[k] + lengths[k], 1 + (int)(rng() % 40));
                const CString want = MakeLine(ids[k], lengths[k]);
                lines[k] = lines[k].Left(lengths[k]);
                ASSERT_EQ(want, lines[k]);
                break;
            }
            // fall through
        default: // replaced, up to the largest small block and past it
            ids[k] = step;
            lengths[k] = (int)(rng() % 700);
            lines[k] = MakeLine(step, lengths[k]);
            break;
        }
    }
    for (size_t k = 0; k < lines.size(); ++k) {
        if (ids[k] >= 0) {
            ASSERT_TRUE(HoldsLine(lines[k], ids[k], lengths[k])) << "line " << k;
        }
    }
}

TEST(StringBlocksTest, ClosedTextsMemoryIsReusedInOrder)
{
    const int kLines = 60000; // about 7 MiB of blocks natively
    auto first = Load(kLines, 1);
    const StringBlocks::Usage usage = StringBlocks::GetUsage();
    if (usage.slabbed) {
        EXPECT_GT(InOrder(*first, usage.slabBytes), 0.9);
    }

    // A text edited at random lines, then closed; the next text of the same
    // size takes the closed one's memory, in order.
    std::mt19937 rng(3);
    for (int i = 0; i < kLines; ++i) {
        const size_t k = rng() % first->lines.size();
        first->lines[k] += L"x";
    }
    first.reset();
    auto second = Load(kLines, 2);
    for (int i = 0; i < kLines; ++i)
        ASSERT_TRUE(HoldsLine(second->lines[i], i, second->lengths[i])) << "line " << i;
    if (!usage.slabbed)
        return; // (sanitizer builds: every block is the heap's)
    EXPECT_GT(InOrder(*second, usage.slabBytes), 0.9);

    // Closing and loading again and again asks the system for no more.
    const size_t slabs = StringBlocks::GetUsage().slabs;
    for (int round = 0; round < 4; ++round) {
        second.reset();
        second = Load(kLines, 10 + round);
    }
    EXPECT_LE(StringBlocks::GetUsage().slabs, slabs + 16);
    EXPECT_GT(InOrder(*second, usage.slabBytes), 0.9);
}
