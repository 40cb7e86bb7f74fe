#pragma once

#include "archive/programme.h"
#include "platform/diskwatch.h"
#include "platform/newdisknotifier.h"
#include "thumbs/thumbnailcache.h"
#include "ui_mainwindow.h"

#include <QList>
#include <QMainWindow>
#include <QPixmap>
#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>
#include <string>
#include <vector>

class QThread;
class ThumbnailScanner;

namespace quorvale {
class EmptyListHint;
class ScanProgress;
enum class MountPointScan;
} // namespace quorvale

/// The main window: the devices, the programmes of the selected one, and the details of the selected programme.
///
/// A programme is identified by its index in `programmes`. The state is public for the window's own parts and for
/// tests; only the main thread touches it. Constructing a Viewer shows it, loads the settings, looks for devices and
/// loads the first; destroying it saves the settings.
class Viewer : public QMainWindow
{
    Q_OBJECT

public:
    explicit Viewer(QWidget *parent = nullptr, Qt::WindowFlags flags = Qt::WindowFlags());
    ~Viewer() override;

    /// Loads the index of `selectedDevice` into `programmes` and the programme list. Without a selected device nothing
    /// happens; an index that cannot be opened leaves programmes, list and details as they were; one without a
    /// programme leaves the list.
    void scanDisk();

    /// Reads the mount point and the date order. A missing mount point is "/Volumes"; a missing date order is year
    /// first, an unknown one leaves `dateFormat`.
    void loadSettings();
    void saveSettings();

    /// Starts making thumbnails of every programme of the device, on a thread of its own. While a scan runs nothing
    /// happens: it is never stopped or replaced, and none is queued.
    void getThumbnails();
    /// Frees the whole cache. The caller empties the widget before control returns to the event loop.
    void deleteThumbs();

    /// The main file of the programme `row`, which must be in the list. This text identifies the recording everywhere.
    [[nodiscard]] QString recordingFile(int row) const;
    /// A recording's date as seen today, in the order `dateFormat`.
    QString getFormattedDate(int day, int month, int year);
    QString getTwoNumString(int n);
    /// Shows the size of the programme `row`, pieces included, and gives it in KiB; 0 when it has no file.
    int getFileSizeKB(int row);

    std::vector<Programme> programmes;      ///< of the loaded device, in the order of its index
    QList<QPixmap> thumbList;               ///< always empty
    QVector<ThumbnailEntry> thumbnailCache; ///< every series received, in order of arrival; owns the pixmaps
    QThread *scanThread = nullptr;          ///< of the latest scan; it deletes itself when it ends
    ThumbnailScanner *scanner = nullptr;    ///< of the latest scan; it deletes itself when it has finished
    bool thumbnailScanRunning = false;      ///< from the start of a scan to its finished()
    QString selectedDevice;                 ///< absolute path of the device shown; empty when there is none
    QString mountPoint;                     ///< the directory whose sub-directories may be recorder disks
    int currentProgramme = -1;              ///< the programme in the details panel; -1 when there is none
    std::string devicePath = "/";     ///< the bytes of `selectedDevice` when it was loaded; base of all recording paths
    QList<QString> openedDirectories; ///< added by hand, in that order, duplicates included
    Ui_MainWindow ui;
    int scanTimerId = -1;                    ///< of the rescan that is due, -1 when none is
    int dateFormat = 0;                      ///< 0 day.month.year, 1 month.day.year, 2 year.month.day
    NewDiskNotifier *diskNotifier = nullptr; ///< owned
    std::unique_ptr<DiskWatch> diskWatch;    ///< raises the notifier; released after it, as its last callbacks expect

public slots:
    void About();
    /// Lets the user change the two settings; however the dialog is closed, its content counts.
    void Preferences();
    /// Takes over one recording's pixmaps and shows them if that recording is selected.
    void SetThumbs(QString path, QVector<QPixmap *> x1, QVector<QPixmap *> x2);
    /// Writes the selected programme's description to a file that the user names.
    void exportMeta();
    /// Asks for a directory and, if it holds an archive, adds and loads it.
    void openDVR();
    /// Rebuilds the device list and selects its first device. Loads nothing: what is shown stays.
    void scanDrives();
    /// Loads the device of `item`; another device than before drops the thumbnails.
    void selectDevice(QTreeWidgetItem *item, int column);
    /// Makes one rescan due in a second, however often it is called until then.
    void collatedScan();
    /// Shows the recording of the list's current row in the desktop's file manager; without one it does nothing.
    void openFinder();
    /// Shows the programme `index` in the details panel; an index outside the list changes nothing.
    void chooseProgramme(int index);
    /// The scan has finished. Its thread stays, idle.
    void scanDone();

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    void addDeviceItem(const QString &directory);
    void setWindowIcons();
    void makeAccessible();
    void makeRoomForDates();
    void makeHints();
    void makeProgrammeCommands();
    void hintAtDevices(quorvale::MountPointScan scan);
    void describePictures();
    [[nodiscard]] QString whyNoPictures(const QString &path) const;
    [[nodiscard]] bool isOnListedDevice(const QString &path) const;
    void connectForm();

    quorvale::EmptyListHint *deviceHint = nullptr;
    quorvale::EmptyListHint *programmeHint = nullptr;
    std::unique_ptr<quorvale::ScanProgress> scanProgress;
};
