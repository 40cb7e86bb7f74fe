#include "tests/support/picture.h"
#include "tests/support/testclass.h"
#include "tests/video/openstreams.h"
#include "video/ffvideo.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::int64_t kNoTimestamp = std::numeric_limits<std::int64_t>::min();

} // namespace

/// What the reader knows about a file before and after it is opened.
class TestFFVideoFacts : public QObject
{
    Q_OBJECT

private:
    OpenStreams streams;

private slots:
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
        QVERIFY(open(video, streams.plain()));
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

    void open_keepsThatThereIsNoAudio()
    {
        FFVideo video;
        QVERIFY(open(video, streams.anamorph()));
        QVERIFY(!video.hasAudio);
        QVERIFY(video.audioStream < 0);
        QVERIFY(video.audioCodec == nullptr);
    }

    void open_correctsTheWidth_byTheSampleAspectRatio()
    {
        FFVideo video;
        QVERIFY(open(video, streams.anamorph()));
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
        const QString path =
            streams.make(field + ".ts", {"-f", "lavfi", "-i", "testsrc2=s=128x96:r=25:d=1", "-c:v", "libx264",
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
        QVERIFY(open(video, streams.rawHevc()));
        QCOMPARE(video.fieldOrder, 3);
    }

    void open_takesTheColourSpace_fromTheStream()
    {
        const QString path = streams.make("bt709.ts", {"-f", "lavfi", "-i", "testsrc2=s=128x96:r=25:d=1", "-c:v",
                                                       "libx264", "-preset", "ultrafast", "-colorspace", "bt709"});
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
        const QString path = streams.make(QString("%1.mkv").arg(QTest::currentDataTag()),
                                          QStringList{"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=0.4", "-f", "lavfi",
                                                      "-i", "sine=d=0.4", "-c:v", "mpeg2video"} +
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
        QVERIFY(open(video, streams.rawHevc()));
        QCOMPARE(video.frameRateNum, 25);
        QCOMPARE(video.frameCount, 0);
    }

    void open_takesTheTagOfFourCharacters()
    {
        FFVideo video;
        QVERIFY(open(video,
                     streams.make("tag.avi", {"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=0.4", "-c:v", "mjpeg"})));
        QCOMPARE(video.GetCodecName(), std::string("MJPG"));
        video.SetCodecByName("other");
        QCOMPARE(video.GetCodecName(), std::string("other"));
        QCOMPARE(video.decoderName, std::string("other"));
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

TEST_CLASS(TestFFVideoFacts, QCoreApplication)
#include "tst_ffvideo_facts.moc"
