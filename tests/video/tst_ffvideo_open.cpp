#include "tests/support/oracle.h"
#include "tests/support/picture.h"
#include "tests/support/teststreams.h"
#include "tests/support/transportstream.h"
#include "tests/video/everypicture.h"
#include "video/ffvideo.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

namespace {

constexpr std::int64_t kNoTimestamp = std::numeric_limits<std::int64_t>::min();

const QStringList kMpeg2 = {"-c:v", "mpeg2video", "-q:v", "4", "-g", "12", "-bf", "0"};

} // namespace

class TestFFVideoOpen : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    QString plain;    // MPEG-2 in a transport stream, 60 pictures, with sound
    QString anamorph; // 720x576, 16:11
    QString rawHevc;

    static bool open(FFVideo &video, const QString &path, bool quick = true)
    {
        return video.Open(QFile::encodeName(path).constData(), quick, FFVideo::FF_ACCESS_READ);
    }

    QString make(const QString &name, const QStringList &arguments) const
    {
        return makeWithFFmpeg(folder.path(), name, arguments);
    }

private slots:
    void initTestCase()
    {
        TestStream stream;
        stream.fileName = "plain.ts";
        stream.encoder = kMpeg2 + QStringList{"-c:a", "mp2"};
        stream.frames = 60;
        stream.sound = true;
        plain = makeStream(folder.path(), stream);
        QVERIFY(!plain.isEmpty());

        stream.fileName = "anamorph.ts";
        stream.encoder = QStringList{"-c:v", "libx264", "-preset", "ultrafast", "-bf", "0"};
        stream.frames = 10;
        stream.sound = false;
        stream.width = 720;
        stream.height = 576;
        stream.sarNumerator = 16;
        stream.sarDenominator = 11;
        anamorph = makeStream(folder.path(), stream);
        QVERIFY(!anamorph.isEmpty());

        rawHevc = make("raw.265", {"-f", "lavfi", "-i", "testsrc2=s=128x96:r=25:d=1", "-c:v", "libx265", "-preset",
                                   "ultrafast", "-x265-params", "keyint=10:bframes=0:log-level=none", "-f", "hevc"});
        QVERIFY(!rawHevc.isEmpty());
    }

    void construct_setsEveryField()
    {
        const FFVideo video;
        QCOMPARE(video.width, 0);
        QCOMPARE(video.height, 0);
        QCOMPARE(video.frameCount, 0);
        QCOMPARE(video.decoderName, std::string("unknown"));
        QCOMPARE(video.audioDecoderName, std::string());
        QCOMPARE(video.fieldOrder, 0);
        QCOMPARE(video.lastError, 0);
        QCOMPARE(video.frameRateNum, 0);
        QCOMPARE(video.frameRateDen, 1);
        QVERIFY(!video.hasVideo);
        QVERIFY(!video.hasAudio);
        QCOMPARE(int(video.audioFormat), 5);
        QCOMPARE(video.accessMode, 2);
        QVERIFY(video.formatContext == nullptr);
        QVERIFY(video.videoCodec == nullptr);
        QVERIFY(video.audioCodec == nullptr);
        QVERIFY(video.frame != nullptr);
        QCOMPARE(video.videoStream, -1);
        QCOMPARE(video.audioStream, -1);
        QVERIFY(!video.viewPreview);
        QCOMPARE(video.reservedA, 500000);
        QCOMPARE(video.reservedB, 5);
        QVERIFY(video.keyFrames.entries == nullptr);
        QVERIFY(video.keyFrames.fileName == nullptr);
        QCOMPARE(video.currentFrame, -1);
        QVERIFY(!video.endOfStream);
        QCOMPARE(video.lastDts, kNoTimestamp);
        QCOMPARE(video.previousDts, kNoTimestamp);
        QCOMPARE(video.seekDts, kNoTimestamp);
        QCOMPARE(video.firstDts, kNoTimestamp);
        QVERIFY(video.forceKeyEntry);
        QCOMPARE(video.codecName, std::string());
        QVERIFY(!video.restartSeeks);
        QVERIFY(!video.isHevc);
        QCOMPARE(video.outputPixelFormat, -1);
        QCOMPARE(video.colourSpace, 2);
        QCOMPARE(video.reservedC, 0);
        QCOMPARE(video.reservedD, 1);
        QCOMPARE(video.audioBitsPerSample, 0);
        QCOMPARE(video.audioChannels, 0);
        QCOMPARE(video.audioSampleRate, 0);
        QCOMPARE(video.audioSkipSamples, 0);
        QCOMPARE(video.audioSamplesLeft, 0);
        QCOMPARE(FIRST_FRAME_INDEX, 0);
    }

    void setters_storeTheirValues()
    {
        FFVideo video;
        video.SetFrameRate(50, 2);
        QCOMPARE(video.frameRateNum, 50);
        QCOMPARE(video.frameRateDen, 2);
        video.SetViewPreview(true);
        QVERIFY(video.viewPreview);
        video.SetCodecByName("some codec");
        QCOMPARE(video.decoderName, std::string("some codec"));
        QCOMPARE(video.GetCodecName(), std::string("some codec"));
    }

    void open_recordsTheFacts_ofATransportStream()
    {
        FFVideo video;
        QVERIFY(open(video, plain));
        QVERIFY(FFVideo::registered);
        QCOMPARE(video.lastError, 0);
        QCOMPARE(video.accessMode, 0);
        QCOMPARE(video.width, 320);
        QCOMPARE(video.height, 240);
        QCOMPARE(video.frameRateNum, 25);
        QCOMPARE(video.frameRateDen, 1);
        QVERIFY(qAbs(video.frameCount - 60) <= 2);
        QCOMPARE(video.decoderName, std::string("mpeg2video"));
        QCOMPARE(video.GetCodecName(), std::string("\x02")); // the tag of a transport stream is its stream type
        QCOMPARE(video.fieldOrder, 0);
        QVERIFY(video.hasVideo);
        QVERIFY(video.hasAudio);
        QVERIFY(video.videoStream >= 0);
        QVERIFY(video.audioStream >= 0);
        QVERIFY(video.videoStream != video.audioStream);
        QCOMPARE(video.audioSampleRate, 48000);
        QCOMPARE(video.audioChannels, 2);
        QVERIFY(!video.audioDecoderName.empty());
        QVERIFY(!video.isHevc);
        QVERIFY(!video.restartSeeks);
    }

    void open_decodesTheFirstPictureOnly_whenQuick()
    {
        FFVideo video;
        QVERIFY(open(video, plain));
        QCOMPARE(video.currentFrame, 0);
        QVERIFY(!video.endOfStream);
        QVERIFY(!video.keyFrames.complete);
        QCOMPARE(video.keyFrames.frames, 1);
        QCOMPARE(video.keyFrames.count, 1);
        QCOMPARE(video.keyFrames.capacity, 100);
        QCOMPARE(video.keyFrames.entries[0].frame, 0);
        QCOMPARE(video.keyFrames.entries[0].seekDts, video.firstDts);
        QCOMPARE(video.keyFrames.entries[0].frameDts, video.lastDts);
        QCOMPARE(QByteArray(video.keyFrames.fileName), QFile::encodeName(plain));
        QVERIFY(!video.forceKeyEntry);
    }

    void open_decodesTheWholeFile_whenNotQuick()
    {
        FFVideo video;
        QVERIFY(open(video, plain, false));
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
        QVERIFY(!video.Open(QFile::encodeName(plain).constData(), true, static_cast<FFVideo::AccessMode>(1)));
        QCOMPARE(video.lastError, 0);
        QVERIFY(video.formatContext == nullptr);
        QCOMPARE(video.accessMode, 2);
    }

    void open_closesTheFileThatWasOpen_evenForAnotherMode()
    {
        FFVideo video;
        QVERIFY(open(video, plain));
        QVERIFY(!video.Open(QFile::encodeName(plain).constData(), true, FFVideo::FF_ACCESS_CLOSED));
        QCOMPARE(video.accessMode, 2);
        QVERIFY(video.formatContext == nullptr);
        QCOMPARE(video.lastError, 0);
    }

    void open_fails_withError10_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("missing") << folder.filePath("missing.ts");
        QTest::newRow("empty") << writeFile(folder.path(), "empty.ts", {});
        QTest::newRow("noise") << writeFile(folder.path(), "noise.ts", QByteArray(5000, 'x'));
        QTest::newRow("a folder") << folder.path();
        QTest::newRow("sound only") << make("sound.ts", {"-f", "lavfi", "-i", "sine=d=2", "-c:a", "mp2"});
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
        QVERIFY(open(video, plain)); // The object can still be used.
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
        // IMA ADPCM of two channels; the header is made to announce more than its decoder takes.
        const QString path =
            make("adpcm.avi", {"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=1", "-f", "lavfi", "-i", "sine=d=1", "-ac",
                               "2", "-c:v", "rawvideo", "-pix_fmt", "yuv420p", "-c:a", "adpcm_ima_wav"});
        QVERIFY(!path.isEmpty());
        FFVideo sound;
        QVERIFY(open(sound, path));
        sound.Close();

        QByteArray bytes = readFile(path);
        const auto format = bytes.indexOf(QByteArray("\x11\x00\x02\x00", 4)); // ADPCM, two channels
        QVERIFY(format > 0);
        bytes[format + 2] = 9;
        FFVideo video;
        QVERIFY(!open(video, writeFile(folder.path(), "nine-channels.avi", bytes)));
        QCOMPARE(video.lastError, 10);
        QCOMPARE(video.accessMode, 2);
        QVERIFY(video.formatContext == nullptr);
        QVERIFY(video.videoCodec != nullptr); // left as it is
        QVERIFY(open(video, plain));
        QCOMPARE(video.decoderName, std::string("mpeg2video"));
    }

    void open_keepsThatThereIsNoAudio()
    {
        FFVideo video;
        QVERIFY(open(video, anamorph));
        QVERIFY(!video.hasAudio);
        QVERIFY(video.audioStream < 0);
        QVERIFY(video.audioCodec == nullptr);
    }

    void open_correctsTheWidth_byTheSampleAspectRatio()
    {
        FFVideo video;
        QVERIFY(open(video, anamorph));
        QCOMPARE(video.width, 1047); // 576 / 11 * 20
        QCOMPARE(video.height, 576);
        Picture picture;
        QVERIFY(video.Read(0, picture));
        QCOMPARE(picture.width, 720);
        QCOMPARE(picture.height, 576);
    }

    void open_reportsTheFieldOrder_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<int>("order");
        QTest::newRow("top first") << "tff" << 2;
        QTest::newRow("bottom first") << "bff" << 1;
    }
    void open_reportsTheFieldOrder()
    {
        QFETCH(const QString, field);
        QFETCH(const int, order);
        const QString path = make(field + ".ts", {"-f", "lavfi", "-i", "testsrc2=s=128x96:r=25:d=1", "-c:v", "libx264",
                                                  "-preset", "ultrafast", "-x264-params", field + "=1"});
        FFVideo video;
        QVERIFY(open(video, path));
        QCOMPARE(video.fieldOrder, order);
        video.Close();
        QCOMPARE(video.fieldOrder, 0);
    }

    void open_reportsTheFieldOrder_asUnknown_whereNothingSaysIt()
    {
        FFVideo video;
        QVERIFY(open(video, rawHevc));
        QCOMPARE(video.fieldOrder, 3);
    }

    void open_takesTheColourSpace_fromTheStream()
    {
        const QString path = make("bt709.ts", {"-f", "lavfi", "-i", "testsrc2=s=128x96:r=25:d=1", "-c:v", "libx264",
                                               "-preset", "ultrafast", "-colorspace", "bt709"});
        FFVideo video;
        QVERIFY(open(video, path));
        QCOMPARE(video.colourSpace, 1);
        QCOMPARE(int(video.GetColourSpace()), int(FF_CS_BT709));
    }

    void open_namesTheSampleFormat_data()
    {
        QTest::addColumn<QStringList>("encoder");
        QTest::addColumn<int>("bits");
        QTest::addColumn<int>("format");
        QTest::newRow("u8") << QStringList{"-c:a", "pcm_u8"} << 8 << 0;
        QTest::newRow("s16") << QStringList{"-c:a", "pcm_s16le"} << 16 << 1;
        QTest::newRow("s32") << QStringList{"-c:a", "pcm_s32le"} << 32 << 2;
        QTest::newRow("float") << QStringList{"-c:a", "pcm_f32le"} << 32 << 3;
        QTest::newRow("double") << QStringList{"-c:a", "pcm_f64le"} << 64 << 4;
        QTest::newRow("s16 planar") << QStringList{"-c:a", "alac", "-sample_fmt", "s16p"} << 16 << 1;
        QTest::newRow("s32 planar") << QStringList{"-c:a", "alac", "-sample_fmt", "s32p"} << 32 << 2;
        QTest::newRow("float planar") << QStringList{"-c:a", "aac"} << 32 << 3;
        QTest::newRow("64-bit integers") << QStringList{"-c:a", "pcm_s64le"} << -1 << 5;
    }
    void open_namesTheSampleFormat()
    {
        QFETCH(const QStringList, encoder);
        QFETCH(const int, bits);
        QFETCH(const int, format);
        const QString path = make(QString("%1.mkv").arg(QTest::currentDataTag()),
                                  QStringList{"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=0.4", "-f", "lavfi", "-i",
                                              "sine=d=0.4", "-c:v", "mpeg2video"} +
                                      encoder);
        FFVideo video;
        QVERIFY(open(video, path));
        QVERIFY(video.hasAudio);
        QCOMPARE(video.audioBitsPerSample, bits);
        QCOMPARE(int(video.audioFormat), format);
        QCOMPARE(video.audioSampleRate, 44100);
        QCOMPARE(video.audioChannels, 1);
    }

    void open_estimatesNothing_whereTheDurationIsNotKnown()
    {
        FFVideo video;
        QVERIFY(open(video, rawHevc));
        QCOMPARE(video.frameRateNum, 25);
        QCOMPARE(video.frameCount, 0);
    }

    void open_seesRawHevc_andTheObjectKeepsTakingLaterFilesForIt()
    {
        FFVideo video;
        QVERIFY(open(video, rawHevc));
        QVERIFY(video.isHevc);
        QCOMPARE(video.keyFrames.count, 0);
        video.Close();
        QVERIFY(video.isHevc);

        // A transport stream now: still no rows, and going back restarts at its first byte.
        QVERIFY(open(video, plain));
        QVERIFY(video.isHevc);
        QCOMPARE(video.keyFrames.count, 0);
        const auto expected = pictureChecksums(plain);
        QCOMPARE(compareEach(video, {30, 29, 3, 2, 40}, expected), QString());
        QCOMPARE(video.keyFrames.count, 0);
    }

    void open_seesATransportStreamThatIsRegisteredAsHdmv()
    {
        QByteArray bytes = readFile(plain);
        QVERIFY(transportstream::registerFirstStream(bytes, "HDMV"));
        const QString path = writeFile(folder.path(), "hdmv.ts", bytes);
        FFVideo video;
        QVERIFY(open(video, path));
        QCOMPARE(video.GetCodecName(), std::string("HDMV"));
        QVERIFY(video.restartSeeks);
        QCOMPARE(video.keyFrames.count, 1);
        const auto expected = pictureChecksums(plain);
        QCOMPARE(compareEach(video, {30, 29, 3, 2, 40, 0, 1}, expected), QString());
        video.Close();
        QVERIFY(!video.restartSeeks);
        QVERIFY(video.forceKeyEntry);
        QCOMPARE(video.GetCodecName(), std::string("HDMV"));
    }

    void open_doesNotRestart_forAnotherContainerOrTag()
    {
        QByteArray bytes = readFile(plain);
        QVERIFY(transportstream::registerFirstStream(bytes, "HDMX"));
        FFVideo video;
        QVERIFY(open(video, writeFile(folder.path(), "hdmx.ts", bytes)));
        QCOMPARE(video.GetCodecName(), std::string("HDMX"));
        QVERIFY(!video.restartSeeks);
    }

    void open_takesTheTagOfFourCharacters()
    {
        FFVideo video;
        QVERIFY(open(video, make("tag.avi", {"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=0.4", "-c:v", "mjpeg"})));
        QCOMPARE(video.GetCodecName(), std::string("MJPG"));
        video.SetCodecByName("other");
        QCOMPARE(video.GetCodecName(), std::string("other"));
        QCOMPARE(video.decoderName, std::string("other"));
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
        QVERIFY(open(video, plain, false));
        QCOMPARE(video.frameCount, 1234);
        QCOMPARE(video.currentFrame, -1);
        QCOMPARE(video.keyFrames.count, 1);
        QVERIFY(!video.keyFrames.complete);
    }

    void open_makesATable_whenTheOneThatWasLoadedIsEmptyAndIncomplete()
    {
        const QString empty = writeFile(folder.path(), "empty.kft", "KFT\nname\n0 0 0\n");
        FFVideo video;
        QVERIFY(video.LoadKeyTable(QFile::encodeName(empty).constData()));
        QVERIFY(open(video, plain));
        QCOMPARE(video.currentFrame, 0);
        QCOMPARE(video.keyFrames.count, 1);
    }

    void close_leavesWhatTheNextOpenResets()
    {
        FFVideo video;
        QVERIFY(video.Close()); // nothing is open
        QVERIFY(open(video, plain));
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
        QVERIFY(open(video, plain, false));
        QVERIFY(video.Close());
        QVERIFY(video.keyFrames.complete);
        QVERIFY(video.keyFrames.count > 0);
        QVERIFY(open(video, anamorph));
        QCOMPARE(video.frameCount, 0);
        Picture picture;
        for (const int number : {0, 1, 5}) {
            QVERIFY(!video.Read(number, picture));
            QCOMPARE(video.lastError, 30);
        }
    }

    void reopen_readsAnotherFile_afterATableThatWasNotCompleted()
    {
        FFVideo video;
        QVERIFY(open(video, plain));
        QVERIFY(open(video, anamorph));
        QCOMPARE(video.height, 576);
        QCOMPARE(video.currentFrame, 0);
        QCOMPARE(compareEach(video, {0, 5, 2}, pictureChecksums(anamorph)), QString());
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
        QVERIFY(open(video, plain));
        QVERIFY(video.Close());
        QVERIFY(!video.Read(7, picture));
        QVERIFY(!video.SetAudioRange(0, 10));
    }

    void listCodecs_namesTheVideoCodecs()
    {
        FFVideo video;
        const std::list<std::string> codecs = video.GetListCodecs();
        QVERIFY(FFVideo::registered);
        const auto has = [&](const char *name) {
            return std::find(codecs.begin(), codecs.end(), name) != codecs.end();
        };
        QVERIFY(has("mpeg2video"));
        QVERIFY(has("h264"));
        QVERIFY(!has("aac"));
        QVERIFY(!has("mp2"));
        QVERIFY(std::count(codecs.begin(), codecs.end(), "mpeg2video") == 2); // decoder and encoder
    }
};

QTEST_GUILESS_MAIN(TestFFVideoOpen)
#include "tst_ffvideo_open.moc"
