// The window's devices: finding them, adding one by hand, loading one, following disks as they come and go.

#include "app/viewer.h"

#include "app/displaytext.h"
#include "app/emptylisthint.h"
#include "app/listhints.h"
#include "app/scanprogress.h"
#include "archive/archivediscovery.h"
#include "archive/archivepaths.h"
#include "archive/recordingsindex.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QTimerEvent>

#include <utility>

using namespace quorvale;

namespace {

constexpr int kCollationMs = 1000; // one disk raises several events

} // namespace

void Viewer::scanDrives()
{
    const auto isLoadedDeviceThere = [this] {
        return !ui.deviceList->findItems(displayText(devicePath), Qt::MatchExactly | Qt::MatchCaseSensitive).isEmpty();
    };
    const bool wasThere = isLoadedDeviceThere();
    ui.deviceList->clear();
    QString firstDevice;
    const auto addDevice = [&](const QString &directory) {
        addDeviceItem(directory);
        if (firstDevice.isEmpty())
            firstDevice = directory;
    };

    const QStringList archives = findArchives(mountPoint);
    for (const QString &archive : archives)
        addDevice(archive);

    // A directory that no longer holds an archive is forgotten, even if the archive comes back.
    QList<QString> stillThere;
    for (const QString &directory : std::as_const(openedDirectories)) {
        if (!holdsArchive(directory))
            continue;
        stillThere.append(directory);
        addDevice(directory);
    }
    openedDirectories = stillThere;

    selectedDevice = firstDevice;
    hintAtDevices(quorvale::MountPointScan::Done);
    const bool isThere = isLoadedDeviceThere();
    if (!wasThere || !isThere) // else what is said of it stays true
        programmeHint->setText(firstDevice.isEmpty() ? QString() : quorvale::nothingLoadedText());
    if (!wasThere && isThere)
        scanProgress->forgetFailures();
    describePictures();
}

void Viewer::scanDisk()
{
    if (selectedDevice.isEmpty())
        return;
    ui.thumbnailLabel->ClearThumbs();
    devicePath = selectedDevice.toStdString();
    bool failed = false;
    auto index = readRecordingsIndex(devicePath, failed);
    if (!index) {
        programmeHint->setText(quorvale::unreadableDeviceText(selectedDevice));
        describePictures();
        return;
    }

    programmes = std::move(*index);
    thumbList.clear();
    currentProgramme = -1;
    ui.fileSizeEdit->clear();
    describePictures();
    if (programmes.empty()) {
        programmeHint->setText(failed ? quorvale::unreadableDeviceText(selectedDevice)
                                      : quorvale::emptyDeviceText(selectedDevice));
        return; // The list keeps the titles of the device shown before.
    }
    programmeHint->setText({});

    ui.summaryList->clear();
    for (const Programme &programme : programmes)
        ui.summaryList->addItem(displayText(programme.title));
    ui.summaryList->setCurrentRow(0);
    getThumbnails();
}

void Viewer::openDVR()
{
    const QString directory = QFileDialog::getExistingDirectory(this, tr("Select directory containing DVR"), QString(),
                                                                QFileDialog::ShowDirsOnly);
    if (directory.isEmpty())
        return;
    if (!holdsArchive(directory)) {
        QMessageBox::warning(this, tr("Incorrect Directory"),
                             tr("The directory does not contain a recordings archive\n"), QMessageBox::Ok);
        return;
    }
    openedDirectories.append(directory);
    addDeviceItem(directory);
    hintAtDevices(quorvale::MountPointScan::Done);
    selectedDevice = directory;
    scanDisk();
}

void Viewer::selectDevice(QTreeWidgetItem *item, int column)
{
    Q_UNUSED(column)
    const QString device = item->data(0, Qt::DisplayRole).toString();
    if (device != selectedDevice)
        deleteThumbs(); // scanDisk empties the widget.
    selectedDevice = device;
    scanDisk();
}

void Viewer::collatedScan()
{
    if (scanTimerId < 0)
        scanTimerId = startTimer(kCollationMs, Qt::CoarseTimer);
}

void Viewer::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != scanTimerId)
        return;
    killTimer(scanTimerId);
    scanTimerId = -1;
    scanDrives();
}

void Viewer::addDeviceItem(const QString &directory)
{
    ui.deviceList->addTopLevelItem(new QTreeWidgetItem({directory})); // owned by the list
}
