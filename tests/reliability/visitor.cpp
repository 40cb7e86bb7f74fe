// visitor FOLDER ELSEWHERE: uses everything in the window, with mouse and keys, on the recorder disks below the mount
// point of the settings: selects every programme of every device, waits for all pictures, exports each description into
// FOLDER, shows each recording in the file manager, opens the preferences and the about box, lets a disk come and go,
// adds the directory ELSEWHERE, and quits. Writes what it saw to stdout.

#include "app/viewer.h"

#include "tests/support/modaldialog.h"
#include "thumbs/scanthreads.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QTest>

#include <cstdio>

using namespace quorvale;

namespace {

constexpr int kPatienceMs = 60000; // far more than anything here takes

void say(const QString &line)
{
    std::puts(qPrintable(line));
    std::fflush(stdout);
}

void answerWith(QFileDialog &dialog, const QString &path)
{
    auto *name = dialog.findChild<QLineEdit *>("fileNameEdit");
    name->setFocus();
    name->setText(path); // pasted: what is typed is completed, and Return could take the completion
    QTest::keyClick(name, Qt::Key_Return);
}

bool waitForScan(const Viewer &viewer)
{
    return QTest::qWaitFor([&] { return !viewer.thumbnailScanRunning; }, kPatienceMs);
}

void clickDevice(Viewer &viewer, int row)
{
    QTreeWidget *devices = viewer.ui.deviceList;
    const QPoint place = devices->visualItemRect(devices->topLevelItem(row)).center();
    QTest::mouseClick(devices->viewport(), Qt::LeftButton, Qt::NoModifier, place);
}

void exportTo(Viewer &viewer, const QString &path)
{
    const WhenModal<QFileDialog> dialog([&](QFileDialog &d) { answerWith(d, path); });
    viewer.ui.actionExport_Description->trigger();
    say(QStringLiteral("  exported %1 bytes").arg(QFileInfo(path).size()));
}

void lookAtProgrammes(Viewer &viewer, const QString &folder)
{
    const QString device = QFileInfo(viewer.selectedDevice).fileName();
    for (int row = 0; row < viewer.ui.summaryList->count(); ++row) {
        if (row > 0)
            QTest::keyClick(viewer.ui.summaryList, Qt::Key_Down);
        const auto pictures = viewer.ui.thumbnailLabel->thumbs1x.size();
        say(QStringLiteral("  %1, %2, %3 pictures")
                .arg(viewer.ui.programmeEdit->text(), viewer.ui.fileSizeEdit->text())
                .arg(pictures));
        exportTo(viewer, folder + QStringLiteral("/%1-%2.txt").arg(device).arg(row));
        QTest::mouseClick(viewer.ui.openButton, Qt::LeftButton);
    }
}

void lookAtDialogs(Viewer &viewer)
{
    for (QAction *action : {viewer.ui.actionPreferences, viewer.ui.actionAbout}) {
        const WhenModal<QDialog> dialog([](QDialog &d) { d.reject(); });
        action->trigger();
        say(QStringLiteral("dialog: %1").arg(dialog.wasSeen() ? "seen" : "missing"));
    }
}

bool visit(Viewer &viewer, const QString &folder, const QString &elsewhere)
{
    bool scanned = waitForScan(viewer);
    for (int row = 0; row < viewer.ui.deviceList->topLevelItemCount(); ++row) {
        clickDevice(viewer, row);
        scanned = waitForScan(viewer) && scanned;
        say(QStringLiteral("device ") + QFileInfo(viewer.selectedDevice).fileName());
        lookAtProgrammes(viewer, folder);
    }

    lookAtDialogs(viewer);
    viewer.diskNotifier->Notify();
    const bool rescanned = QTest::qWaitFor([&] { return viewer.scanTimerId < 0; }, kPatienceMs);
    say(QStringLiteral("devices after a disk came: %1").arg(viewer.ui.deviceList->topLevelItemCount()));

    const WhenModal<QFileDialog> dialog([&](QFileDialog &d) { answerWith(d, elsewhere); });
    viewer.ui.actionOpen_Directory->trigger();
    scanned = waitForScan(viewer) && scanned;
    say(QStringLiteral("added ") + QFileInfo(viewer.selectedDevice).fileName());
    lookAtProgrammes(viewer, folder);
    return scanned && rescanned;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication application(argc, argv);
    if (argc != 3)
        return 2;
    bool complete = false;
    {
        Viewer viewer;
        complete = visit(viewer, QFile::decodeName(argv[1]), QFile::decodeName(argv[2]));
    }
    return ScanThreads::instance().end(kPatienceMs) && complete ? 0 : 1;
}
