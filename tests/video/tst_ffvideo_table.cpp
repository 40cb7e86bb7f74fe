#include "tests/support/picture.h"
#include "tests/support/testclass.h"
#include "tests/video/decodecounter.h"
#include "tests/video/groupsoften.h"
#include "tests/video/openstreams.h"

/// How a reader fills its table, takes one over and gives it away.
class TestFFVideoTable : public QObject, private GroupsOfTen
{
    Q_OBJECT

private:
    QString shorter;

private slots:
    void initTestCase()
    {
        make();
        shorter = make("short.ts", 25);
        QVERIFY(!shorter.isEmpty());
    }

    void table_holdsARowForEveryKeyPicture()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        QCOMPARE(video.frameCount, kFrames);
        QCOMPARE(video.keyFrames.count, kFrames / kGroup);
        for (int row = 0; row < video.keyFrames.count; ++row) {
            const KeyFrameEntry &entry = video.keyFrames.entries[row];
            QCOMPARE(entry.frame, row * kGroup);
            // 3600 ticks a picture. A row seeks to the packet before the picture's own; the first one to itself.
            const std::int64_t dts = video.firstDts + 3600LL * entry.frame;
            QCOMPARE(entry.frameDts, dts);
            QCOMPARE(entry.seekDts, row == 0 ? dts : dts - 3600);
        }
    }

    void seek_ends_whenTheTableNamesATimestampAfterTheEndOfTheFile()
    {
        FFVideo indexed;
        QVERIFY(open(indexed, path, false));
        FFVideo video;
        QVERIFY(video.SetKeyTable(&indexed.keyFrames));
        QVERIFY(open(video, shorter, true));
        QCOMPARE(video.frameCount, kFrames);
        const auto pictures = pictureChecksums(shorter);
        QCOMPARE(compareEach(video, {15, 3}, pictures), QString());
        Picture picture;
        QVERIFY(!video.Read(80, picture));
        QCOMPARE(video.lastError, 1);
        QCOMPARE(compareEach(video, {15, 3}, pictures), QString());
    }

    void seek_survivesATableOfNonsense()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        const std::int32_t least = std::numeric_limits<std::int32_t>::min();
        const std::int32_t most = std::numeric_limits<std::int32_t>::max();
        for (const std::int32_t frame : {least, -1, most - 1, most}) {
            for (const std::int64_t dts : {std::numeric_limits<std::int64_t>::min(), std::int64_t{0},
                                           std::numeric_limits<std::int64_t>::max(), video.firstDts + 3600}) {
                FFVideo nonsense;
                KeyFrameTable table;
                InitialiseKFT(&table, "x", 2);
                AddEntry(&table, {frame, dts, dts});
                table.frames = most;
                QVERIFY(nonsense.SetKeyTable(&table));
                ReleaseKFT(&table);
                QVERIFY(open(nonsense, shorter, true));
                for (const int target : {1, 20, most}) {
                    Picture picture;
                    nonsense.Read(target, picture); // whatever comes of it, it ends
                    nonsense.seekToNearestKeyFrame(least, 0);
                }
                nonsense.completeSeekTable();
            }
        }
    }

    void completeSeekTable_scansTheRest()
    {
        FFVideo whole;
        QVERIFY(open(whole, path, false));
        FFVideo video;
        QVERIFY(open(video, path, true));
        QCOMPARE(numberError(video, 33), QString());
        QCOMPARE(numberError(video, 5), QString());
        video.completeSeekTable();
        QVERIFY(video.keyFrames.complete);
        QVERIFY(video.endOfStream);
        QCOMPARE(video.frameCount, kFrames);
        QCOMPARE(video.keyFrames.count, whole.keyFrames.count);
        for (int row = 0; row < video.keyFrames.count; ++row) {
            QCOMPARE(video.keyFrames.entries[row].frame, whole.keyFrames.entries[row].frame);
            QCOMPARE(video.keyFrames.entries[row].frameDts, whole.keyFrames.entries[row].frameDts);
        }
        DecodeCounter counter(video);
        video.completeSeekTable();
        QCOMPARE(counter.take(), 0);
    }

    void getFramesUntilComplete_scansInSlices()
    {
        FFVideo video;
        QVERIFY(open(video, path, true));
        QVERIFY(!video.GetFramesUntilComplete(0));
        QCOMPARE(video.keyFrames.frames, 1);
        QVERIFY(!video.GetFramesUntilComplete(10));
        QCOMPARE(video.keyFrames.frames, 11);
        int slices = 1;
        while (!video.GetFramesUntilComplete(10))
            ++slices;
        QCOMPARE(slices, 9); // the tenth finds the end
        QCOMPARE(video.frameCount, kFrames);
        QVERIFY(video.GetFramesUntilComplete(0));
    }

    void getFramesUntilComplete_isFalse_atTheEndOfATableThatIsNotComplete()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        video.keyFrames.complete = false;
        QVERIFY(video.endOfStream);
        QVERIFY(!video.GetFramesUntilComplete(10));
    }

    void loadKeyTable_replacesTheTable_andReportsAMissingFile()
    {
        FFVideo video;
        QVERIFY(!video.LoadKeyTable("/no/such/table.kft"));
        const QString table = folder.filePath("table.kft");
        FFVideo indexed;
        QVERIFY(open(indexed, path, false));
        QVERIFY(indexed.keyFrames.modified);
        QVERIFY(indexed.SaveKeyTable(QFile::encodeName(table).constData(), true));
        QVERIFY(!indexed.keyFrames.modified);
        QVERIFY(video.LoadKeyTable(QFile::encodeName(table).constData()));
        QVERIFY(video.LoadKeyTable(QFile::encodeName(table).constData())); // the rows of the first are released
        QCOMPARE(video.keyFrames.count, indexed.keyFrames.count);
        QVERIFY(!video.LoadKeyTable("/no/such/table.kft"));
        QVERIFY(video.keyFrames.entries == nullptr);
        QVERIFY(!video.SaveKeyTable("/no/such/folder/table.kft", true));
    }

    void setKeyTable_canSetItsOwn()
    {
        FFVideo video;
        QVERIFY(open(video, path, false));
        QVERIFY(video.SetKeyTable(&video.keyFrames));
        QCOMPARE(quorvale::rowsHeld(&video.keyFrames), kFrames / kGroup);
        QCOMPARE(video.keyFrames.frames, kFrames);
        QVERIFY(!video.SetKeyTable(nullptr));
        QCOMPARE(video.keyFrames.frames, kFrames);
    }
};

TEST_CLASS(TestFFVideoTable, QCoreApplication)
#include "tst_ffvideo_table.moc"
