// What the window says when there is nothing to see: in empty lists and about pictures.

#include "app/listhints.h"
#include "tests/support/modaldialog.h"
#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <QAccessible>
#include <QDialog>
#include <QHelpEvent>
#include <QToolTip>
#include <QtTest>

namespace {

QString saidOf(QWidget *widget)
{
    QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(widget);
    return interface ? interface->text(QAccessible::Description) : QString("nothing: no interface");
}

bool isPainted(const QAbstractItemView *view)
{
    const QImage image = view->viewport()->grab().toImage();
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) != image.pixel(0, 0))
                return true;
        }
    }
    return false;
}

QString tipOf(QWidget *widget)
{
    QHelpEvent event(QEvent::ToolTip, QPoint(5, 5), widget->mapToGlobal(QPoint(5, 5)));
    QCoreApplication::sendEvent(widget, &event);
    return QToolTip::isVisible() ? QToolTip::text() : QString();
}

void setMountPoint(const QString &place)
{
    ViewerFixture::settings().setValue("Main/mount_point", place);
}

} // namespace

class TestViewerHints : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QToolTip::hideText(); }

    void deviceHint_saysWhereQuorvaleLooks_whileThereIsNoDevice();
    void deviceHint_saysThatThePlaceDoesNotExist();
    void deviceHint_namesTheUsualPlace();
    void deviceHint_saysThatThePlaceIsADiskItself();
    void deviceHint_saysThatNoPlaceIsSet();
    void deviceHint_saysWhenAChangedPlaceCounts();
    void deviceHint_goes_whenADeviceComes();
    void hint_isShownWhole_asATip();
    void programmeHint_saysThatADiskCannotBeRead();
    void programmeHint_saysThatADiskIsEmpty();
    void programmeHint_asksForAClick_onADeviceThatHasCome();
    void pictures_areBeingMade_whileTheScanRuns();
    void pictures_areCounted_onceTheyAreThere();
    void pictures_cannotBeHad_afterTheScan();
    void pictures_wantAnotherClick_whenTheScanWentBySomethingElse();
    void picturesTip_keepsThePath_andHasASecondLine();
};

void TestViewerHints::deviceHint_saysWhereQuorvaleLooks_whileThereIsNoDevice()
{
    ViewerFixture fixture;
    const Viewer &viewer = fixture.open();
    QVERIFY(saidOf(viewer.ui.deviceList).startsWith("No recorder disk in "));
    QVERIFY(saidOf(viewer.ui.deviceList).contains(fixture.path()));
    QVERIFY(isPainted(viewer.ui.deviceList));
    QCOMPARE(viewer.ui.deviceList->topLevelItemCount(), 0);
    QCOMPARE(saidOf(viewer.ui.summaryList), QString()); // One reason is enough.
    QVERIFY(!isPainted(viewer.ui.summaryList));
}

void TestViewerHints::deviceHint_saysThatThePlaceDoesNotExist()
{
    ViewerFixture fixture;
    setMountPoint(fixture.path("nowhere"));
    QVERIFY(saidOf(fixture.open().ui.deviceList).startsWith("There is no directory "));
    QVERIFY(saidOf(fixture.viewer->ui.deviceList).contains(fixture.path("nowhere")));
    QVERIFY(TestVolume::writeFile(fixture.path("file"), "x"));
    setMountPoint(fixture.path("file"));
    QVERIFY(saidOf(fixture.open().ui.deviceList).startsWith("There is no directory "));
}

void TestViewerHints::deviceHint_namesTheUsualPlace()
{
    const QTemporaryDir usual;
    QCOMPARE(quorvale::firstDirectoryOf({"/nonexistent", usual.path(), "/"}), usual.path());
    QCOMPARE(quorvale::firstDirectoryOf({"/nonexistent"}), QString());
    using quorvale::MountPointScan;
    QVERIFY(quorvale::noDeviceText("/nonexistent", MountPointScan::Done, usual.path()).contains(usual.path()));
    QVERIFY(!quorvale::noDeviceText(usual.path(), MountPointScan::Done, "/usual").contains("/usual"));
}

void TestViewerHints::deviceHint_saysThatThePlaceIsADiskItself()
{
    ViewerFixture fixture;
    QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("one")}));
    setMountPoint(fixture.path("disk"));
    const QString said = saidOf(fixture.open().ui.deviceList);
    QVERIFY2(said.contains("is a disk itself"), qPrintable(said));
    QVERIFY(said.contains("set it to " + QString(QChar(0x2066)) + fixture.path() + QChar(0x2069)));
}

void TestViewerHints::deviceHint_saysThatNoPlaceIsSet()
{
    ViewerFixture fixture;
    setMountPoint(QString());
    QVERIFY(saidOf(fixture.open().ui.deviceList).startsWith("No mount point is set."));
}

void TestViewerHints::deviceHint_saysWhenAChangedPlaceCounts()
{
    ViewerFixture fixture;
    QVERIFY(QDir().mkdir(fixture.path("other")));
    Viewer &viewer = fixture.open();
    const WhenModal<QDialog> settings([&](QDialog &dialog) {
        dialog.findChild<QLineEdit *>()->setText(fixture.path("other"));
        dialog.reject();
    });
    viewer.ui.actionPreferences->trigger();
    QVERIFY(settings.wasSeen());
    QVERIFY(saidOf(viewer.ui.deviceList).startsWith("Quorvale will look in "));
    QVERIFY(saidOf(viewer.ui.deviceList).contains(fixture.path("other")));
    viewer.scanDrives();
    QVERIFY(saidOf(viewer.ui.deviceList).startsWith("No recorder disk in "));
}

void TestViewerHints::deviceHint_goes_whenADeviceComes()
{
    ViewerFixture fixture;
    Viewer &viewer = fixture.open();
    QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("one")}));
    viewer.scanDrives();
    QCOMPARE(saidOf(viewer.ui.deviceList), QString());
    QCOMPARE(viewer.ui.deviceList->topLevelItemCount(), 1);
}

void TestViewerHints::hint_isShownWhole_asATip()
{
    ViewerFixture fixture;
    const Viewer &viewer = fixture.open();
    QVERIFY(tipOf(viewer.ui.deviceList->viewport()).contains("No recorder disk in "));
    QCOMPARE(viewer.ui.deviceList->toolTip(), QString());
}

void TestViewerHints::programmeHint_saysThatADiskCannotBeRead()
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
}

void TestViewerHints::programmeHint_saysThatADiskIsEmpty()
{
    ViewerFixture fixture;
    QVERIFY(TestVolume::create(fixture.path("disk"), QByteArray()));
    const Viewer &viewer = fixture.open();
    QVERIFY(saidOf(viewer.ui.summaryList).startsWith("There are no recordings on "));
    QVERIFY(isPainted(viewer.ui.summaryList));
    QCOMPARE(viewer.ui.summaryList->count(), 0);
    QCOMPARE(saidOf(viewer.ui.deviceList), QString());
}

void TestViewerHints::programmeHint_asksForAClick_onADeviceThatHasCome()
{
    ViewerFixture fixture;
    Viewer &viewer = fixture.open();
    QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("one")}));
    viewer.scanDrives();
    QCOMPARE(saidOf(viewer.ui.summaryList), QString("Click a device to list its programmes."));
    viewer.selectDevice(viewer.ui.deviceList->topLevelItem(0), 0);
    QCOMPARE(saidOf(viewer.ui.summaryList), QString());
}

void TestViewerHints::pictures_areBeingMade_whileTheScanRuns()
{
    ViewerFixture fixture;
    Viewer &viewer = fixture.openDisk({fixture.titled("one"), fixture.titled("two")});
    QVERIFY(viewer.thumbnailScanRunning); // until events are handled
    QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("pictures are being made"));
    viewer.ui.summaryList->setCurrentRow(1);
    QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("pictures are being made"));
}

void TestViewerHints::pictures_areCounted_onceTheyAreThere()
{
    ViewerFixture fixture;
    Viewer &viewer = fixture.openDisk({fixture.titled("one"), fixture.titled("two")});
    const auto series = [](int count) { // owned by the window's cache
        QVector<QPixmap *> pictures(5);
        for (int i = 0; i < count; ++i)
            pictures[i] = new QPixmap(16, 9);
        return pictures;
    };
    viewer.SetThumbs(viewer.recordingFile(1), series(1), series(1));
    QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("pictures are being made"));
    viewer.SetThumbs(viewer.recordingFile(0), series(3), series(3));
    QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("3 pictures"));
    viewer.ui.summaryList->setCurrentRow(1);
    QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("1 picture"));
    viewer.ui.thumbnailLabel->ClearThumbs();
}

void TestViewerHints::pictures_cannotBeHad_afterTheScan()
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

void TestViewerHints::pictures_wantAnotherClick_whenTheScanWentBySomethingElse()
{
    ViewerFixture fixture;
    QVERIFY(TestVolume::create(fixture.path("a"), {fixture.titled("one")}));
    QVERIFY(TestVolume::create(fixture.path("b"), {fixture.titled("two")}));
    Viewer &viewer = fixture.open();
    QVERIFY(viewer.thumbnailScanRunning);
    QTreeWidget *devices = viewer.ui.deviceList;
    viewer.selectDevice(devices->topLevelItem(1), 0);
    QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("other pictures are being made: click the device again later"));
    QTRY_VERIFY(!viewer.thumbnailScanRunning);
    QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("click the device again to have pictures made"));
    viewer.selectDevice(devices->topLevelItem(1), 0);
    QCOMPARE(saidOf(viewer.ui.thumbnailLabel), QString("pictures are being made"));
}

void TestViewerHints::picturesTip_keepsThePath_andHasASecondLine()
{
    ViewerFixture fixture;
    const Viewer &viewer = fixture.openDisk({fixture.titled("one")});
    QCOMPARE(viewer.ui.thumbnailLabel->toolTip(), viewer.recordingFile(0));
    QTextDocument tip;
    tip.setHtml(tipOf(viewer.ui.thumbnailLabel));
    const QStringList lines = tip.toPlainText().remove(QChar(0x2066)).remove(QChar(0x2069)).split('\n');
    QCOMPARE(lines, QStringList({viewer.recordingFile(0), "pictures are being made"}));
}

TEST_CLASS(TestViewerHints, QApplication)
#include "tst_viewer_hints.moc"
