// A running window follows real disks: they are mounted and ejected, in a mount table of the test's own.

#include "tests/platform/privatemounts.h"
#include "tests/support/viewerfixture.h"

#include <QtTest>

namespace {

constexpr int kPatienceMs = 5000; // a rescan is due a second after the change

QByteArray whyNoMounts;

} // namespace

class tst_ViewerMounts : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (!whyNoMounts.isEmpty())
            QSKIP(qPrintable("This machine allows no mounts here: " + QString::fromLocal8Bit(whyNoMounts)));
    }

    void deviceList_followsADisk_asItComesAndGoes()
    {
        const QTemporaryDir recorder;
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(recorder.path(), {fixture.titled("one")}));
        QVERIFY(QDir().mkpath(fixture.path("RECORDER")));
        Viewer &viewer = fixture.open();
        QCOMPARE(deviceTexts(viewer), QStringList());

        Mount disk = Mount::folderAsDisk(recorder.path(), fixture.path("RECORDER"));
        QVERIFY(disk.isMounted());
        QTRY_COMPARE_WITH_TIMEOUT(deviceTexts(viewer), QStringList(fixture.path("RECORDER")), kPatienceMs);
        QCOMPARE(programmeTexts(viewer), QStringList()); // A rescan loads nothing.

        viewer.selectDevice(viewer.ui.deviceList->topLevelItem(0), 0);
        QCOMPARE(programmeTexts(viewer), QStringList("one"));
        QTRY_VERIFY_WITH_TIMEOUT(!viewer.thumbnailScanRunning, kPatienceMs);
        QVERIFY(disk.unmount()); // Nothing that the window has open keeps it.
        QTRY_COMPARE_WITH_TIMEOUT(deviceTexts(viewer), QStringList(), kPatienceMs);
        QCOMPARE(programmeTexts(viewer), QStringList("one"));
        QCOMPARE(viewer.selectedDevice, QString());
    }

    void twoVolumesOfADisk_makeOneRescan()
    {
        const QTemporaryDir recorder;
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(recorder.path(), {fixture.titled("one")}));
        for (const char *name : {"a", "b"})
            QVERIFY(QDir().mkpath(fixture.path(name)));
        Viewer &viewer = fixture.open();
        QSignalSpy rebuilt(viewer.ui.deviceList->model(), &QAbstractItemModel::modelReset);
        const Mount first = Mount::folderAsDisk(recorder.path(), fixture.path("a"));
        const Mount second = Mount::folderAsDisk(recorder.path(), fixture.path("b"));
        QTRY_COMPARE_WITH_TIMEOUT(deviceTexts(viewer).size(), 2, kPatienceMs);
        QCOMPARE(rebuilt.count(), 1);
    }
};

int main(int argc, char **argv)
{
    whyNoMounts = enterPrivateMounts();
    QApplication application(argc, argv);
    tst_ViewerMounts test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_viewer_mounts.moc"
