// The window on a disk that fails, hangs or disappears. Counts the main thread's calls: where it asks nothing of the
// disk, the disk cannot stop the window.

#include "tests/support/faultydisk.h"
#include "tests/support/teststreams.h"
#include "tests/support/viewerfixture.h"
#include "thumbs/scanthreads.h"

#include <QHelpEvent>
#include <QToolTip>
#include <QtTest>

#include <atomic>
#include <cerrno>
#include <cstring>

#include <sys/stat.h>

using namespace quorvale;

using faultydisk::Call;
using faultydisk::Counts;
using faultydisk::Watch;
using faultydisk::What;

namespace {

constexpr int kPatienceMs = 60000; // far more than anything here takes
constexpr int kMany = 10000;

int failedWithoutADisk(const Call &)
{
    return ENODEV;
}

} // namespace

class TestDyingDisk : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(work.isValid());
        recording =
            readFile(makeStream(work.path(), {"a.ts", {"-c:v", "mpeg2video", "-q:v", "20", "-f", "mpegts"}, 160}));
        QVERIFY(!recording.isEmpty());
    }

    void cleanup() { QVERIFY(ScanThreads::instance().end(kPatienceMs)); }

    void selection_asksForSizesOnly_inAListOfTenThousand()
    {
        ViewerFixture fixture;
        const QString disk = fixture.path("disk");
        QVERIFY(TestVolume::create(disk, QByteArray()));
        const QString index = disk + "/DVR/RECSINFO/RECS.INF";
        if (!TestVolume::writeSparseFile(index, qint64{kMany + 1} * RecordBytes::kSize))
            QSKIP("The file system has no files with holes.");
        Watch watch(disk.toStdString());
        watch.setContent([](const Call &call, unsigned char *bytes, std::size_t count) {
            if (call.offset % RecordBytes::kSize != 0 || count < 3000)
                return;
            const std::string number = std::to_string(call.offset / RecordBytes::kSize);
            std::memcpy(bytes, "R\1\7", 3);
            std::memcpy(bytes + RecordBytes::kFileNameOffset, number.data(), number.size());
            std::memcpy(bytes + RecordBytes::kTitleOffset, number.data(), number.size());
        });
        Viewer &viewer = fixture.open();
        QCOMPARE(viewer.ui.summaryList->count(), kMany);
        QVERIFY(watch.onMainThread().reads <= 2 * kMany + 1);
        QVERIFY(waitForScan(viewer));

        watch.resetCounts();
        int selections = 0;
        for (int row = 1; row < kMany; row += 7, ++selections)
            viewer.ui.summaryList->setCurrentRow(row);
        QCOMPARE(viewer.ui.programmeEdit->text(), QString::number(viewer.ui.summaryList->currentRow() + 1));
        QVERIFY(selections > 1000);
        Counts counts = watch.onMainThread();
        QCOMPARE(counts.looks, long(selections)); // one each: the file is not there
        QCOMPARE(counts.all(), counts.looks);

        QVERIFY(TestVolume::writeFile(disk + "/DVR/RECS/5000.ts", "x"));
        QVERIFY(TestVolume::writeFile(disk + "/DVR/RECS/5000.ts1", "x"));
        watch.resetCounts();
        viewer.ui.summaryList->setCurrentRow(4999);
        counts = watch.onMainThread();
        QCOMPARE(viewer.ui.fileSizeEdit->text(), QString("0 MB"));
        QVERIFY(counts.looks >= 3 && counts.looks <= 5); // two files, once or twice each, and one that is not there
        QCOMPARE(counts.all(), counts.looks);
        QCOMPARE(watch.elsewhere().all(), 0L);
    }

    void selection_shows_whateverStepOfItFindsTheDiskGone()
    {
        ViewerFixture fixture;
        Viewer &viewer = openOn(fixture, {"a", "b", "c"});
        Watch watch(fixture.path("disk").toStdString());
        viewer.ui.summaryList->setCurrentRow(1);
        const long steps = watch.onMainThread().all();
        QVERIFY(steps >= 2);
        for (const int error : {EIO, ENOENT, ENODEV, EACCES}) {
            for (long left = 0; left <= steps; ++left) {
                viewer.ui.summaryList->setCurrentRow(0);
                std::atomic<long> calls{0};
                watch.setVerdict([&](const Call &) { return ++calls > left ? error : 0; });
                viewer.ui.summaryList->setCurrentRow(1);
                QVERIFY(calls <= steps);
                check(viewer);
                QCOMPARE(viewer.ui.thumbnailLabel->thumbs1x.size(), 1); // from memory
                watch.setVerdict({});
            }
        }
    }

    void description_readsNoFile_data()
    {
        QTest::addColumn<QByteArray>("markup");
        QTest::newRow("picture") << QByteArray("<img src=\"%1\"> text");
        QTest::newRow("picture by URI") << QByteArray("<img src=\"file://%1\"> text");
        QTest::newRow("style sheet") << QByteArray("text<link rel=\"stylesheet\" type=\"text/css\" href=\"%1\">");
        QTest::newRow("background") << QByteArray("<p style=\"background-image: url(%1)\">text</p>");
        QTest::newRow("drawing that refers to it")
            << QByteArray("<img src='data:image/svg+xml;utf8,<svg xmlns=\"http://www.w3.org/2000/svg\" "
                          "xmlns:xlink=\"http://www.w3.org/1999/xlink\"><image xlink:href=\"%1\"/></svg>'> text");
        QTest::newRow("table with a background")
            << QByteArray("<table background=\"%1\"><tr><td>text</td></tr></table>");
    }

    // Opening a pipe without a writer would never return.
    void description_readsNoFile()
    {
        QFETCH(QByteArray, markup);
        ViewerFixture fixture;
        const QString trap = fixture.path("trap");
        QVERIFY(TestVolume::writeFile(trap, "not a picture"));
        const Watch watch(trap.toStdString());
        RecordBytes record = ViewerFixture::titled("a");
        record.description = markup.replace("%1", trap.toUtf8());
        QVERIFY(TestVolume::create(fixture.path("disk"), {record}));
        Viewer &viewer = fixture.open();
        QVERIFY(viewer.ui.detailsEdit->toPlainText().contains("text"));
        QVERIFY(QTest::qWaitForWindowExposed(&viewer));
        QVERIFY(!viewer.ui.detailsEdit->grab().isNull()); // painted
        QCOMPARE(watch.onMainThread().all(), 0L);
    }

    void toolTip_readsNoFile()
    {
        ViewerFixture fixture;
        const QString trap = fixture.path("trap");
        QVERIFY(TestVolume::writeFile(trap, "not a picture"));
        const Watch watch(trap.toStdString());
        RecordBytes record = ViewerFixture::titled("a");
        record.fileName = "<img src=\"" + trap.toUtf8() + "\">";
        record.channel.clear();
        QVERIFY(TestVolume::create(fixture.path("disk"), {record}));
        const Viewer &viewer = fixture.open();
        QWidget *label = viewer.ui.thumbnailLabel;
        const QPoint place = label->rect().center();
        QHelpEvent asked(QEvent::ToolTip, place, label->mapToGlobal(place));
        QCoreApplication::sendEvent(label, &asked);
        QVERIFY(QToolTip::isVisible());
        QVERIFY(QToolTip::text().contains("&lt;img"));
        QTest::qWait(0);
        QCOMPARE(watch.onMainThread().all(), 0L);
        QToolTip::hideText();
    }

    // Painting, series that arrive, clicks, typing and the end of the window need no disk.
    void window_asksNothingOfTheDisk_byItself()
    {
        ViewerFixture fixture;
        Viewer &viewer = openOn(fixture, {"a", "b"});
        const Watch watch(fixture.path("disk").toStdString());
        viewer.getThumbnails();
        QVERIFY(waitForScan(viewer));
        QCOMPARE(viewer.thumbnailCache.size(), 4);
        QVERIFY(watch.elsewhere().reads > 0);
        QVERIFY(!viewer.grab().isNull());
        QTest::mouseClick(viewer.ui.thumbnailLabel, Qt::LeftButton);
        viewer.ui.timeEdit->setFocus();
        QTest::keyClicks(viewer.ui.timeEdit, "x");
        fixture.close();
        QCOMPARE(watch.onMainThread().all(), 0L);
    }

    void window_lives_whileAReadHangs()
    {
        ViewerFixture fixture;
        Viewer &viewer = openOn(fixture, {"a", "b", "c"});
        forgetPictures(viewer);
        viewer.ui.thumbnailLabel->SetBusy(true);
        QSemaphore hanging;
        QSemaphore released;
        Watch watch(fixture.path("disk").toStdString(), [&](const Call &call) {
            if (!call.onMainThread && call.what == What::Read && call.path.find("/b.ts") != std::string::npos) {
                hanging.release();
                released.acquire();
            }
            return 0;
        });
        viewer.getThumbnails();
        QVERIFY(hanging.tryAcquire(1, kPatienceMs)); // The disk does not answer from here on.
        QVERIFY(QTest::qWaitFor([&] { return viewer.thumbnailCache.size() == 1; }, kPatienceMs));

        watch.resetCounts();
        for (const int row : {0, 1, 2}) {
            viewer.ui.summaryList->setCurrentRow(row);
            check(viewer);
            QCOMPARE(viewer.ui.thumbnailLabel->busy, row != 0);
        }
        int beats = 0; // of the event loop
        QTimer heart;
        connect(&heart, &QTimer::timeout, &heart, [&] { ++beats; });
        heart.start(1);
        QVERIFY(QTest::qWaitFor([&] { return beats >= 20; }, kPatienceMs));
        QVERIFY(!viewer.grab().isNull());
        QCOMPARE(watch.onMainThread().reads, 0L);
        QCOMPARE(watch.onMainThread().opens, 0L);
        viewer.selectDevice(viewer.ui.deviceList->topLevelItem(0),
                            0); // The list reloads, and no second scan hangs, too.
        QCOMPARE(programmeTexts(viewer), QStringList({"a", "b", "c"}));
        QVERIFY(viewer.thumbnailScanRunning);

        fixture.close();                           // does not wait,
        QVERIFY(!ScanThreads::instance().end(50)); // and whoever ends the program does not wait for long.
        watch.setVerdict({});
        released.release(1000);
        QVERIFY(ScanThreads::instance().end(kPatienceMs));
    }

    void scan_goesOnWithTheNext_whenARecordingCannotBeRead()
    {
        ViewerFixture fixture;
        Viewer &viewer = openOn(fixture, {"a", "b", "c"});
        forgetPictures(viewer);
        const Watch watch(fixture.path("disk").toStdString(), [](const Call &call) {
            const bool isB = call.path.find("/b.ts") != std::string::npos;
            return isB && call.what == What::Read && call.offset > 8192 ? EIO : 0;
        });
        viewer.getThumbnails();
        QVERIFY(waitForScan(viewer));
        QStringList shown;
        for (const ThumbnailEntry &entry : viewer.thumbnailCache) {
            if (!entry.x1.isEmpty())
                shown.append(QFileInfo(entry.path).fileName());
        }
        QCOMPARE(shown, QStringList({"a.ts", "c.ts"}));
        QCOMPARE(watch.openFiles(), 0);
    }

    void scan_ends_whenTheDiskGoesInTheMiddleOfIt()
    {
        ViewerFixture fixture;
        Viewer &viewer = openOn(fixture, {"a", "b", "c", "d"});
        forgetPictures(viewer);
        std::atomic<bool> gone{false};
        const Watch watch(fixture.path("disk").toStdString(), [&](const Call &call) {
            if (call.path.find("/b.ts") != std::string::npos && call.what == What::Read && call.offset > 8192)
                gone = true;
            return gone ? ENODEV : 0;
        });
        viewer.getThumbnails();
        QVERIFY(waitForScan(viewer));
        QVERIFY(gone);
        QCOMPARE(QFileInfo(viewer.thumbnailCache.first().path).fileName(), QString("a.ts"));
        QVERIFY(viewer.thumbnailCache.size() <= 2); // the others could not be opened
        QCOMPARE(watch.openFiles(), 0);

        viewer.diskNotifier->Notify();
        QVERIFY(QTest::qWaitFor([&] { return viewer.scanTimerId < 0; }, kPatienceMs));
        QCOMPARE(deviceTexts(viewer), QStringList());
        QCOMPARE(programmeTexts(viewer), QStringList({"a", "b", "c", "d"}));
        for (const int row : {1, 2, 3, 0}) {
            viewer.ui.summaryList->setCurrentRow(row);
            QCOMPARE(viewer.ui.fileSizeEdit->text(), QString("No file"));
        }
    }

    void load_leavesAWholeWindow_whateverStepOfItFindsTheDiskGone()
    {
        ViewerFixture fixture;
        Viewer &viewer = openOn(fixture, {"a", "b", "c"});
        long steps = 0;
        for (long left = -1; left <= steps; ++left) {
            Watch watch(fixture.path("disk").toStdString());
            std::atomic<long> calls{0};
            if (left >= 0)
                watch.setVerdict([&](const Call &call) { return call.onMainThread && ++calls > left ? EIO : 0; });
            viewer.scanDisk();
            check(viewer);
            if (left < 0)
                steps = watch.onMainThread().all();
            QVERIFY(watch.onMainThread().all() <= steps + 2);
            watch.setVerdict({});
            QVERIFY(waitForScan(viewer));
            QCOMPARE(watch.openFiles(), 0);
            forgetPictures(viewer);
        }
        QVERIFY(steps > 8);
        viewer.scanDisk(); // The disk is well again.
        QCOMPARE(programmeTexts(viewer), QStringList({"a", "b", "c"}));
        QVERIFY(waitForScan(viewer));
    }

    void programmeHint_saysThatTheDiskCannotBeRead_whenItOpensTheIndexAndNoMore()
    {
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(fixture.path("disk"), {ViewerFixture::titled("a")}));
        Watch watch(fixture.path("disk").toStdString(),
                    [](const Call &call) { return call.what == What::Read ? EIO : 0; });
        Viewer &viewer = fixture.open();
        QVERIFY(viewer.ui.summaryList->accessibleDescription().contains("cannot be read"));
        QVERIFY(viewer.programmes.empty());
        watch.setVerdict({});
        viewer.scanDisk();
        QCOMPARE(programmeTexts(viewer), QStringList("a"));
        QVERIFY(waitForScan(viewer));
    }

    void rescan_ends_whateverStepOfItFindsTheDiskGone()
    {
        ViewerFixture fixture;
        Viewer &viewer = openOn(fixture, {"a"});
        Watch watch(fixture.path().toStdString()); // the mount point and what is below
        viewer.scanDrives();
        const Counts whole = watch.onMainThread();
        QVERIFY(whole.all() > 3 && whole.all() <= 6); // the mount point, the volume, its folder and its index
        QCOMPARE(whole.opens, 0L);
        QCOMPARE(whole.reads, 0L);
        for (long left = 0; left < whole.all(); ++left) {
            std::atomic<long> calls{0};
            watch.resetCounts();
            watch.setVerdict([&](const Call &) { return ++calls > left ? EIO : 0; });
            viewer.scanDrives();
            QVERIFY(deviceTexts(viewer).size() <= 1);
            QVERIFY(watch.onMainThread().all() <= whole.all() + 4);
        }
        watch.setVerdict(failedWithoutADisk);
        viewer.scanDrives();
        QCOMPARE(deviceTexts(viewer), QStringList());
        QCOMPARE(viewer.selectedDevice, QString());
        watch.setVerdict({});
        viewer.scanDrives();
        QCOMPARE(deviceTexts(viewer), QStringList(fixture.path("disk")));
    }

private:
    // A disk with recordings of these names, a window on it, and the scan's end awaited.
    Viewer &openOn(ViewerFixture &fixture, const QStringList &names) const
    {
        QList<RecordBytes> records;
        for (const QString &name : names)
            records.append(ViewerFixture::titled(name.toUtf8()));
        const QString disk = fixture.path("disk");
        if (!TestVolume::create(disk, records))
            qFatal("the disk cannot be made");
        for (const QString &name : names)
            TestVolume::writeFile(disk + "/DVR/RECS/" + name + ".ts", recording);
        Viewer &viewer = fixture.open();
        waitForScan(viewer);
        return viewer;
    }

    // As in the window: after pictures are deleted, the widget is emptied before events are handled again.
    static void forgetPictures(Viewer &viewer)
    {
        viewer.deleteThumbs();
        viewer.ui.thumbnailLabel->ClearThumbs();
    }

    // The system may ask for a repaint whenever events are handled. Here it always does.
    static bool waitForScan(const Viewer &viewer)
    {
        const auto paintedAndDone = [&] {
            return !viewer.ui.thumbnailLabel->grab().isNull() && !viewer.thumbnailScanRunning;
        };
        return QTest::qWaitFor(paintedAndDone, kPatienceMs);
    }

    // Whatever happened: what is selected exists and is what is shown.
    static void check(const Viewer &viewer)
    {
        QVERIFY(viewer.currentProgramme < int(viewer.programmes.size()));
        if (viewer.programmes.empty() || viewer.currentProgramme < 0)
            return;
        QCOMPARE(viewer.ui.summaryList->count(), int(viewer.programmes.size()));
        const Programme &shown = viewer.programmes[std::size_t(viewer.currentProgramme)];
        QCOMPARE(viewer.ui.programmeEdit->text(), QString::fromStdString(shown.title));
        QVERIFY(!viewer.ui.fileSizeEdit->text().isEmpty());
    }

    const QTemporaryDir work;
    QByteArray recording;
};

QTEST_MAIN(TestDyingDisk)
#include "tst_dyingdisk.moc"
