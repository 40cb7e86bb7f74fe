// Counts what is read of an index on a disk that fails, and of one larger than any recorder makes.

#include "archive/recordingsindex.h"

#include "tests/support/capturedoutput.h"
#include "tests/support/faultydisk.h"
#include "tests/support/seededrandom.h"
#include "tests/support/testvolume.h"

#include <QtTest>

#include <cerrno>
#include <cstring>

using faultydisk::Call;
using faultydisk::Counts;
using faultydisk::Watch;
using faultydisk::What;

namespace {

constexpr qint64 kStride = RecordBytes::kSize;
constexpr qint64 kFourGiB = qint64{1} << 32;
constexpr qint64 kTextBytes = 13 + 4 * 1025; // of a record, at most
constexpr qint64 kPositionBytes = 3;
constexpr int kRecords = 100;

QList<RecordBytes> numbered(int count)
{
    QList<RecordBytes> records;
    for (int i = 0; i < count; ++i) {
        records.append(RecordBytes());
        records.last().title = QByteArray::number(i);
        records.last().playPosition = i;
    }
    return records;
}

QString indexOf(const QTemporaryDir &volume)
{
    return volume.filePath("DVR/RECSINFO/RECS.INF");
}

// Loads the disk at `volume`; `verdict` decides on its calls.
struct Loaded
{
    std::optional<std::vector<Programme>> programmes;
    bool failed = false;
    Counts counts;
    int leftOpen = 0;
    QByteArray errors;
};

Loaded loadFrom(const QTemporaryDir &volume, faultydisk::Verdict verdict = {}, faultydisk::Content content = {})
{
    Watch watch(volume.path().toStdString(), std::move(verdict));
    watch.setContent(std::move(content));
    CapturedOutput capture(stderr);
    Loaded loaded;
    loaded.programmes = readRecordingsIndex(volume.path().toStdString(), loaded.failed);
    loaded.counts = watch.onMainThread();
    loaded.leftOpen = watch.openFiles();
    loaded.errors = capture.text();
    return loaded;
}

} // namespace

class TestBrokenIndex : public QObject
{
    Q_OBJECT

private slots:
    void load_readsTwoPiecesARecord_andNothingElse()
    {
        const QTemporaryDir volume;
        QVERIFY(TestVolume::create(volume.path(), numbered(kRecords)));
        const Loaded loaded = loadFrom(volume);
        QCOMPARE(loaded.programmes->size(), std::size_t(kRecords));
        QVERIFY(!loaded.failed);
        QCOMPARE(loaded.counts.opens, 1L);
        QVERIFY(loaded.counts.reads >= 2 * kRecords && loaded.counts.reads <= 2 * kRecords + 1);
        QVERIFY(loaded.counts.bytesRead <= kRecords * (kTextBytes + kPositionBytes));
        QCOMPARE(loaded.leftOpen, 0);
    }

    void load_readsNoMore_fromTheLongestTexts()
    {
        QByteArray index(kStride, '\0');
        for (int record = 0; record < kRecords; ++record)
            index += QByteArray("R\1\7") + QByteArray(kStride - 3, 'x');
        const QTemporaryDir volume;
        QVERIFY(TestVolume::create(volume.path(), index));
        const Loaded loaded = loadFrom(volume);
        QCOMPARE(loaded.programmes->size(), std::size_t(kRecords));
        QVERIFY(loaded.counts.reads <= 3 * kRecords + 1); // one more for each record's last texts
        QVERIFY(loaded.counts.bytesRead <= kRecords * (kTextBytes + kPositionBytes));
    }

    void load_looksAtOneRecord_inAnIndexOf4GiBWithoutAny()
    {
        const QTemporaryDir volume;
        QVERIFY(TestVolume::create(volume.path(), QByteArray()));
        if (!TestVolume::writeSparseFile(indexOf(volume), kFourGiB))
            QSKIP("The file system has no files of 4 GiB.");
        const Loaded loaded = loadFrom(volume);
        QVERIFY(loaded.programmes && loaded.programmes->empty());
        QCOMPARE(loaded.counts.reads, 1L);
        QVERIFY(loaded.counts.bytesRead <= kTextBytes);
        QCOMPARE(loaded.programmes->capacity(), std::size_t(0)); // no memory for what the file's size promises
    }

    void load_endsWithTheLastRecord_inAnIndexOf4GiB_data()
    {
        QTest::addColumn<qint64>("records");
        QTest::newRow("few") << qint64{kRecords};
        if (sizeof(long) > 4)
            QTest::newRow("as many as there is room for") << kFourGiB / kStride - 1;
    }
    void load_endsWithTheLastRecord_inAnIndexOf4GiB()
    {
        QFETCH(qint64, records);
        const QTemporaryDir volume;
        QVERIFY(TestVolume::create(volume.path(), QByteArray()));
        if (!TestVolume::writeSparseFile(indexOf(volume), kFourGiB))
            QSKIP("The file system has no files of 4 GiB.");
        const Loaded loaded = loadFrom(volume, {}, [&](const Call &call, unsigned char *bytes, std::size_t count) {
            if (call.offset % kStride == 0 && call.offset <= records * kStride && count > 3)
                std::memcpy(bytes, "R\1\7", 3);
        });
        QCOMPARE(loaded.programmes->size(), std::size_t(records));
        QVERIFY(loaded.counts.reads <= 2 * records + 1);
        QVERIFY(loaded.programmes->capacity() <= std::size_t(2 * records));
    }

    void load_givesNothing_whenTheDiskDoesNotOpenTheIndex()
    {
        const QTemporaryDir volume;
        QVERIFY(TestVolume::create(volume.path(), numbered(3)));
        const Loaded loaded = loadFrom(volume, [](const Call &call) { return call.what == What::Open ? EIO : 0; });
        QVERIFY(!loaded.programmes);
        QCOMPARE(loaded.counts.reads, 0L);
    }

    void load_keepsWhatItGot_whenTheRestCannotBeRead()
    {
        const QTemporaryDir volume;
        QVERIFY(TestVolume::create(volume.path(), numbered(kRecords)));
        const Loaded loaded = loadFrom(
            volume, [](const Call &call) { return call.what == What::Read && call.offset >= 40 * kStride ? EIO : 0; });
        QCOMPARE(loaded.programmes->size(), std::size_t(39));
        QCOMPARE(loaded.programmes->back().title, std::string("38"));
        QVERIFY(loaded.failed);
        QVERIFY(loaded.counts.reads <= 2 * 39 + 1); // One failed read ends it: a dying disk is not asked again.
        QCOMPARE(loaded.errors, QByteArray());
        QCOMPARE(loaded.leftOpen, 0);
    }

    void load_carriesOn_whenOnlyAPlayPositionCannotBeRead()
    {
        const QTemporaryDir volume;
        QVERIFY(TestVolume::create(volume.path(), numbered(4)));
        const Loaded loaded = loadFrom(volume, [](const Call &call) {
            return call.what == What::Read && call.offset == 3 * kStride + RecordBytes::kMarkerOffset ? EIO : 0;
        });
        QCOMPARE(loaded.programmes->size(), std::size_t(4));
        QCOMPARE(loaded.programmes->at(2).playPosition, 1); // as if it had none
        QCOMPARE(loaded.programmes->at(3).playPosition, 3);
    }

    void load_saysSo_andKeepsWhatItGot_whenARecordCannotBeSought()
    {
        const QTemporaryDir volume;
        QVERIFY(TestVolume::create(volume.path(), numbered(4)));
        long seeks = 0;
        const Loaded loaded =
            loadFrom(volume, [&](const Call &call) { return call.what == What::Seek && ++seeks > 6 ? EIO : 0; });
        QVERIFY(loaded.programmes && loaded.programmes->size() < 4);
        QCOMPARE(loaded.errors, QByteArray("Error seeking to programme offset\n"));
        QCOMPARE(loaded.leftOpen, 0);
    }

    void load_ends_whenTheDiskVanishesAnywhereInIt()
    {
        const QTemporaryDir volume;
        QVERIFY(TestVolume::create(volume.path(), numbered(8)));
        const long all = loadFrom(volume).counts.all();
        for (long left = 0; left < all; ++left) {
            long calls = 0;
            const Loaded loaded = loadFrom(volume, [&](const Call &) { return ++calls > left ? ENODEV : 0; });
            QCOMPARE(loaded.programmes.has_value(), left > 0);
            QVERIFY(!loaded.programmes || loaded.programmes->size() <= 8);
            QVERIFY(loaded.counts.all() <= left + 3);
            QCOMPARE(loaded.leftOpen, 0);
        }
    }

    void load_endsWithNoMoreThanTheFileHolds_whenReadsFailHereAndThere()
    {
        const QTemporaryDir volume;
        QVERIFY(TestVolume::create(volume.path(), numbered(kRecords)));
        for (std::uint64_t seed = 0; seed < 200; ++seed) {
            SeededRandom random(seed);
            const Loaded loaded = loadFrom(
                volume, [&](const Call &call) { return call.what == What::Read && random.below(20) == 0 ? EIO : 0; });
            QVERIFY(loaded.programmes && loaded.programmes->size() <= kRecords);
            QVERIFY(loaded.counts.reads <= 2 * kRecords + 1);
            for (const Programme &programme : *loaded.programmes)
                QVERIFY(programme.playPosition >= 0 && programme.playPosition < kRecords);
        }
    }
};

QTEST_APPLESS_MAIN(TestBrokenIndex)
#include "tst_brokenindex.moc"
