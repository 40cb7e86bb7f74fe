// Showing the selected recording in the desktop's file manager.

#include "app/viewer.h"

#include "archive/archivepaths.h"
#include "platform/finder.h"

void Viewer::openFinder()
{
    const int row = ui.summaryList->currentRow();
    if (row < 0 || static_cast<std::size_t>(row) >= programmes.size())
        return;
    // Bytes all the way: the file's name need not be text.
    OpenFinderWindowAt(recordingPath(devicePath, programmes[static_cast<std::size_t>(row)].fileName).c_str());
}
