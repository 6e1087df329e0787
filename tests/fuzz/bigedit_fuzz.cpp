// libFuzzer target: sequences of big edits (block removals and inserts,
// line changes, recolourings) with undo and redo, made through the block
// operations and one line at a time; any difference in the lines, their
// colours, the replay's caret and view or the reverse frames aborts.
#include "tests/support/BlockEditModel.h"
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    // The first byte picks the text's size: up to 255 lines.
    block_edit_model::Model model(1 + data[0]);
    std::string why;
    if (!model.Run(data + 1, size - 1, why)) {
        std::fprintf(stderr, "big edits differ: %s\n", why.c_str());
        std::abort();
    }
    return 0;
}
