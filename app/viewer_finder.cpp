// Giving a recording to other programs: the file manager, the player, and programs that take dragged files.

#include "app/viewer.h"

#include "app/programmelistcommands.h"
#include "archive/archivepaths.h"
#include "platform/finder.h"

void Viewer::openFinder()
{
    const int row = ui.summaryList->currentRow();
    if (row < 0 || static_cast<std::size_t>(row) >= programmes.size())
        return;
    // Bytes from the index to the call: a file's name need not be valid text.
    OpenFinderWindowAt(recordingPath(devicePath, programmes[static_cast<std::size_t>(row)].fileName).c_str());
}

// The list may show more rows than there are programmes.
void Viewer::makeProgrammeCommands()
{
    const auto recordingOf = [this](int row) -> std::optional<quorvale::Recording> {
        if (row < 0 || static_cast<std::size_t>(row) >= programmes.size())
            return std::nullopt;
        const Programme &programme = programmes[static_cast<std::size_t>(row)];
        return quorvale::Recording{recordingPath(devicePath, programme.fileName), programme.description};
    };
    new quorvale::ProgrammeListCommands(ui.summaryList, recordingOf); // owned by the list
}
