#include "tests/support/oracle.h"
#include "tests/support/picture.h"
#include "tests/support/testclass.h"
#include "tests/video/everypicture.h"
#include "tests/video/openstreams.h"
#include "video/ffvideo.h"

/// What closing leaves, and what becomes of a reader that opens another file.
class TestFFVideoClose : public QObject
{
    Q_OBJECT

private:
    OpenStreams streams;

private slots:
    void open_closesTheFileThatWasOpen_evenForAnotherMode()
    {
        FFVideo video;
        QVERIFY(open(video, streams.plain()));
        QVERIFY(!video.Open(QFile::encodeName(streams.plain()).constData(), true, FFVideo::FF_ACCESS_CLOSED));
        QCOMPARE(video.accessMode, 2);
        QVERIFY(video.formatContext == nullptr);
        QCOMPARE(video.lastError, 0);
    }

    void open_seesRawHevc_andTheObjectKeepsTakingLaterFilesForIt()
    {
        FFVideo video;
        QVERIFY(open(video, streams.rawHevc()));
        QVERIFY(video.isHevc);
        QCOMPARE(video.keyFrames.count, 0);
        video.Close();
        QVERIFY(video.isHevc);

        // A transport stream now: still no rows, and going back restarts at its first byte.
        QVERIFY(open(video, streams.plain()));
        QVERIFY(video.isHevc);
        QCOMPARE(video.keyFrames.count, 0);
        const auto expected = pictureChecksums(streams.plain());
        QCOMPARE(compareEach(video, {30, 29, 3, 2, 40}, expected), QString());
        QCOMPARE(video.keyFrames.count, 0);
    }

    void restart_isTakenForDone_whereTheContainerHasNoBytePositions()
    {
        // A reader that once met raw HEVC restarts every later file at byte 0, and goes on from where it is if it
        // cannot.
        const QString mp4 =
            streams.make("after.mp4", {"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=2", "-c:v", "mpeg4", "-g", "5"});
        FFVideo video;
        QVERIFY(open(video, streams.rawHevc()));
        QVERIFY(open(video, mp4));
        QVERIFY(video.seekToFrame(20));
        const std::int64_t dts = video.lastDts;
        QVERIFY(video.seekToNearestKeyFrame(0, 0));
        QCOMPARE(video.currentFrame, -1);
        QVERIFY(video.stepForward());
        QCOMPARE(video.currentFrame, 0);
        QVERIFY(video.lastDts > dts);
    }

    void close_leavesWhatTheNextOpenResets()
    {
        FFVideo video;
        QVERIFY(video.Close()); // nothing is open
        QVERIFY(open(video, streams.plain()));
        QVERIFY(video.seekToFrame(20));
        const std::string decoder = video.decoderName;
        QVERIFY(video.Close());
        QCOMPARE(video.accessMode, 2);
        QVERIFY(video.formatContext == nullptr);
        QVERIFY(video.videoCodec == nullptr);
        QVERIFY(video.audioCodec == nullptr);
        QCOMPARE(video.videoStream, -1);
        QVERIFY(!video.hasVideo);
        QVERIFY(video.forceKeyEntry);
        QCOMPARE(video.currentFrame, 20);
        QCOMPARE(video.decoderName, decoder);
        QVERIFY(video.frameCount > 0);
        QVERIFY(video.keyFrames.entries == nullptr);
        QVERIFY(video.keyFrames.fileName == nullptr);
        QCOMPARE(video.keyFrames.frames, 0);
        QCOMPARE(video.keyFrames.count, 2);
        QVERIFY(video.Close());
    }

    void reopen_refusesEveryPicture_afterTheTableWasCompleted()
    {
        FFVideo video;
        QVERIFY(open(video, streams.plain(), false));
        QVERIFY(video.Close());
        QVERIFY(video.keyFrames.complete);
        QVERIFY(video.keyFrames.count > 0);
        QVERIFY(open(video, streams.anamorph()));
        QCOMPARE(video.frameCount, 0);
        Picture picture;
        for (const int number : {0, 1, 5}) {
            QVERIFY(!video.Read(number, picture));
            QCOMPARE(video.lastError, 30);
        }
    }

    void reopen_startsAnew_whereTheEndWasReached_andAnEmptyTableWasSet()
    {
        FFVideo video;
        QVERIFY(open(video, streams.plain(), false));
        QVERIFY(video.Close());
        const KeyFrameTable none;
        QVERIFY(video.SetKeyTable(&none));
        QVERIFY(open(video, streams.anamorph()));
        QVERIFY(!video.endOfStream);
        QCOMPARE(video.currentFrame, 0);
        Picture picture;
        QVERIFY(video.Read(0, picture));
    }

    void reopen_readsAnotherFile_afterATableThatWasNotCompleted()
    {
        FFVideo video;
        QVERIFY(open(video, streams.plain()));
        QVERIFY(open(video, streams.anamorph()));
        QCOMPARE(video.height, 576);
        QCOMPARE(video.currentFrame, 0);
        QCOMPARE(compareEach(video, {0, 5, 2}, pictureChecksums(streams.anamorph())), QString());
    }

    void use_isRefused_whileNoFileIsOpen()
    {
        FFVideo video;
        Picture picture;
        QVERIFY(!video.Read(0, picture));
        QCOMPARE(video.lastError, 1);
        QVERIFY(!video.Read(-1, picture));
        QCOMPARE(video.lastError, 30);
        QVERIFY(video.stepForward());
        QCOMPARE(video.currentFrame, -1);
        video.completeSeekTable();
        QVERIFY(!video.keyFrames.complete);
        QVERIFY(!video.GetFramesUntilComplete(1000000000));
        QVERIFY(!video.seekToNearestKeyFrame(0, 0));
        QVERIFY(!video.SetAudioRange(0, 10));
        QVERIFY(open(video, streams.plain()));
        QVERIFY(video.Close());
        QVERIFY(!video.Read(7, picture));
        QVERIFY(!video.SetAudioRange(0, 10));
    }
};

TEST_CLASS(TestFFVideoClose, QCoreApplication)
#include "tst_ffvideo_close.moc"
