// What the window says where there is nothing to see: no device, no programme, no picture yet.

#include "app/viewer.h"

#include "app/emptylisthint.h"
#include "app/listhints.h"
#include "app/picturestext.h"

#include <optional>

using quorvale::EmptyListHint;
using quorvale::MountPointScan;

void Viewer::makeHints()
{
    deviceHint = new EmptyListHint(ui.deviceList);     // owned by the list
    programmeHint = new EmptyListHint(ui.summaryList); // owned by the list
}

// An empty list alone makes this look at the mount point: a disk that does not answer is not asked in vain.
void Viewer::hintAtDevices(MountPointScan scan)
{
    if (ui.deviceList->topLevelItemCount() > 0) {
        deviceHint->setText({});
        return;
    }
    using namespace quorvale;
    const QString usualPlace = scan == MountPointScan::Done ? firstDirectoryOf(usualMountPoints()) : QString();
    deviceHint->setText(noDeviceText(mountPoint, scan, usualPlace));
}

void Viewer::describePictures()
{
    QString text;
    if (currentProgramme >= 0) {
        const QString path = recordingFile(currentProgramme);
        const std::optional<ThumbnailEntry> series = findThumbnails(thumbnailCache, path);
        text = series ? quorvale::picturesText(*series) : quorvale::noPicturesText(filesAwaited.contains(path));
    }
    ui.thumbnailLabel->setAccessibleDescription(text);
}
