#include "tests/support/decoderwork.h"
#include "tests/support/oracle.h"
#include "tests/support/teststreams.h"
#include "tests/support/transportstream.h"
#include "tests/video/everypicture.h"
#include "tests/video/openstreams.h"
#include "video/ffvideo.h"

#include <QtTest>

/// What opening does and what it refuses.
class TestFFVideoOpen : public QObject
{
    Q_OBJECT

private:
    OpenStreams streams;

private slots:
    void open_decodesTheFirstPictureOnly_whenQuick()
    {
        FFVideo video;
        QVERIFY(open(video, streams.plain()));
        QCOMPARE(video.currentFrame, 0);
        QVERIFY(!video.endOfStream);
        QVERIFY(!video.keyFrames.complete);
        QCOMPARE(video.keyFrames.frames, 1);
        QCOMPARE(video.keyFrames.count, 1);
        QCOMPARE(video.keyFrames.capacity, 100);
        QCOMPARE(video.keyFrames.entries[0].frame, 0);
        QCOMPARE(video.keyFrames.entries[0].seekDts, video.firstDts);
        QCOMPARE(video.keyFrames.entries[0].frameDts, video.lastDts);
        QCOMPARE(QByteArray(video.keyFrames.fileName), QFile::encodeName(streams.plain()));
        QVERIFY(!video.forceKeyEntry);
    }

    void open_decodesTheWholeFile_whenNotQuick()
    {
        FFVideo video;
        QVERIFY(open(video, streams.plain(), false));
        QVERIFY(video.endOfStream);
        QVERIFY(video.keyFrames.complete);
        QVERIFY(video.frameCount >= 59); // not drained
        QCOMPARE(video.frameCount, video.keyFrames.frames);
        QVERIFY(video.keyFrames.count >= 5);
        for (int row = 1; row < video.keyFrames.count; ++row)
            QVERIFY(video.keyFrames.entries[row].frame > video.keyFrames.entries[row - 1].frame);
    }

    void open_refusesAnotherMode_withoutAnError()
    {
        FFVideo video;
        video.lastError = 30;
        QVERIFY(!video.Open(QFile::encodeName(streams.plain()).constData(), true, static_cast<FFVideo::AccessMode>(1)));
        QCOMPARE(video.lastError, 0);
        QVERIFY(video.formatContext == nullptr);
        QCOMPARE(video.accessMode, 2);
    }

    void open_fails_withError10_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("missing") << streams.folder.filePath("missing.ts");
        QTest::newRow("empty") << writeFile(streams.folder.path(), "empty.ts", {});
        QTest::newRow("noise") << writeFile(streams.folder.path(), "noise.ts", QByteArray(5000, 'x'));
        QTest::newRow("a folder") << streams.folder.path();
        QTest::newRow("sound only") << streams.make("sound.ts", {"-f", "lavfi", "-i", "sine=d=2", "-c:a", "mp2"});
    }
    void open_fails_withError10()
    {
        QFETCH(const QString, path);
        QVERIFY(!path.isEmpty());
        FFVideo video;
        QVERIFY(!open(video, path));
        QCOMPARE(video.lastError, 10);
        QCOMPARE(video.accessMode, 2);
        QVERIFY(video.formatContext == nullptr);
        QVERIFY(!video.hasVideo);
        QVERIFY(open(video, streams.plain())); // The object can still be used.
        QCOMPARE(video.lastError, 0);
    }

    void open_fails_withError10_forCapturesWithoutVideo()
    {
        for (const char *name : {"radio-mp2-12s-damaged.ts", "epg-only-no-av.ts"}) {
            const auto path = samplePath(name);
            if (!path)
                QSKIP("the folder with real captures is not here");
            FFVideo video;
            QVERIFY(!open(video, *path));
            QCOMPARE(video.lastError, 10);
        }
    }

    void open_failsAsAWhole_whenTheAudioDecoderDoesNotOpen()
    {
#ifdef Q_OS_LINUX
        FFVideo video;
        QVERIFY(open(video, streams.plain()));
        const std::string decoder = video.audioDecoderName;
        const int channels = video.audioChannels;
        QVERIFY(video.audioFormat != FF_AUDIO_UNKNOWN);
        video.Close();
        video.audioDecoderName.clear();
        video.audioChannels = 0;
        decoderwork::refuseSound(true);
        const bool opened = open(video, streams.plain());
        decoderwork::refuseSound(false);
        QVERIFY(!opened);
        QCOMPARE(video.lastError, 10);
        QCOMPARE(video.accessMode, 2);
        QVERIFY(video.formatContext == nullptr);
        QVERIFY(video.videoCodec != nullptr); // left as it is
        // What is known of the sound is this file's, not that of the one before: who would decode it, and no format
        // yet.
        QCOMPARE(video.audioDecoderName, decoder);
        QCOMPARE(video.audioChannels, channels);
        QCOMPARE(video.audioBitsPerSample, -1);
        QCOMPARE(int(video.audioFormat), int(FF_AUDIO_UNKNOWN));
        QVERIFY(open(video, streams.plain()));
        QCOMPARE(video.decoderName, std::string("mpeg2video"));
        QVERIFY(video.hasAudio);
#else
        QSKIP("Nothing comes between the reader and its decoders here.");
#endif
    }

    void open_seesATransportStreamThatIsRegisteredAsHdmv()
    {
        QByteArray bytes = readFile(streams.plain());
        QVERIFY(transportstream::registerFirstStream(bytes, "HDMV"));
        const QString path = writeFile(streams.folder.path(), "hdmv.ts", bytes);
        FFVideo video;
        QVERIFY(open(video, path));
        QCOMPARE(video.GetCodecName(), std::string("HDMV"));
        QVERIFY(video.restartSeeks);
        QCOMPARE(video.keyFrames.count, 1);
        const auto expected = pictureChecksums(streams.plain());
        QCOMPARE(compareEach(video, {30, 29, 3, 2, 40, 0, 1}, expected), QString());
        video.Close();
        QVERIFY(!video.restartSeeks);
        QVERIFY(video.forceKeyEntry);
        QCOMPARE(video.GetCodecName(), std::string("HDMV"));
    }

    void open_doesNotRestart_forAnotherContainerOrTag()
    {
        QByteArray bytes = readFile(streams.plain());
        QVERIFY(transportstream::registerFirstStream(bytes, "HDMX"));
        FFVideo video;
        QVERIFY(open(video, writeFile(streams.folder.path(), "hdmx.ts", bytes)));
        QCOMPARE(video.GetCodecName(), std::string("HDMX"));
        QVERIFY(!video.restartSeeks);
    }

    void open_takesTheTablesCount_andDecodesNothing_whenATableWasSet()
    {
        KeyFrameTable table;
        InitialiseKFT(&table, "x", 4);
        AddEntry(&table, {0, 1, 2});
        table.frames = 1234;
        FFVideo video;
        QVERIFY(video.SetKeyTable(&table));
        ReleaseKFT(&table);
        QVERIFY(open(video, streams.plain(), false));
        QCOMPARE(video.frameCount, 1234);
        QCOMPARE(video.currentFrame, -1);
        QCOMPARE(video.keyFrames.count, 1);
        QVERIFY(!video.keyFrames.complete);
    }

    void open_makesATable_whenTheOneThatWasLoadedIsEmptyAndIncomplete()
    {
        const QString empty = writeFile(streams.folder.path(), "empty.kft", "KFT\nname\n0 0 0\n");
        FFVideo video;
        QVERIFY(video.LoadKeyTable(QFile::encodeName(empty).constData()));
        QVERIFY(open(video, streams.plain()));
        QCOMPARE(video.currentFrame, 0);
        QCOMPARE(video.keyFrames.count, 1);
    }
};

QTEST_GUILESS_MAIN(TestFFVideoOpen)
#include "tst_ffvideo_open.moc"
