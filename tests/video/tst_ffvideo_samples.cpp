#include "tests/support/memorytraces.h"
#include "tests/support/openvideo.h"
#include "tests/support/oracle.h"
#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/everypicture.h"

#include <map>

namespace {

struct Capture
{
    const char *name;
    int step; // between pictures that are sought: those of some captures cost a second each
    Allowance allowance;
    bool undefinedPictures = false; // Slices are missing of which nothing is concealed.
};

const Capture kCaptures[] = {
    {"mpeg2-704x576i-16x11-subs.ts", 2, {}},
    {"h264-576i-16x11-eac3.ts", 31, {}, true},
    {"h264-576i-12x11-bars.ts", 2, {}, true},
    {"h264-1080i5994-dirtystart-mp2.ts", 37, {}},
    // The first packet has no decode timestamp, so there is nothing to seek to before the second row.
    {"h264-234p-61s-truncated.ts", 17, {150}},
    {"hevc-main10-360p-12s.ts", 61, {}},
    {"bd-1080i-5s.m2ts", 41, {}},
    {"akiyo-x265.265", 31, {}},
};

} // namespace

/// Real captures: compares every picture with the one that the ffmpeg program decodes, if its content is defined.
class TestFFVideoSamples : public QObject
{
    Q_OBJECT

private:
    QString path;
    QVector<QByteArray> expected;
    Capture capture = {};
    std::map<QString, FFVideo> m_indexed;

    void addCaptures()
    {
        QTest::addColumn<int>("index");
        int index = 0;
        for (const Capture &row : kCaptures)
            QTest::newRow(row.name) << index++;
    }

    // A reader of the capture with its full table, for whoever does not care how often it was read; null without one.
    FFVideo *withAFullTable()
    {
        const auto [entry, isNew] = m_indexed.try_emplace(path);
        if (!isNew || open(entry->second, path, false))
            return &entry->second;
        m_indexed.erase(entry);
        return nullptr;
    }

    // Numbers to be read in an order that seeks.
    QVector<int> sought(QVector<int> numbers) const
    {
        if (capture.allowance.reachableFrom > 0) // Once a landing is missed, picture 0 is whatever comes next.
            numbers.removeAll(0);
        return numbers;
    }

private slots:
    void initTestCase()
    {
        if (!samplePath(kCaptures[0].name))
            QSKIP("the folder with real captures is not here");
    }

    void init()
    {
        QFETCH(const int, index);
        capture = kCaptures[index];
        path = samplePath(capture.name).value_or(QString());
        QVERIFY(!path.isEmpty());
        expected = pictureChecksums(path);
        QVERIFY(!expected.isEmpty());
        if (capture.undefinedPictures)
            capture.allowance.undefined = picturesWithTracesOfMemory(path);
        QVERIFY(capture.allowance.undefined.size() < expected.size() / 2); // Most are compared.
    }

    void read_deliversEveryPicture_forwardsAfterAQuickOpen_data() { addCaptures(); }
    void read_deliversEveryPicture_forwardsAfterAQuickOpen()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        QCOMPARE(video.currentFrame, 0);
        const int end = readToTheEnd(video, 0, expected, capture.allowance);
        QVERIFY(end > expected.size() - 1 - kMostHeldBack);
        QVERIFY(end <= expected.size());
        QCOMPARE(video.frameCount, end);
        QCOMPARE(video.keyFrames.frames, end);
        QVERIFY(video.keyFrames.complete);
    }

    void table_isTheSame_atOnceAndInSlices_data() { addCaptures(); }
    void table_isTheSame_atOnceAndInSlices()
    {
        const FFVideo *atOnce = withAFullTable();
        QVERIFY(atOnce);
        FFVideo inSlices;
        QVERIFY(open(inSlices, path));
        while (!inSlices.GetFramesUntilComplete(50))
            QVERIFY(!inSlices.endOfStream);
        QCOMPARE(inSlices.frameCount, atOnce->frameCount);
        QCOMPARE(inSlices.keyFrames.count, atOnce->keyFrames.count);
        for (int row = 0; row < atOnce->keyFrames.count; ++row) {
            const KeyFrameEntry &one = atOnce->keyFrames.entries[row];
            const KeyFrameEntry &other = inSlices.keyFrames.entries[row];
            QCOMPARE(other.frame, one.frame);
            QCOMPARE(other.seekDts, one.seekDts);
            QCOMPARE(other.frameDts, one.frameDts);
        }
    }

    void read_deliversEveryPicture_backwardsWithAFullTable_data() { addCaptures(); }
    void read_deliversEveryPicture_backwardsWithAFullTable()
    {
        FFVideo *video = withAFullTable();
        QVERIFY(video && video->keyFrames.complete);
        const QVector<int> numbers = sought(descending(video->frameCount, capture.step));
        QCOMPARE(compareEach(*video, numbers, expected, capture.allowance), QString());
    }

    void read_deliversEveryPicture_shuffledWithAFullTable_data() { addCaptures(); }
    void read_deliversEveryPicture_shuffledWithAFullTable()
    {
        FFVideo *video = withAFullTable();
        QVERIFY(video);
        const QVector<int> numbers = sought(shuffled(video->frameCount, capture.step));
        QCOMPARE(compareEach(*video, numbers, expected, capture.allowance), QString());
    }

    void read_deliversOnlyRightPictures_shuffledWithAGrowingTable_data() { addCaptures(); }
    void read_deliversOnlyRightPictures_shuffledWithAGrowingTable()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        int delivered = 0;
        const QVector<int> numbers = sought(shuffled(int(expected.size()) - kMostHeldBack, capture.step * 3));
        for (const int number : numbers) {
            // With B pictures, the end of the file can be found too early while the table grows.
            if (video.keyFrames.complete && number >= video.frameCount)
                continue;
            QCOMPARE(compareEach(video, {number}, expected, capture.allowance), QString());
            ++delivered;
        }
        QVERIFY(delivered > numbers.size() / 2);
    }

    void read_deliversEveryPicture_withATableThatWasSavedAndLoaded_data() { addCaptures(); }
    void read_deliversEveryPicture_withATableThatWasSavedAndLoaded()
    {
        const QTemporaryDir folder;
        const QByteArray table = QFile::encodeName(folder.filePath("table.kft"));
        FFVideo *indexed = withAFullTable();
        QVERIFY(indexed && indexed->SaveKeyTable(table.constData(), true));

        FFVideo video;
        QVERIFY(video.LoadKeyTable(table.constData()));
        QVERIFY(open(video, path, false));
        QCOMPARE(video.frameCount, indexed->frameCount);
        QCOMPARE(video.currentFrame, -1); // Nothing has been decoded.
        QCOMPARE(readToTheEnd(video, 0, expected, capture.allowance), indexed->frameCount);
        const QVector<int> numbers = sought(shuffled(video.frameCount, capture.step * 3));
        QCOMPARE(compareEach(video, numbers, expected, capture.allowance), QString());
    }

    void read_deliversEveryPicture_withATableThatWasSet_afterCloseAndOpen_data() { addCaptures(); }
    void read_deliversEveryPicture_withATableThatWasSet_afterCloseAndOpen()
    {
        QVERIFY(withAFullTable());
        FFVideo &video = *withAFullTable();
        const int frames = video.frameCount;
        KeyFrameTable table;
        QVERIFY(CopyKFT(&table, &video.keyFrames));
        QVERIFY(video.Close());
        QVERIFY(video.SetKeyTable(&table));
        ReleaseKFT(&table);
        QVERIFY(open(video, path));
        QCOMPARE(video.frameCount, frames);
        const QVector<int> numbers = sought(shuffled(video.frameCount, capture.step * 3));
        QCOMPARE(compareEach(video, numbers, expected, capture.allowance), QString());
    }

    void read_deliversEveryPicture_afterCloseAndOpenOfAReaderThatHadNotReachedTheEnd_data() { addCaptures(); }
    void read_deliversEveryPicture_afterCloseAndOpenOfAReaderThatHadNotReachedTheEnd()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        QCOMPARE(compareEach(video, {3, 4, 40}, expected, {0, capture.allowance.undefined}), QString());
        QVERIFY(video.Close());
        QVERIFY(open(video, path));
        QVERIFY(readToTheEnd(video, 0, expected, capture.allowance) > expected.size() - 1 - kMostHeldBack);
    }
};

TEST_CLASS(TestFFVideoSamples, QCoreApplication)
#include "tst_ffvideo_samples.moc"
