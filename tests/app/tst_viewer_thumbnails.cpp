// The window and its thumbnails: one scan at a time, a cache by path, pictures of the selected recording.

#include "tests/support/receivers.h"
#include "tests/support/seenqueues.h"
#include "tests/support/viewerfixture.h"

#include "thumbs/scanthreads.h"
#include "thumbs/thumbnailscanner.h"
#include "tools/testpicture/numberedstream.h"

#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace quorvale;

namespace {

constexpr int kScanMs = 60000; // far more than a scan takes

QVector<QPixmap *> series(int count)
{
    QVector<QPixmap *> pixmaps;
    for (int i = 0; i < count; ++i)
        pixmaps.append(new QPixmap(16, 12)); // owned by the cache
    return pixmaps;
}

QString device(const Viewer &viewer, const QString &name)
{
    for (const QString &path : deviceTexts(viewer)) {
        if (path.endsWith('/' + name))
            return path;
    }
    return {};
}

void click(Viewer &viewer, const QString &path)
{
    for (int i = 0; i < viewer.ui.deviceList->topLevelItemCount(); ++i) {
        if (viewer.ui.deviceList->topLevelItem(i)->text(0) == path)
            viewer.selectDevice(viewer.ui.deviceList->topLevelItem(i), 0);
    }
}

} // namespace

class TestViewerThumbnails : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        NumberedStream stream;
        m_recording = m_directory.filePath("recording.ts");
        stream.path = m_recording.toStdString();
        stream.picture = {160, 120, ChromaFormat::Yuv420, false};
        stream.frames = 320; // two pictures: 150 and 300
        stream.encoderArguments = {"-c:v", "mpeg2video", "-q:v", "8", "-f", "mpegts"};
        const ProcessEnd encoded = encodeNumberedStream(stream);
        QVERIFY2(encoded.ok(), encoded.errors.c_str());
    }

    void cleanup() { QVERIFY(ScanThreads::instance().end(kScanMs)); }

    void load_startsOneScan_ofEveryProgramme()
    {
        ViewerFixture fixture;
        createVolume(fixture, "disk", {"b", "a"});
        const Viewer &viewer = fixture.open();
        QVERIFY(viewer.thumbnailScanRunning);
        QVERIFY(viewer.scanThread->isRunning());
        QCOMPARE(viewer.scanThread->objectName(), QString("Quorvale-ThumbnailScanner"));
        QCOMPARE(viewer.scanThread->priority(), QThread::InheritPriority);
        QVERIFY(!viewer.scanThread->parent());
        QTRY_VERIFY_WITH_TIMEOUT(!viewer.thumbnailScanRunning, kScanMs);
        QCOMPARE(viewer.thumbnailCache.size(), 2);
        QCOMPARE(viewer.thumbnailCache.at(0).path, fixture.path("disk/DVR/RECS/b.ts"));
        QCOMPARE(viewer.thumbnailCache.at(1).path, fixture.path("disk/DVR/RECS/a.ts"));
    }

    void scan_hasFiveConnections()
    {
        // waitingopen.cpp has a part in this test: the scanner waits until somebody writes to the pipe.
        ViewerFixture fixture;
        createVolume(fixture, "disk", {"a"});
        const QByteArray pipe = QFile::encodeName(fixture.path("disk/DVR/RECS/a.ts"));
        QVERIFY(::unlink(pipe.constData()) == 0 && ::mkfifo(pipe.constData(), 0600) == 0);
        const Viewer &viewer = fixture.open();
        QCOMPARE(receiversOf(*viewer.scanThread), (QMap<QByteArray, int>{{"started", 1}, {"finished", 1}}));
        QCOMPARE(receiversOf(*viewer.scanner), (QMap<QByteArray, int>{{"gotThumbs", 1}, {"finished", 2}}));
        QFile writer(QFile::decodeName(pipe));
        QVERIFY(writer.open(QIODevice::WriteOnly));
        writer.close();
        QTRY_VERIFY_WITH_TIMEOUT(!viewer.thumbnailScanRunning, kScanMs);
    }

    void load_startsNoScan_withoutProgrammes()
    {
        ViewerFixture fixture;
        createVolume(fixture, "disk", {});
        const Viewer &viewer = fixture.open();
        QVERIFY(!viewer.thumbnailScanRunning);
        QVERIFY(!viewer.scanThread);
        QVERIFY(!viewer.scanner);
    }

    void getThumbnails_scansAlso_anEmptyList()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        viewer.getThumbnails();
        QVERIFY(viewer.thumbnailScanRunning);
        QTRY_VERIFY(!viewer.thumbnailScanRunning);
        QVERIFY(viewer.thumbnailCache.isEmpty());
    }

    void getThumbnails_doesNothing_whileAScanRuns()
    {
        ViewerFixture fixture;
        createVolume(fixture, "disk", {"a"});
        Viewer &viewer = fixture.open();
        const QThread *thread = viewer.scanThread;
        viewer.getThumbnails();
        QCOMPARE(viewer.scanThread, thread);
        QTRY_VERIFY_WITH_TIMEOUT(!viewer.thumbnailScanRunning, kScanMs);
        QCOMPARE(viewer.thumbnailCache.size(), 1);
    }

    void scan_bringsPictures_toTheSelectedProgrammeAndTheCache()
    {
        ViewerFixture fixture;
        createVolume(fixture, "disk", {"a", "b", "c"});
        Viewer &viewer = fixture.open();
        const MultiFrameThumb &thumb = *viewer.ui.thumbnailLabel;
        QVERIFY(thumb.busy);
        QTRY_VERIFY_WITH_TIMEOUT(!thumb.busy, kScanMs);
        QCOMPARE(thumb.thumbs1x, viewer.thumbnailCache.at(0).x1);
        QCOMPARE(thumb.thumbs1x.size(), 2);
        QCOMPARE(thumb.thumbs2x.size(), 2);
        QTRY_COMPARE_WITH_TIMEOUT(viewer.thumbnailCache.size(), 3, kScanMs);
        QCOMPARE(thumb.thumbs1x, viewer.thumbnailCache.at(0).x1); // The others changed nothing on screen.
        viewer.ui.summaryList->setCurrentRow(1);
        QVERIFY(!thumb.busy);
        QCOMPARE(thumb.thumbs1x, viewer.thumbnailCache.at(1).x1);
    }

    void scan_leavesTheRing_forRecordingsThatCannotBeOpened()
    {
        ViewerFixture fixture;
        createVolume(fixture, "disk", {"a", "b"});
        QVERIFY(QFile::remove(fixture.path("disk/DVR/RECS/a.ts")));
        Viewer &viewer = fixture.open();
        QTRY_VERIFY_WITH_TIMEOUT(!viewer.thumbnailScanRunning, kScanMs);
        QCOMPARE(viewer.thumbnailCache.size(), 1);
        QVERIFY(viewer.ui.thumbnailLabel->busy);
        viewer.chooseProgramme(1);
        QVERIFY(!viewer.ui.thumbnailLabel->busy);
    }

    void series_isCached_withoutChangingTheDisplay_whenAnotherIsSelected()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        viewer.programmes.resize(2);
        viewer.programmes[0].fileName = "a";
        viewer.programmes[1].fileName = "b";
        viewer.devicePath = "/d";
        const MultiFrameThumb &thumb = *viewer.ui.thumbnailLabel;

        viewer.SetThumbs("/d/DVR/RECS/a.ts", series(1), series(1)); // Nothing is selected.
        QVERIFY(thumb.thumbs1x.isEmpty());
        viewer.chooseProgramme(1);
        viewer.SetThumbs("/d/DVR/RECS/B.ts", series(1), series(1));
        viewer.SetThumbs("/other/DVR/RECS/b.ts", series(1), series(1));
        QVERIFY(thumb.busy);
        QVERIFY(thumb.thumbs1x.isEmpty());
        viewer.SetThumbs("/d/DVR/RECS/b.ts", series(2), series(2));
        QVERIFY(!thumb.busy);
        QCOMPARE(thumb.thumbs1x, viewer.thumbnailCache.last().x1);
        QCOMPARE(viewer.thumbnailCache.size(), 4);
    }

    void series_isCachedAgain_andTheFirstIsShown_afterAReload()
    {
        ViewerFixture fixture;
        createVolume(fixture, "disk", {"a"});
        Viewer &viewer = fixture.open();
        QTRY_VERIFY_WITH_TIMEOUT(!viewer.thumbnailScanRunning, kScanMs);
        click(viewer, fixture.path("disk"));
        QVERIFY(viewer.thumbnailScanRunning);
        QTRY_VERIFY_WITH_TIMEOUT(!viewer.thumbnailScanRunning, kScanMs);
        QCOMPARE(viewer.thumbnailCache.size(), 2);
        QCOMPARE(viewer.thumbnailCache.at(0).path, viewer.thumbnailCache.at(1).path);
        viewer.chooseProgramme(0);
        QCOMPARE(viewer.ui.thumbnailLabel->thumbs1x, viewer.thumbnailCache.at(0).x1);
    }

    void series_mayBeEmpty()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        viewer.programmes.resize(1);
        viewer.devicePath = "/d";
        viewer.chooseProgramme(0);
        viewer.SetThumbs(viewer.recordingFile(0), {}, {});
        QCOMPARE(viewer.thumbnailCache.size(), 1);
        QVERIFY(!viewer.ui.thumbnailLabel->busy);
        viewer.grab();
        viewer.chooseProgramme(0);
        QVERIFY(!viewer.ui.thumbnailLabel->busy);
        viewer.grab();
    }

    void click_startsNoScan_whileTheOldOneRuns()
    {
        ViewerFixture fixture;
        createVolume(fixture, "one", {"a", "b", "c", "d"});
        createVolume(fixture, "two", {"x"});
        Viewer &viewer = fixture.open();
        const QString shown = viewer.selectedDevice;
        const QString other = device(viewer, shown.endsWith("/one") ? "two" : "one");
        const QThread *thread = viewer.scanThread;
        click(viewer, other);
        QCOMPARE(viewer.selectedDevice, other);
        QCOMPARE(viewer.scanThread, thread);
        QVERIFY(viewer.ui.thumbnailLabel->busy);
        QTRY_VERIFY_WITH_TIMEOUT(!viewer.thumbnailScanRunning, kScanMs);
        // Series that still arrived belong to the device shown before, and match no recording that is listed now.
        for (const ThumbnailEntry &entry : viewer.thumbnailCache)
            QVERIFY(entry.path.startsWith(shown));
        QVERIFY(viewer.ui.thumbnailLabel->busy);
        click(viewer, other);
        QVERIFY(viewer.thumbnailScanRunning);
        QVERIFY(viewer.scanThread != thread);
        QTRY_VERIFY_WITH_TIMEOUT(!viewer.ui.thumbnailLabel->busy, kScanMs);
    }

    void click_freesTheCache_andLateSeriesOfTheOldDeviceAreStillKept()
    {
        constexpr int kRecordings = 20; // The scan cannot be over when its first series has arrived.
        ViewerFixture fixture;
        QStringList names;
        for (int i = 0; i < kRecordings; ++i)
            names.append(QString::number(i));
        createVolume(fixture, "one", names);
        createVolume(fixture, "two", names);
        Viewer &viewer = fixture.open();
        const MultiFrameThumb &thumb = *viewer.ui.thumbnailLabel;
        const QString shown = viewer.selectedDevice;
        QTRY_VERIFY_WITH_TIMEOUT(!thumb.busy, kScanMs);
        QVERIFY(viewer.thumbnailScanRunning);
        click(viewer, device(viewer, shown.endsWith("/one") ? "two" : "one"));
        QVERIFY(viewer.thumbnailCache.isEmpty());
        QVERIFY(thumb.busy && thumb.thumbs1x.isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(!viewer.thumbnailScanRunning, kScanMs);
        QVERIFY(!viewer.thumbnailCache.isEmpty() && viewer.thumbnailCache.size() < kRecordings);
        for (const ThumbnailEntry &entry : std::as_const(viewer.thumbnailCache))
            QVERIFY(entry.path.startsWith(shown + '/'));
        QVERIFY(thumb.busy && thumb.thumbs1x.isEmpty());
    }

    void scanDone_leavesItsThread_idle()
    {
        ViewerFixture fixture;
        createVolume(fixture, "disk", {"a"});
        const Viewer &viewer = fixture.open();
        const QPointer<QThread> thread = viewer.scanThread;
        QTRY_VERIFY_WITH_TIMEOUT(!viewer.thumbnailScanRunning, kScanMs);
        QVERIFY(thread && thread->isRunning());
    }

    void window_canClose_inTheMiddleOfAScan()
    {
        ViewerFixture fixture;
        QStringList names;
        for (int i = 0; i < 12; ++i)
            names.append(QString::number(i));
        createVolume(fixture, "disk", names);
        const Viewer &viewer = fixture.open();
        const QPointer<QThread> thread = viewer.scanThread;
        QTRY_VERIFY_WITH_TIMEOUT(!viewer.thumbnailCache.isEmpty(), kScanMs);
        fixture.close();
        QVERIFY(thread && thread->isRunning());        // The window does not stop it,
        QVERIFY(ScanThreads::instance().end(kScanMs)); // the program does.
        QVERIFY(!thread);
    }

private:
    // A volume whose recordings are all the same real one.
    void createVolume(const ViewerFixture &fixture, const QString &name, const QStringList &recordings)
    {
        QList<RecordBytes> records;
        for (const QString &recording : recordings)
            records.append(fixture.titled(recording.toUtf8()));
        QVERIFY(TestVolume::create(fixture.path(name), records));
        for (const QString &recording : recordings)
            QVERIFY(QFile::link(m_recording, fixture.path(name + "/DVR/RECS/" + recording + ".ts")));
    }

    QTemporaryDir m_directory;
    QString m_recording;
};

SEEN_QUEUES_TEST_MAIN(TestViewerThumbnails)
#include "tst_viewer_thumbnails.moc"
