// What the window says when there is nothing to see: in empty lists and about pictures.

#include "app/emptylisthint.h"
#include "app/listhints.h"
#include "tests/support/modaldialog.h"
#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <QAccessible>
#include <QDialog>
#include <QHelpEvent>
#include <QProcess>
#include <QToolTip>

namespace {

QString saidOf(QWidget *widget)
{
    QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(widget);
    return interface ? interface->text(QAccessible::Description) : QString("nothing: no interface");
}

bool isPainted(const QAbstractItemView *view)
{
    const QImage image = view->viewport()->grab().toImage();
    QImage blank = image;
    blank.fill(image.pixelColor(0, 0));
    return image != blank;
}

QString tipOf(QWidget *widget)
{
    QHelpEvent event(QEvent::ToolTip, QPoint(5, 5), widget->mapToGlobal(QPoint(5, 5)));
    QCoreApplication::sendEvent(widget, &event);
    return QToolTip::isVisible() ? QToolTip::text() : QString();
}

int linesOnScreen() // of the tip
{
    for (const QWidget *window : QApplication::topLevelWidgets()) {
        if (window->inherits("QTipLabel") && window->isVisible())
            return window->height() / QFontMetrics(window->font()).lineSpacing();
    }
    return 0;
}

QVector<QPixmap *> seriesWith(int pictures) // owned by the window's cache
{
    QVector<QPixmap *> series(5);
    for (int i = 0; i < pictures; ++i)
        series[i] = new QPixmap(16, 9);
    return series;
}

void setMountPoint(ViewerFixture &fixture, const QString &place)
{
    fixture.close(); // which saves the former one
    ViewerFixture::settings().setValue("Main/mount_point", place);
}

Viewer &openTwoDisks(ViewerFixture &fixture)
{
    for (const char *disk : {"a", "b"})
        [&] { QVERIFY(TestVolume::create(fixture.path(disk), {ViewerFixture::titled("one")})); }();
    return fixture.open();
}

const QString kLater = QStringLiteral("no pictures yet: click its device again later");

} // namespace

class TestViewerHints : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QToolTip::hideText(); }

    void deviceHint_saysWhereQuorvaleLooks_whileThereIsNoDevice()
    {
        ViewerFixture fixture;
        const Viewer &viewer = fixture.open();
        QVERIFY(saidOf(viewer.ui.deviceList).startsWith("No recorder disk in "));
        QVERIFY(saidOf(viewer.ui.deviceList).contains(fixture.path()));
        QVERIFY(isPainted(viewer.ui.deviceList));
        QVERIFY(tipOf(viewer.ui.deviceList->viewport()).contains("No recorder disk in ")); // whole
        QCOMPARE(viewer.ui.deviceList->toolTip(), QString());
        QCOMPARE(viewer.ui.deviceList->topLevelItemCount(), 0);
        QCOMPARE(saidOf(viewer.ui.summaryList), QString()); // One reason is enough.
        QVERIFY(!isPainted(viewer.ui.summaryList));
    }

    void deviceHint_saysThatThePlaceDoesNotExist_orIsNotSet()
    {
        ViewerFixture fixture;
        setMountPoint(fixture, fixture.path("nowhere"));
        QVERIFY(saidOf(fixture.open().ui.deviceList).startsWith("There is no directory "));
        QVERIFY(saidOf(fixture.viewer->ui.deviceList).contains(fixture.path("nowhere")));
        QVERIFY(TestVolume::writeFile(fixture.path("file"), "x"));
        setMountPoint(fixture, fixture.path("file"));
        QVERIFY(saidOf(fixture.open().ui.deviceList).startsWith("There is no directory "));
        setMountPoint(fixture, '/' + QString("no path is this long").repeated(10000));
        QCOMPARE(saidOf(fixture.open().ui.deviceList).size(), 5000);
        setMountPoint(fixture, QString());
        QVERIFY(saidOf(fixture.open().ui.deviceList).startsWith("No mount point is set."));
    }

    void deviceHint_namesTheUsualPlace()
    {
        const QTemporaryDir usual;
        QCOMPARE(quorvale::firstDirectoryOf({"/nonexistent", usual.path(), "/"}), usual.path());
        QCOMPARE(quorvale::firstDirectoryOf({"/nonexistent"}), QString());
        using quorvale::MountPointScan;
        QVERIFY(quorvale::noDeviceText("/nonexistent", MountPointScan::Done, usual.path()).contains(usual.path()));
        QVERIFY(!quorvale::noDeviceText(usual.path(), MountPointScan::Done, "/usual").contains("/usual"));
    }

    void usualPlaces_areNamedAfterTheUser_notAfterTheHomeFolder()
    {
#ifdef Q_OS_MACOS
        QSKIP("All users share one place here.");
#endif
        QProcess id;
        id.start("id", {"-un"});
        QVERIFY(id.waitForFinished());
        const QString user = QString::fromLocal8Bit(id.readAllStandardOutput()).trimmed();
        const QByteArray home = qgetenv("HOME");
        qputenv("HOME", "/nonexistent/another");
        const QStringList places = quorvale::usualMountPoints();
        qputenv("HOME", home);
        QCOMPARE(places, QStringList({"/media/" + user, "/run/media/" + user}));
    }

    void deviceHint_saysThatThePlaceIsADiskItself()
    {
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("one")}));
        setMountPoint(fixture, fixture.path("disk"));
        const QString said = saidOf(fixture.open().ui.deviceList);
        QVERIFY2(said.contains("is a disk itself"), qPrintable(said));
        const QString around = "set it to " + QString(QChar(0x2066)) + fixture.path() + QChar(0x2069);
        QVERIFY(said.contains(around));
        for (const char *spelling : {"disk/", "disk//", "disk/."}) {
            setMountPoint(fixture, fixture.path() + '/' + spelling);
            QVERIFY2(saidOf(fixture.open().ui.deviceList).contains(around), spelling);
        }
    }

    void deviceHint_saysWhenAChangedPlaceCounts()
    {
        ViewerFixture fixture;
        QVERIFY(QDir().mkdir(fixture.path("other")));
        Viewer &viewer = fixture.open();
        for (const QString &place : {fixture.path(), fixture.path("other")}) {
            const WhenModal<QDialog> settings([&](QDialog &dialog) {
                dialog.findChild<QLineEdit *>()->setText(place);
                dialog.reject();
            });
            viewer.ui.actionPreferences->trigger();
            QVERIFY(settings.wasSeen());
            QCOMPARE(saidOf(viewer.ui.deviceList).startsWith("Quorvale will look in "), place != fixture.path());
        }
        QVERIFY(saidOf(viewer.ui.deviceList).contains(fixture.path("other")));
        viewer.scanDrives();
        QVERIFY(saidOf(viewer.ui.deviceList).startsWith("No recorder disk in "));
        // What has just been typed may not answer, so it is not looked at.
        using quorvale::MountPointScan;
        QCOMPARE(
            quorvale::noDeviceText("/nonexistent", MountPointScan::Due, {}),
            quorvale::noDeviceText(fixture.path(), MountPointScan::Due, {}).replace(fixture.path(), "/nonexistent"));
    }

    void programmeHint_saysThatADiskCannotBeRead()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        viewer.ui.summaryList->clear(); // as at a start with such a disk
        QVERIFY(QDir(fixture.path("disk")).removeRecursively());
        viewer.selectDevice(viewer.ui.deviceList->topLevelItem(0), 0);
        QVERIFY(saidOf(viewer.ui.summaryList).contains("cannot be read"));
        QVERIFY(saidOf(viewer.ui.summaryList).contains(fixture.path("disk")));
        QVERIFY(isPainted(viewer.ui.summaryList));
        QCOMPARE(viewer.ui.summaryList->count(), 0);
        QVERIFY(TestVolume::create(fixture.path("disk"), QByteArray()) && QDir().mkdir(fixture.path("unrelated")));
        viewer.scanDrives(); // It is listed still.
        QVERIFY(saidOf(viewer.ui.summaryList).contains("cannot be read"));
    }

    void programmeHint_saysThatADiskIsEmpty()
    {
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(fixture.path("disk"), QByteArray()));
        Viewer &viewer = fixture.open();
        QVERIFY(TestVolume::create(fixture.path("unrelated"), {fixture.titled("one")}));
        viewer.scanDrives();
        QVERIFY(saidOf(viewer.ui.summaryList).startsWith("There are no recordings on "));
        QVERIFY(isPainted(viewer.ui.summaryList));
        QCOMPARE(viewer.ui.summaryList->count(), 0);
        QCOMPARE(saidOf(viewer.ui.deviceList), QString());
    }

    void programmeHint_asksForAClick_onADeviceThatHasCome()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("one")}));
        viewer.scanDrives();
        QCOMPARE(saidOf(viewer.ui.deviceList), QString());
        QCOMPARE(viewer.ui.deviceList->topLevelItemCount(), 1);
        QCOMPARE(saidOf(viewer.ui.summaryList), QString("Click a device to list its programmes."));
        viewer.selectDevice(viewer.ui.deviceList->topLevelItem(0), 0);
        QCOMPARE(saidOf(viewer.ui.summaryList), QString());
    }

    void pictures_areBeingMade_andCountedOnceTheyAreThere()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one"), fixture.titled("two")});
        QVERIFY(viewer.thumbnailScanRunning); // until events are handled
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("pictures are being made"));
        viewer.ui.summaryList->setCurrentRow(1);
        viewer.SetThumbs(viewer.recordingFile(0), seriesWith(2), seriesWith(3));
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("pictures are being made"));
        viewer.SetThumbs(viewer.recordingFile(1), seriesWith(1), seriesWith(1));
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("1 picture"));
        viewer.ui.summaryList->setCurrentRow(0);
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("3 pictures"));
        viewer.ui.thumbnailLabel->ClearThumbs();
    }

    void pictures_cannotBeHad_afterTheScan()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one"), fixture.titled("two")});
        QTRY_VERIFY(!viewer.thumbnailScanRunning);
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("no pictures can be had"));
        QVERIFY(viewer.ui.thumbnailLabel->busy);
        viewer.SetThumbs(viewer.recordingFile(1), {}, {});
        viewer.ui.summaryList->setCurrentRow(1);
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("no pictures can be had"));
    }

    void pictures_mayComeLater_afterAScanOfAnotherDevice()
    {
        ViewerFixture fixture;
        Viewer &viewer = openTwoDisks(fixture);
        QVERIFY(viewer.thumbnailScanRunning);
        QTreeWidget *devices = viewer.ui.deviceList;
        viewer.selectDevice(devices->topLevelItem(1), 0);
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), kLater);
        QTRY_VERIFY(!viewer.thumbnailScanRunning);
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), kLater);
        viewer.selectDevice(devices->topLevelItem(1), 0);
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("pictures are being made"));
        viewer.selectDevice(devices->topLevelItem(0), 0); // whose pictures were looked for in vain, by a scan before
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), kLater);
    }

    void pictures_areBeingMade_stillForADeviceThatIsClickedAgain()
    {
        ViewerFixture fixture;
        const RecordBytes records[] = {fixture.titled("one"), fixture.titled("two"), fixture.titled("three")};
        QVERIFY(TestVolume::create(fixture.path("a"), {records[0], records[1], records[2]}));
        QVERIFY(TestVolume::create(fixture.path("b"), {records[0]}));
        Viewer &viewer = fixture.open();
        QTreeWidget *devices = viewer.ui.deviceList;
        QTreeWidgetItem *const first = devices->topLevelItem(0);
        if (!first->text(0).endsWith("/a"))
            viewer.selectDevice(devices->topLevelItem(1), 0); // Its scan has not come by anything, and is not replaced.
        QTRY_VERIFY(!viewer.thumbnailScanRunning);
        QTreeWidgetItem *const large = devices->topLevelItem(first->text(0).endsWith("/a") ? 0 : 1);
        QTreeWidgetItem *const small = devices->topLevelItem(first->text(0).endsWith("/a") ? 1 : 0);
        viewer.selectDevice(large, 0);
        QVERIFY(viewer.thumbnailScanRunning);
        viewer.SetThumbs(viewer.recordingFile(1), seriesWith(1), seriesWith(1)); // The first has had its turn as well.
        viewer.selectDevice(small, 0);                                           // What has come is freed.
        viewer.selectDevice(large, 0);
        QStringList said;
        for (int row = 0; row < 3; ++row) {
            viewer.ui.summaryList->setCurrentRow(row);
            said.append(saidOf(viewer.ui.thumbnailLabel));
        }
        QCOMPARE(said, QStringList({"no pictures can be had", kLater, "pictures are being made"}));
    }

    void pictures_areStillDescribed_whenAnotherDiskHasNone_data()
    {
        QTest::addColumn<bool>("empty");
        QTest::newRow("a disk without recordings") << true;
        QTest::newRow("a disk that cannot be read") << false;
    }
    void pictures_areStillDescribed_whenAnotherDiskHasNone()
    {
        QFETCH(bool, empty);
        ViewerFixture fixture;
        Viewer &viewer = openTwoDisks(fixture);
        const QString file = viewer.recordingFile(0);
        const QString other = viewer.ui.deviceList->topLevelItem(1)->text(0);
        QVERIFY(QDir(other).removeRecursively());
        QVERIFY(!empty || TestVolume::create(other, QByteArray()));
        viewer.selectDevice(viewer.ui.deviceList->topLevelItem(1), 0);
        QCOMPARE(viewer.ui.thumbnailLabel->toolTip(), file);
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("pictures are being made"));
        viewer.SetThumbs(file, seriesWith(1), seriesWith(1)); // which are not shown
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), kLater);
    }

    void pictures_mayComeLater_onceTheDiskHasComeBack()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        const auto saidAfterRescan = [&] {
            viewer.scanDrives();
            return saidOf(viewer.ui.thumbnailLabel);
        };
        QTRY_VERIFY(!viewer.thumbnailScanRunning);
        QVERIFY(TestVolume::create(fixture.path("other"), {fixture.titled("two")}));
        QCOMPARE(saidAfterRescan(), QString("no pictures can be had"));
        QVERIFY(QFile::rename(fixture.path("disk"), fixture.path("gone")) && QDir(fixture.path("gone/DVR")).exists());
        QCOMPARE(saidAfterRescan(), QString("no pictures can be had"));
        viewer.getThumbnails(); // Reads fail while it is gone,
        QTRY_VERIFY(!viewer.thumbnailScanRunning);
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("no pictures can be had"));
        QVERIFY(QFile::rename(fixture.path("gone"), fixture.path("disk")));
        QCOMPARE(saidAfterRescan(), kLater); // and no more when it has come back.
    }

    void pictures_cannotBeHad_whileTheDiskOfAnotherScanIsGone()
    {
        ViewerFixture fixture;
        Viewer &viewer = openTwoDisks(fixture);
        QTreeWidget *devices = viewer.ui.deviceList;
        viewer.selectDevice(devices->topLevelItem(1), 0); // No scan starts for it.
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), kLater);
        QVERIFY(QDir(viewer.selectedDevice).removeRecursively());
        viewer.scanDrives();
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("no pictures can be had"));
    }

    // What a later scan finds is shown as it comes, and no more once another row was chosen: the first series counts.
    void pictures_cannotBeHad_afterAnEmptySeries()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one"), fixture.titled("two")});
        QTRY_VERIFY(!viewer.thumbnailScanRunning);
        viewer.SetThumbs(viewer.recordingFile(0), {}, {});
        viewer.selectDevice(viewer.ui.deviceList->topLevelItem(0), 0);
        QVERIFY(viewer.thumbnailScanRunning && !viewer.ui.thumbnailLabel->busy);
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("no pictures can be had"));
        viewer.SetThumbs(viewer.recordingFile(0), seriesWith(5), seriesWith(5));
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("5 pictures"));
        viewer.ui.summaryList->setCurrentRow(1);
        viewer.ui.summaryList->setCurrentRow(0);
        QVERIFY(viewer.ui.thumbnailLabel->thumbs1x.isEmpty());
        QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("no pictures can be had"));
    }

    void hint_isHeard_onlyWhileItIsShown()
    {
        QListWidget list;
        auto *hint = new quorvale::EmptyListHint(&list);
        list.addItem("row");
        hint->setText("nothing here");
        QCOMPARE(saidOf(&list), QString());
        list.clear();
        QCOMPARE(saidOf(&list), QString("nothing here"));
        list.addItem("row");
        QCOMPARE(saidOf(&list), QString());
        delete list.takeItem(0);
        QCOMPARE(saidOf(&list), QString("nothing here"));
    }

    void picturesTip_keepsThePath_andHasASecondLine()
    {
        ViewerFixture fixture;
        const QByteArray wide = QByteArray("wider than the screen ").repeated(12);
        const Viewer &viewer = fixture.openDisk({fixture.titled("one"), fixture.titled(wide)});
        QCOMPARE(viewer.ui.thumbnailLabel->toolTip(), viewer.recordingFile(0));
        QTextDocument tip;
        tip.setHtml(tipOf(viewer.ui.thumbnailLabel));
        const QStringList lines = tip.toPlainText().remove(QChar(0x2066)).remove(QChar(0x2069)).split('\n');
        QCOMPARE(lines, QStringList({viewer.recordingFile(0), "pictures are being made"}));
        QCOMPARE(linesOnScreen(), 2);
        viewer.ui.summaryList->setCurrentRow(1); // It is shown whole.
        QVERIFY(!tipOf(viewer.ui.thumbnailLabel).isEmpty());
        QVERIFY(linesOnScreen() > 2);
    }
};

TEST_CLASS(TestViewerHints, QApplication)
#include "tst_viewer_hints.moc"
