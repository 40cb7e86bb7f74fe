// The window's devices: found below the mount point, added by hand, clicked, reloaded.

#include "tests/support/modaldialog.h"
#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QtTest>

namespace {

// Chooses `directory` in the directory chooser as a person does: by typing and pressing Return.
void chooseByKeys(QFileDialog &dialog, const QString &directory)
{
    auto *name = dialog.findChild<QLineEdit *>("fileNameEdit");
    name->setFocus();
    name->setText(directory); // typed letter by letter, a list of completions could open and take the Return key
    QTest::keyClick(name, Qt::Key_Return);
}

void clickDevice(const Viewer &viewer, int row)
{
    auto *list = viewer.ui.deviceList;
    const QRect place = list->visualItemRect(list->topLevelItem(row));
    QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, place.center());
}

} // namespace

class TestViewerDevices : public QObject
{
    Q_OBJECT

private slots:
    void scan_listsVolumesThenAddedDirectories_andSelectsTheFirst()
    {
        ViewerFixture fixture;
        for (const char *name : {"b", "a"})
            QVERIFY(TestVolume::create(fixture.path(name), {fixture.titled(name)}));
        const QTemporaryDir elsewhere;
        QVERIFY(TestVolume::create(elsewhere.path(), {fixture.titled("elsewhere")}));
        Viewer &viewer = fixture.open();
        viewer.openedDirectories = QStringList({elsewhere.path(), fixture.path("a"), elsewhere.path()});
        viewer.scanDrives();

        QStringList expected;
        for (const QString &name : QDir(fixture.path()).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Unsorted))
            expected.append(fixture.path(name));
        QCOMPARE(viewer.selectedDevice, expected.first());
        expected += {elsewhere.path(), fixture.path("a"), elsewhere.path()};
        QCOMPARE(deviceTexts(viewer), expected);
        QCOMPARE(viewer.openedDirectories.size(), 3);

        viewer.mountPoint = "/no/such/directory";
        viewer.scanDrives();
        QCOMPARE(viewer.selectedDevice, elsewhere.path());
        QCOMPARE(deviceTexts(viewer).size(), 3);
        QVERIFY(!viewer.ui.deviceList->currentItem());
    }

    void scan_forgetsAddedDirectories_thatHaveGone()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        const QTemporaryDir stays, goes;
        QVERIFY(TestVolume::create(stays.path(), {fixture.titled("stays")}));
        QVERIFY(TestVolume::create(goes.path(), {fixture.titled("goes")}));
        viewer.openedDirectories = QStringList({goes.path(), stays.path(), goes.path()});
        QVERIFY(QDir(goes.path() + "/DVR").removeRecursively());
        viewer.scanDrives();
        QCOMPARE(deviceTexts(viewer), QStringList(stays.path()));
        QCOMPARE(QStringList(viewer.openedDirectories), QStringList(stays.path()));
        // It stays forgotten when it comes back.
        QVERIFY(TestVolume::create(goes.path(), {fixture.titled("goes")}));
        viewer.scanDrives();
        QCOMPARE(deviceTexts(viewer), QStringList(stays.path()));
    }

    void scan_selectsNothing_withoutMountPointAndDirectories()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        QVERIFY(!viewer.selectedDevice.isEmpty());
        viewer.mountPoint.clear();
        viewer.scanDrives();
        QCOMPARE(viewer.selectedDevice, QString());
        QCOMPARE(deviceTexts(viewer), QStringList());
        viewer.scanDisk();
        QCOMPARE(programmeTexts(viewer), QStringList("one"));
    }

    void scan_loadsNothing()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("changed")}));
        viewer.scanDrives();
        QCOMPARE(programmeTexts(viewer), QStringList("one"));
        QCOMPARE(viewer.programmes.front().title, std::string("one"));
    }

    void load_doesNothing_withoutDevice()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        viewer.ui.fileSizeEdit->setText("stays");
        viewer.scanDisk();
        QCOMPARE(viewer.devicePath, std::string("/"));
        QCOMPARE(viewer.ui.fileSizeEdit->text(), QString("stays"));
    }

    void load_keepsEverything_whenTheIndexCannotBeOpened()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        viewer.SetThumbs(viewer.recordingFile(0), {new QPixmap(8, 6)}, {new QPixmap(16, 12)}); // owned by the window
        QCOMPARE(viewer.ui.thumbnailLabel->thumbs1x.size(), 1);
        viewer.selectedDevice = fixture.path("gone");
        viewer.scanDisk();
        QVERIFY(viewer.ui.thumbnailLabel->thumbs1x.isEmpty()); // no longer shown, but kept
        QCOMPARE(viewer.thumbnailCache.size(), 1);
        QCOMPARE(viewer.devicePath, fixture.path("gone").toStdString()); // updated all the same
        QCOMPARE(programmeTexts(viewer), QStringList("one"));
        QCOMPARE(viewer.programmes.size(), std::size_t(1));
        QCOMPARE(viewer.currentProgramme, 0);
        QCOMPARE(viewer.ui.programmeEdit->text(), QString("one"));
        QCOMPARE(viewer.ui.fileSizeEdit->text(), QString("No file"));
    }

    void load_keepsTheOldTitles_whenTheIndexHasNoProgramme()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one"), fixture.titled("two")});
        viewer.thumbList.append(QPixmap());
        QVERIFY(TestVolume::create(fixture.path("empty"), QByteArray()));
        viewer.selectedDevice = fixture.path("empty");
        viewer.scanDisk();
        QVERIFY(viewer.programmes.empty());
        QVERIFY(viewer.thumbList.isEmpty());
        QCOMPARE(viewer.currentProgramme, -1);
        QCOMPARE(viewer.ui.fileSizeEdit->text(), QString());
        QCOMPARE(programmeTexts(viewer), QStringList({"one", "two"}));
        // Rows that name no programme any more select nothing.
        viewer.ui.summaryList->setCurrentRow(1);
        QCOMPARE(viewer.currentProgramme, -1);
        QCOMPARE(viewer.ui.programmeEdit->text(), QString("one"));
    }

    void load_showsTitlesAsUtf8_toleratingOtherBytes()
    {
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("Fr\xC3\xBC"
                                                                         "h"),
                                                          fixture.titled("\xE4 old"), fixture.titled("")}));
        const QStringList titles = programmeTexts(fixture.open());
        QCOMPARE(titles.at(0), QString::fromUtf8("Fr\xC3\xBC"
                                                 "h"));
        QCOMPARE(titles.at(1), QString(QChar::ReplacementCharacter) + " old");
        QCOMPARE(titles.at(2), QString());
    }

    void load_showsTheFirstProgramme_alsoWhenReloaded()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one"), fixture.titled("two")});
        viewer.ui.summaryList->setCurrentRow(1);
        QCOMPARE(viewer.currentProgramme, 1);
        viewer.scanDisk();
        QCOMPARE(viewer.ui.summaryList->currentRow(), 0);
        QCOMPARE(viewer.currentProgramme, 0);
        QCOMPARE(viewer.ui.programmeEdit->text(), QString("one"));
    }

    void load_leavesNoDescriptorOpen_onTheVolume()
    {
#ifndef Q_OS_LINUX
        QSKIP("The open files of the process are listed on Linux only.");
#endif
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("one")}));
        QVERIFY(TestVolume::writeFile(fixture.path("disk/DVR/RECS/one.ts"), "recording"));
        Viewer &viewer = fixture.open();
        viewer.scanDrives();
        QTRY_VERIFY(!viewer.thumbnailScanRunning);
        const QFileInfoList open = QDir("/proc/self/fd").entryInfoList(QDir::AllEntries | QDir::System);
        QVERIFY(open.size() > 3);
        for (const QFileInfo &file : open)
            QVERIFY2(!file.symLinkTarget().startsWith(fixture.path()), qPrintable(file.symLinkTarget()));
    }

    void click_loadsTheDevice()
    {
        ViewerFixture fixture;
        for (const char *name : {"a", "b"})
            QVERIFY(TestVolume::create(fixture.path(name), {fixture.titled(name)}));
        Viewer &viewer = fixture.open();
        for (const int row : {1, 0, 1}) {
            clickDevice(viewer, row);
            const QString device = deviceTexts(viewer).at(row);
            QCOMPARE(viewer.selectedDevice, device);
            QCOMPARE(programmeTexts(viewer), QStringList(QFileInfo(device).fileName()));
            QCOMPARE(viewer.currentProgramme, 0);
        }
    }

    void click_reloadsTheDevice_whenItIsSelectedAlready()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("changed")}));
        clickDevice(viewer, 0);
        QCOMPARE(programmeTexts(viewer), QStringList("changed"));
    }

    void click_dropsThePictures_ofAnotherDeviceOnly()
    {
        ViewerFixture fixture;
        for (const char *name : {"a", "b"})
            QVERIFY(TestVolume::create(fixture.path(name), {fixture.titled(name)}));
        Viewer &viewer = fixture.open();
        const auto withPictures = [&] {
            const QVector<QPixmap *> series{new QPixmap(10, 10), nullptr}; // owned by the cache
            viewer.thumbnailCache = {{viewer.recordingFile(0), series, {nullptr, nullptr}}};
            viewer.chooseProgramme(0);
        };
        withPictures();
        clickDevice(viewer, 0); // selected already
        QCOMPARE(viewer.thumbnailCache.size(), 1);
        QCOMPARE(viewer.ui.thumbnailLabel->thumbs1x, viewer.thumbnailCache.first().x1);
        clickDevice(viewer, 1);
        QVERIFY(viewer.thumbnailCache.isEmpty());
        QVERIFY(viewer.ui.thumbnailLabel->thumbs1x.isEmpty());
        QVERIFY(viewer.ui.thumbnailLabel->busy);
        viewer.deleteThumbs(); // An empty cache does no harm.
        withPictures();        // The window frees what is there at its end.
    }

    void open_keepsThePictures()
    {
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("one")}));
        const QTemporaryDir elsewhere;
        QVERIFY(TestVolume::create(elsewhere.path(), {fixture.titled("elsewhere")}));
        Viewer &viewer = fixture.open();
        viewer.thumbnailCache = {{viewer.recordingFile(0), {new QPixmap(10, 10)}, {nullptr}}};
        WhenModal<QFileDialog> chooser([&](QFileDialog &dialog) { chooseByKeys(dialog, elsewhere.path()); });
        viewer.openDVR();
        QVERIFY(chooser.wasSeen());
        QCOMPARE(programmeTexts(viewer), QStringList("elsewhere"));
        QCOMPARE(viewer.thumbnailCache.size(), 1);
    }

    void open_addsAndLoadsADirectory_everyTime()
    {
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("one")}));
        const QTemporaryDir elsewhere;
        QVERIFY(TestVolume::create(elsewhere.path(), {fixture.titled("elsewhere")}));
        Viewer &viewer = fixture.open();
        for (int time = 1; time <= 2; ++time) {
            QString caption;
            QWidget *parent = nullptr;
            QString start;
            bool directoriesOnly = false;
            WhenModal<QFileDialog> chooser([&](QFileDialog &dialog) {
                caption = dialog.windowTitle();
                parent = dialog.parentWidget();
                start = dialog.directory().absolutePath();
                directoriesOnly = dialog.testOption(QFileDialog::ShowDirsOnly);
                chooseByKeys(dialog, elsewhere.path());
            });
            viewer.ui.actionOpen_Directory->trigger();
            QVERIFY(chooser.wasSeen());
            QCOMPARE(caption, QString("Select directory containing DVR"));
            QCOMPARE(parent, static_cast<QWidget *>(&viewer));
            QVERIFY(directoriesOnly);
            if (time == 1)
                QCOMPARE(start, QDir::currentPath()); // none given: where the program stands
            QCOMPARE(viewer.openedDirectories.size(), time);
            QCOMPARE(viewer.openedDirectories.last(), elsewhere.path());
            QCOMPARE(deviceTexts(viewer).size(), 1 + time);
            QCOMPARE(deviceTexts(viewer).last(), elsewhere.path());
            QCOMPARE(viewer.selectedDevice, elsewhere.path());
            QCOMPARE(programmeTexts(viewer), QStringList("elsewhere"));
        }
    }

    void open_warns_withoutArchive()
    {
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("one")}));
        const QTemporaryDir elsewhere;
        Viewer &viewer = fixture.open();
        QString title, text;
        QMessageBox::StandardButtons buttons;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        WhenModal<QFileDialog> chooser([&](QFileDialog &dialog) { chooseByKeys(dialog, elsewhere.path()); });
        WhenModal<QMessageBox> warning([&](QMessageBox &box) {
            title = box.windowTitle();
            text = box.text();
            buttons = box.standardButtons();
            icon = box.icon();
            QCOMPARE(box.parentWidget(), static_cast<QWidget *>(&viewer));
            QTest::keyClick(&box, Qt::Key_Return);
        });
        viewer.ui.actionOpen_Directory->trigger();
        QVERIFY(warning.wasSeen());
        QCOMPARE(title, QString("Incorrect Directory"));
        QCOMPARE(text, QString("The directory does not contain a recordings archive\n"));
        QCOMPARE(buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(icon, QMessageBox::Warning);
        QVERIFY(viewer.openedDirectories.isEmpty());
        QCOMPARE(deviceTexts(viewer), QStringList(fixture.path("disk")));
        QCOMPARE(viewer.selectedDevice, fixture.path("disk"));
        QCOMPARE(programmeTexts(viewer), QStringList("one"));
    }

    void open_changesNothing_whenCancelled()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        WhenModal<QFileDialog> chooser([](QFileDialog &dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
        viewer.ui.actionOpen_Directory->trigger();
        QVERIFY(chooser.wasSeen());
        QVERIFY(viewer.openedDirectories.isEmpty());
        QCOMPARE(viewer.selectedDevice, fixture.path("disk"));
    }
};

TEST_CLASS(TestViewerDevices, QApplication)
#include "tst_viewer_devices.moc"
