// What the window says when there is nothing to see: no device, no programme, no picture yet.

#include "app/viewer.h"

#include "app/emptylisthint.h"
#include "app/listhints.h"
#include "app/picturestext.h"
#include "app/scanprogress.h"

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

// Why there are no pictures of the recording `path`. An empty series stays: only the first one of a recording counts.
QString Viewer::whyNoPictures(const QString &path) const
{
    using Turn = quorvale::ScanProgress::Turn;
    const auto series = findThumbnails(thumbnailCache, path);
    if (series && series->x1.isEmpty())
        return quorvale::noPicturesText(Turn::InVain);
    const Turn turn = scanProgress->turnOf(path);
    return quorvale::noPicturesText(turn == Turn::Unknown && !isOnListedDevice(path) ? Turn::InVain : turn);
}

bool Viewer::isOnListedDevice(const QString &path) const
{
    for (int i = 0; i < ui.deviceList->topLevelItemCount(); ++i) {
        if (path.startsWith(ui.deviceList->topLevelItem(i)->text(0) + QLatin1Char('/')))
            return true;
    }
    return false;
}

// Describes the pictures of the recording whose path the tip shows, which stays when a disk without programmes is
// clicked.
void Viewer::describePictures()
{
    MultiFrameThumb &pictures = *ui.thumbnailLabel;
    const QString path = pictures.toolTip();
    QString text;
    if (!pictures.thumbs1x.isEmpty())
        text = quorvale::picturesText({path, pictures.thumbs1x, pictures.thumbs2x});
    else if (!path.isEmpty())
        text = whyNoPictures(path);
    if (text != pictures.accessibleDescription()) // else screen readers would hear of it again
        pictures.setAccessibleDescription(text);
}
