// A running window follows real disks, which are mounted and ejected in a mount table of the test's own.

#include "tests/platform/privatemounts.h"
#include "tests/support/viewerfixture.h"
#include "thumbs/scanthreads.h"
#include "tools/testpicture/numberedstream.h"

#include <QtTest>

#include <memory>

using namespace quorvale;

namespace {

constexpr int kPatienceMs = 5000; // a rescan is due a second after the change
constexpr int kScanMs = 60000;

QByteArray whyNoMounts;

} // namespace

class TestViewerMounts : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        if (!whyNoMounts.isEmpty())
            QSKIP(whyNoMounts.constData());
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

    void scan_ends_whenItsDiskIsPulledOut()
    {
        constexpr int kRecordings = 1000;
        ViewerFixture fixture;
        QVERIFY(QDir().mkpath(fixture.path("RECORDER")));
        std::unique_ptr<Mount> disk(new Mount(Mount::disk(fixture.path("RECORDER"))));
        QVERIFY(disk->isMounted());
        QList<RecordBytes> records;
        for (int i = 0; i < kRecordings; ++i)
            records.append(fixture.titled(QByteArray::number(i)));
        QVERIFY(TestVolume::create(fixture.path("RECORDER"), records));
        NumberedStream stream;
        stream.path = fixture.path("RECORDER/DVR/RECS/0.ts").toStdString();
        stream.picture = {160, 120, ChromaFormat::Yuv420, false};
        stream.frames = 320;
        stream.encoderArguments = {"-c:v", "mpeg2video", "-q:v", "8", "-f", "mpegts"};
        const ProcessEnd encoded = encodeNumberedStream(stream);
        QVERIFY2(encoded.ok(), encoded.errors.c_str());
        for (int i = 1; i < kRecordings; ++i)
            QVERIFY(QFile::link("0.ts", fixture.path(QStringLiteral("RECORDER/DVR/RECS/%1.ts").arg(i))));

        Viewer &viewer = fixture.open();
        const MultiFrameThumb &thumb = *viewer.ui.thumbnailLabel;
        QTRY_VERIFY_WITH_TIMEOUT(!viewer.thumbnailCache.isEmpty(), kPatienceMs);
        disk.reset(); // The file in hand can still be read; no name leads to the others any more.
        QTRY_COMPARE_WITH_TIMEOUT(deviceTexts(viewer), QStringList(), kPatienceMs);
        QTRY_VERIFY_WITH_TIMEOUT(!viewer.thumbnailScanRunning, kScanMs);
        const auto scanned = int(viewer.thumbnailCache.size());
        QVERIFY2(scanned < kRecordings, qPrintable(QString::number(scanned)));

        // What was on screen stays; what was scanned is shown, what was not keeps its ring.
        QCOMPARE(viewer.ui.summaryList->count(), kRecordings);
        QCOMPARE(thumb.thumbs1x.size(), 2);
        viewer.ui.summaryList->setCurrentRow(kRecordings - 1);
        QVERIFY(thumb.busy);
        viewer.ui.summaryList->setCurrentRow(scanned - 1);
        QVERIFY(!thumb.busy);
        QCOMPARE(thumb.thumbs1x.size(), 2);
    }

    void cleanup() { QVERIFY(ScanThreads::instance().end(kScanMs)); }
};

int main(int argc, char **argv)
{
    whyNoMounts = enterPrivateMounts();
    QApplication application(argc, argv);
    TestViewerMounts test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_viewer_mounts.moc"
