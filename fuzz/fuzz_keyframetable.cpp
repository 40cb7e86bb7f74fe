#include "fuzz/inputfile.h"
#include "video/keyframetable.h"

#include <cstdio>
#include <cstdlib>

namespace {

void require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

} // namespace

// Any text gives a table that can be searched, extended, copied, saved and loaded again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const InputFile file(bytes, size);
    KeyFrameTable table;
    if (LoadKeyFrameTable(&table, file.path())) {
        require(table.count >= 0 && table.count <= table.capacity, "the rows in use exist");
        require(quorvale::rowsHeld(&table) == table.count, "the rows in use are held");
        const int index = GetEntryIndex(&table, 1000);
        require(index >= -1 && index < table.count, "a row that is found exists");

        KeyFrameTable copy;
        CopyKFT(&copy, &table);
        ResizeKFT(&copy, copy.count / 2);
        copy.modified = false;
        AddEntry(&copy, {2147483647, 1, 1});
        require(!copy.modified || quorvale::rowsHeld(&copy) == copy.count,
                "a shrunk table is whole again after a new row");
        ReleaseKFT(&copy);

        require(SaveKeyFrameTable(&table, file.path(), true), "a table can be saved");
        KeyFrameTable again;
        require(LoadKeyFrameTable(&again, file.path()), "what was saved can be loaded");
        ReleaseKFT(&again);
    }
    ReleaseKFT(&table);
    return 0;
}
