// What the window says when there is nothing to see: no device, no programme, no picture yet.

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

// Looks at the mount point only if the list is empty: the disk may not answer.
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
