// A long day at the window: devices come, go and are clicked, lists are reloaded, programmes are selected, recordings
// are scanned. Descriptors, threads and memory must not grow, except for what is meant to stay: an idle thread for each
// scan, and the pictures of the device shown.
//
// QUORVALE_SOAK_CHANGES changes of device (40 by default; script/soak makes 500), two in a round.

#include "platform/oneheap.h"
#include "tests/support/processfacts.h"
#include "tests/support/sanitized.h"
#include "tests/support/teststreams.h"
#include "tests/support/viewerfixture.h"
#include "thumbs/scanthreads.h"

#include <QtTest>

#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

using namespace quorvale;

namespace {

constexpr int kPatienceMs = 60000;
constexpr int kChanges = 40;
constexpr int kChangesARound = 2;
constexpr int kWarmUp = 5; // rounds, after which everything that is made once has been made
constexpr int kProgrammes = 3;

// An idle thread keeps the first pages of its stack, an event loop, and what the allocator keeps at hand for each
// thread: about 55 KiB of the heap and 95 KiB in all. Everything else that grows by the round is a leak.
constexpr qint64 kMostKiBAThread = 128;
// The allocator's own figures count some six KiB for each thread that has ended. A profiler of the heap finds half a
// KiB left of each, the C library's record of it, and nothing else that grows.
constexpr qint64 kMostKiBAnEndedThread = 12;
constexpr qint64 kSlackKiB = 24 * 1024; // what the allocator keeps at hand of the packets that waited to be decoded

struct Sample
{
    qint64 threads = 0;
    int descriptors = 0;
    qint64 residentKiB = 0;
    qint64 heapKiB = 0; // handed out and not given back
};

Sample sample()
{
    Sample now{processfacts::threads(), processfacts::openDescriptors(), processfacts::residentKiB(), 0};
#if defined(__GLIBC__)
    now.heapKiB = qint64(mallinfo2().uordblks + mallinfo2().hblkhd) / 1024;
#endif
    return now;
}

} // namespace

class TestSoak : public QObject
{
    Q_OBJECT

public:
    static void initMain() { useOneHeap(); }

private slots:
    void window_staysAsSmall_allDayLong()
    {
        if (!processfacts::available())
            QSKIP("needs to see what the process holds");
        bool given = false;
        const int wanted = qEnvironmentVariableIntValue("QUORVALE_SOAK_CHANGES", &given);
        const int rounds = kWarmUp + qMax(1, (given ? wanted : kChanges) / kChangesARound);
        ViewerFixture fixture;
        for (const char *device : {"one", "two"})
            fill(fixture.path(device));
        Viewer &viewer = fixture.open();
        QVERIFY(waitForScan(viewer));

        std::vector<Sample> samples;
        for (int round = 0; round < rounds; ++round) {
            oneRound(fixture, viewer, round);
            if (QTest::currentTestFailed())
                return;
            samples.push_back(sample());
        }

        const Sample &first = samples.at(kWarmUp - 1);
        const Sample &last = samples.back();
        const int counted = rounds - kWarmUp;
        qInfo("%d device changes, %d reloads, %d scans, %d rescans, %d selections: threads %lld to %lld, descriptors "
              "%d to "
              "%d, resident %lld to %lld KiB, heap %lld to %lld KiB",
              counted * kChangesARound, counted, counted * kScansARound, counted, counted * kScansARound * kProgrammes,
              (long long)first.threads, (long long)last.threads, first.descriptors, last.descriptors,
              (long long)first.residentKiB, (long long)last.residentKiB, (long long)first.heapKiB,
              (long long)last.heapKiB);
        QCOMPARE(last.threads - first.threads, qint64(counted) * kScansARound);
        QVERIFY(last.descriptors <= first.descriptors); // A thread that is idle keeps none.
        if (!kIsSanitized) {
            const qint64 threadsKiB = counted * kScansARound * kMostKiBAThread;
            QVERIFY(last.residentKiB - first.residentKiB <= threadsKiB + kSlackKiB);
            QVERIFY(last.heapKiB - first.heapKiB <= threadsKiB);
        }

        fixture.close();
        QVERIFY(ScanThreads::instance().end(kPatienceMs));
        // The system removes a thread's entry a little after its end.
        QTRY_VERIFY_WITH_TIMEOUT(processfacts::threads() <= first.threads, kPatienceMs);
        const Sample end = sample();
        qInfo("at the end: threads %lld, descriptors %d, resident %lld KiB, heap %lld KiB", (long long)end.threads,
              end.descriptors, (long long)end.residentKiB, (long long)end.heapKiB);
        QVERIFY(end.descriptors <= first.descriptors);
        if (!kIsSanitized) // What had grown was the threads'.
            QVERIFY(end.heapKiB <= first.heapKiB + counted * kScansARound * kMostKiBAnEndedThread + kSlackKiB / 8);
    }

private:
    static constexpr int kScansARound = 3;

    void fill(const QString &device)
    {
        if (recording.isEmpty()) {
            const QTemporaryDir work;
            recording = readFile(
                makeStream(work.path(), {"a.ts", {"-c:v", "mpeg2video", "-q:v", "31", "-f", "mpegts"}, 152, {64, 48}}));
        }
        QVERIFY(!recording.isEmpty());
        QList<RecordBytes> records;
        for (int i = 0; i < kProgrammes; ++i)
            records.append(ViewerFixture::titled(QByteArray::number(i)));
        QVERIFY(TestVolume::create(device, records));
        QVERIFY(TestVolume::writeFile(device + "/DVR/RECS/0.ts", recording));
        QVERIFY(TestVolume::writeFile(device + "/DVR/RECS/1.ts", recording.left(5000))); // and 2 is missing
    }

    static bool waitForScan(const Viewer &viewer)
    {
        return QTest::qWaitFor([&] { return !viewer.thumbnailScanRunning; }, kPatienceMs);
    }

    static void selectAll(Viewer &viewer)
    {
        for (int row = kProgrammes - 1; row >= 0; --row)
            viewer.ui.summaryList->setCurrentRow(row);
        QCOMPARE(viewer.currentProgramme, 0);
        QCOMPARE(viewer.ui.thumbnailLabel->thumbs1x.size(), 1);
    }

    void oneRound(ViewerFixture &fixture, Viewer &viewer, int round)
    {
        // A third device, which comes and goes from round to round.
        const QString guest = fixture.path("guest");
        if (round % 2 == 0)
            QVERIFY(TestVolume::create(guest, {ViewerFixture::titled("g")}));
        else
            QVERIFY(QDir(guest).removeRecursively());
        viewer.scanDrives();
        QCOMPARE(viewer.ui.deviceList->topLevelItemCount(), round % 2 == 0 ? 3 : 2);

        for (const char *device : {"one", "two", "two"}) { // the second time it is a reload
            const auto items = viewer.ui.deviceList->findItems(fixture.path(device), Qt::MatchExactly);
            QCOMPARE(items.size(), 1);
            viewer.selectDevice(items.first(), 0);
            QVERIFY(waitForScan(viewer));
            selectAll(viewer);
        }
        QCOMPARE(viewer.thumbnailCache.size(), 2 * 2); // two series, twice: the reload's are added
    }

    QByteArray recording;
};

QTEST_MAIN(TestSoak)
#include "tst_soak.moc"
