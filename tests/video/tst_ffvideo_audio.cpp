#include "tests/support/oracle.h"
#include "tests/support/teststreams.h"
#include "tests/video/everypicture.h"
#include "video/ffmpeg_compat.h"
#include "video/ffvideo.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <cstring>
#include <memory>

namespace {

// One call of ReadAudioFrame.
struct Piece
{
    int status = -1;
    QByteArray bytes;
    int samples = 0;
    bool delivered = false;
};

Piece readPiece(FFVideo &video)
{
    unsigned char *buffer = nullptr;
    int bytes = -1;
    Piece piece;
    piece.status = video.ReadAudioFrame(buffer, bytes, piece.samples);
    const std::unique_ptr<unsigned char[]> owner(buffer);
    piece.delivered = buffer != nullptr;
    if (piece.delivered)
        piece.bytes = QByteArray(reinterpret_cast<const char *>(buffer), bytes);
    return piece;
}

constexpr int kMp2Samples = 1152; // per channel, in one coded piece

} // namespace

/// Sound of a range of pictures, compared with what the ffmpeg program decodes.
class TestFFVideoAudio : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    QString path; // 100 pictures at 25 a second, MP2 at 48000 Hz in stereo
    QString silent;

    static bool open(FFVideo &video, const QString &file)
    {
        return video.Open(QFile::encodeName(file).constData(), true, FFVideo::FF_ACCESS_READ);
    }

    QString makeSound(const QString &name, const QStringList &encoder, const QString &sound) const
    {
        return makeWithFFmpeg(folder.path(), name,
                              QStringList{"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=1", "-f", "lavfi", "-i", sound,
                                          "-c:v", "mpeg2video"} +
                                  encoder);
    }

    // Everything from the pictures `first` to `last`.
    static QByteArray readRange(FFVideo &video, int first, int last)
    {
        QByteArray all;
        if (!video.SetAudioRange(first, last))
            return all;
        for (;;) {
            const Piece piece = readPiece(video);
            all += piece.bytes;
            if (piece.status != FFVideo::FF_AUDIO_MORE && piece.status != FFVideo::FF_AUDIO_SKIPPED)
                return all;
        }
    }

private slots:
    void initTestCase()
    {
        TestStream stream;
        stream.fileName = "tone.ts";
        stream.encoder = QStringList{"-c:v", "mpeg2video", "-q:v", "5", "-bf", "0", "-c:a", "mp2", "-b:a", "128k"};
        stream.sound = true;
        path = makeStream(folder.path(), stream);
        QVERIFY(!path.isEmpty());
        stream.fileName = "silent.ts";
        stream.sound = false;
        stream.encoder = QStringList{"-c:v", "mpeg2video"};
        stream.frames = 20;
        silent = makeStream(folder.path(), stream);
        QVERIFY(!silent.isEmpty());
    }

    void everything_isRefused_withoutAudio()
    {
        FFVideo video;
        QVERIFY(open(video, silent));
        QVERIFY(!video.SetAudioRange(0, 10));
        unsigned char mark = 7;
        unsigned char *buffer = &mark;
        int bytes = 11;
        int samples = 12;
        QCOMPARE(video.ReadAudioFrame(buffer, bytes, samples), 0);
        QCOMPARE(buffer, &mark);
        QCOMPARE(bytes, 11);
        QCOMPARE(samples, 12);
        QCOMPARE(video.currentFrame, 0);
    }

    void format_isTheOneThatOpenFound()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        int bits = 0;
        int channels = 0;
        int rate = 0;
        FFAudioFormat format = FF_AUDIO_UNKNOWN;
        video.GetAudioFormat(bits, channels, rate, format);
        QCOMPARE(bits, video.audioBitsPerSample);
        QCOMPARE(channels, 2);
        QCOMPARE(rate, 48000);
        QVERIFY(format == video.audioFormat);
    }

    void setRange_skipsAndLimits_inSamples()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        video.SetFrameRate(25, 1);
        QVERIFY(video.SetAudioRange(25, 49));
        // 48000 to skip; whole pieces are dropped at once, and the one in which the range begins, too.
        QCOMPARE(video.audioSkipSamples, 48000 % kMp2Samples);
        QCOMPARE(video.audioSamplesLeft, 48000);
        QCOMPARE(video.currentFrame, 0); // untouched
    }

    void setRange_stopsAtOnce_wherePiecesEndAtTheStart()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        video.SetFrameRate(125, 3); // 1152 samples a picture
        QVERIFY(video.SetAudioRange(10, 12));
        QCOMPARE(video.audioSkipSamples, 0);
        QCOMPARE(video.audioSamplesLeft, 3 * kMp2Samples - 1); // single precision: 3455.9998
    }

    void setRange_countsInSinglePrecision()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        QVERIFY(video.SetAudioRange(0, 9));
        QCOMPARE(video.audioSamplesLeft, 19199); // 48000 * (10 * 0.04)
    }

    void setRange_setsNoLimit_upToTheLastPicture()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        QVERIFY(video.SetAudioRange(0, video.frameCount));
        QCOMPARE(video.audioSkipSamples, 0);
        QCOMPARE(video.audioSamplesLeft, -1);
        const Piece piece = readPiece(video);
        QCOMPARE(piece.status, 0); // one piece, then the end, as ever
        QCOMPARE(piece.samples, kMp2Samples);
        QCOMPARE(int(piece.bytes.size()), kMp2Samples * 2 * video.audioBitsPerSample / 8);
        QCOMPARE(video.currentFrame, -1); // rewound
    }

    void setRange_fails_beyondTheEnd()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        QVERIFY(!video.SetAudioRange(10000, 10010));
        QCOMPARE(video.audioSamplesLeft, 11 * 1920); // set all the same
    }

    void setRange_survivesRatesOfNonsense()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        for (const auto &rate : {qMakePair(0, 1), qMakePair(0, 0), qMakePair(1, INT_MAX), qMakePair(-25, 1)}) {
            video.SetFrameRate(rate.first, rate.second);
            video.SetAudioRange(5, 9);
            readPiece(video);
            video.SetAudioRange(INT_MIN, INT_MAX);
            readPiece(video);
            video.SetAudioRange(0, INT_MIN);
            const Piece piece = readPiece(video);
            QVERIFY(piece.samples >= 0);
        }
        video.SetFrameRate(0, 1);
        QVERIFY(!video.SetAudioRange(5, 9)); // endless to skip
        QCOMPARE(video.audioSamplesLeft, INT_MAX);
    }

    void read_deliversTheSamplesOfTheRange()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        const QByteArray all = audioSamples(path, "s16le");
        QVERIFY(!all.isEmpty());
        QCOMPARE(int(video.audioFormat), int(FF_AUDIO_S16));
        const int bytesPerPicture = 1920 * 2 * 2;

        const QByteArray beginning = readRange(video, 0, 24);
        QCOMPARE(int(beginning.size()), 25 * bytesPerPicture);
        QCOMPARE(beginning, all.left(25 * bytesPerPicture));

        // The piece in which the range begins is dropped, and what was left to skip is taken off the next one: the
        // sound begins one piece late.
        const int late = kMp2Samples * 2 * 2;
        const QByteArray middle = readRange(video, 25, 49);
        QCOMPARE(int(middle.size()), 25 * bytesPerPicture);
        // Decoding starts afresh after the rewind, but not the filter's memory; it has settled long before.
        QCOMPARE(middle, all.mid(25 * bytesPerPicture + late, 25 * bytesPerPicture));
    }

    void read_endsWithStatus3_afterTheLastPieceOfTheRange()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        QVERIFY(video.SetAudioRange(0, 1)); // 3840 samples: 3 pieces and 384 samples
        QList<int> statuses;
        QList<int> samples;
        for (int call = 0; call < 4; ++call) {
            const Piece piece = readPiece(video);
            statuses.append(piece.status);
            samples.append(piece.samples);
            QVERIFY(piece.delivered);
            QCOMPARE(int(piece.bytes.size()), piece.samples * 4);
        }
        QCOMPARE(statuses, (QList<int>{1, 1, 1, 3}));
        QCOMPARE(samples, (QList<int>{kMp2Samples, kMp2Samples, kMp2Samples, 384}));
    }

    void read_returns2_untilTheSkipIsUsedUp()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        QVERIFY(video.SetAudioRange(0, 9));
        video.audioSkipSamples = 2 * kMp2Samples + 100;
        for (int left = kMp2Samples + 100; left > 0; left -= kMp2Samples) {
            const Piece piece = readPiece(video);
            QCOMPARE(piece.status, 2);
            QVERIFY(!piece.delivered);
            QCOMPARE(video.audioSkipSamples, left);
        }
        const Piece piece = readPiece(video);
        QCOMPARE(piece.status, 1);
        QCOMPARE(piece.samples, kMp2Samples - 100);
        QCOMPARE(piece.bytes, audioSamples(path, "s16le").mid((2 * kMp2Samples + 100) * 4, (kMp2Samples - 100) * 4));
    }

    void read_deliversAnEmptyPiece_whenTheSkipIsExactlyThePiece()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        QVERIFY(video.SetAudioRange(0, 9));
        video.audioSkipSamples = kMp2Samples;
        const Piece piece = readPiece(video);
        QCOMPARE(piece.status, 1);
        QCOMPARE(piece.samples, 0);
        QVERIFY(piece.delivered);
    }

    void read_returns3WithNothing_atTheEndOfTheFile()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        QVERIFY(video.SetAudioRange(0, 100000));
        Piece piece;
        do
            piece = readPiece(video);
        while (piece.status == 1);
        QCOMPARE(piece.status, 3);
        QVERIFY(!piece.delivered);
        QCOMPARE(piece.samples, 0);
        QCOMPARE(video.currentFrame, -1);
    }

    void read_rewinds_soThatPicturesComeFromTheBeginningAgain()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        const auto expected = pictureChecksums(path);
        QCOMPARE(compareEach(video, {0, 1, 30}, expected), QString());
        QVERIFY(!readRange(video, 3, 5).isEmpty());
        QCOMPARE(video.currentFrame, -1);
        QVERIFY(!video.endOfStream);
        QCOMPARE(compareEach(video, {0, 1, 30, 7}, expected), QString());
    }

    void read_rewinds_aContainerThatHasNoBytePositions()
    {
        TestStream stream;
        stream.fileName = "tone.mp4";
        stream.encoder = QStringList{"-c:v", "libx264", "-preset", "ultrafast", "-bf", "0", "-g", "10", "-c:a", "aac"};
        stream.frames = 50;
        stream.sound = true;
        const QString mp4 = makeStream(folder.path(), stream);
        FFVideo video;
        QVERIFY(open(video, mp4));
        QVERIFY(!readRange(video, 3, 5).isEmpty());
        QCOMPARE(compareEach(video, {0, 1, 30, 7}, pictureChecksums(mp4)), QString());
    }

    void read_interleavesOrCopies_eachSampleFormat_data()
    {
        QTest::addColumn<QStringList>("encoder");
        QTest::addColumn<int>("decoded"); // libavutil's number
        QTest::addColumn<QString>("interleaved");
        QTest::newRow("u8") << QStringList{"-c:a", "pcm_u8"} << int(AV_SAMPLE_FMT_U8) << "u8";
        QTest::newRow("s16") << QStringList{"-c:a", "pcm_s16le"} << int(AV_SAMPLE_FMT_S16) << "s16le";
        QTest::newRow("s32") << QStringList{"-c:a", "pcm_s32le"} << int(AV_SAMPLE_FMT_S32) << "s32le";
        QTest::newRow("float") << QStringList{"-c:a", "pcm_f32le"} << int(AV_SAMPLE_FMT_FLT) << "f32le";
        QTest::newRow("double") << QStringList{"-c:a", "pcm_f64le"} << int(AV_SAMPLE_FMT_DBL) << "f64le";
        QTest::newRow("s16 planar") << QStringList{"-c:a", "alac", "-sample_fmt", "s16p"} << int(AV_SAMPLE_FMT_S16P)
                                    << "s16le";
        QTest::newRow("float planar") << QStringList{"-c:a", "aac"} << int(AV_SAMPLE_FMT_FLTP) << "f32le";
    }
    void read_interleavesOrCopies_eachSampleFormat()
    {
        QFETCH(const QStringList, encoder);
        QFETCH(const int, decoded);
        QFETCH(const QString, interleaved);
        const QString file = makeSound(QString("%1.mkv").arg(QTest::currentDataTag()), encoder,
                                       "aevalsrc=sin(2000*t)|cos(700*t)|t:s=48000:d=1.2:c=3.0");
        FFVideo video;
        QVERIFY(open(video, file));
        QCOMPARE(int(video.audioCodec->sample_fmt), decoded);
        QCOMPARE(video.audioChannels, 3);
        const int sampleSize = 3 * video.audioBitsPerSample / 8;
        const QByteArray all = audioSamples(file, interleaved);
        QVERIFY(!all.isEmpty());
        QCOMPARE(readRange(video, 0, 24), all.left(48000 * sampleSize));

        FFVideo skipping;
        QVERIFY(open(skipping, file));
        QVERIFY(skipping.SetAudioRange(0, 9));
        skipping.audioSkipSamples = 100;
        const Piece piece = readPiece(skipping);
        QCOMPARE(int(piece.bytes.size()), piece.samples * sampleSize);
        QCOMPARE(piece.bytes, all.mid(100 * sampleSize, piece.samples * sampleSize));
    }

    void read_handsOutTheFirstPlane_ofPlanar32BitIntegers()
    {
        const QString file = makeSound("s32p.mkv", {"-c:a", "alac", "-sample_fmt", "s32p"},
                                       "aevalsrc=sin(2000*t)|cos(700*t):s=48000:d=1");
        FFVideo video;
        QVERIFY(open(video, file));
        QCOMPARE(int(video.audioCodec->sample_fmt), int(AV_SAMPLE_FMT_S32P));
        QVERIFY(video.SetAudioRange(0, 9));
        const Piece piece = readPiece(video);
        QCOMPARE(piece.status, 1);
        QCOMPARE(int(piece.bytes.size()), piece.samples * 8);
        const QByteArray all = audioSamples(file, "s32le");
        for (int sample = 0; sample < piece.samples; ++sample)
            QCOMPARE(piece.bytes.mid(sample * 4, 4), all.mid(sample * 8, 4)); // the left channel
        QCOMPARE(piece.bytes.mid(piece.samples * 4), QByteArray(piece.samples * 4, '\0'));
    }

    void read_freesTheCallersBuffer_whenDecodingFails()
    {
        // The headers of the later coded pieces are taken away; their bytes stay.
        const QString file = makeSound("damaged.mkv", {"-c:a", "mp2"}, "sine=d=1:r=48000");
        QByteArray bytes = readFile(file);
        const QByteArray header = bytes.mid(bytes.indexOf(QByteArray("\xff\xfd", 2)), 2);
        QCOMPARE(header, QByteArray("\xff\xfd", 2));
        auto at = bytes.size() / 2;
        while ((at = bytes.indexOf(header, at)) >= 0)
            bytes.replace(at, 2, QByteArray(2, '\0'));
        FFVideo video;
        QVERIFY(open(video, writeFile(folder.path(), "nosync.mkv", bytes)));
        QVERIFY(video.SetAudioRange(0, 100000));
        Piece piece;
        unsigned char *buffer = nullptr;
        int size = 0;
        int samples = 0;
        int status = 1;
        for (int call = 0; call < 1000 && status == 1; ++call) {
            delete[] buffer;
            buffer = new unsigned char[16];
            unsigned char *handedIn = buffer;
            status = video.ReadAudioFrame(buffer, size, samples);
            if (status == 1)
                delete[] handedIn; // replaced, and still the caller's
        }
        QCOMPARE(status, 0);
        QVERIFY(buffer == nullptr);
        QCOMPARE(size, 0);
        QCOMPARE(video.currentFrame, -1);
        // Whoever starts a range with damage before its start does not get there.
        QVERIFY(!video.SetAudioRange(24, 24));
    }

    void capture_soundsLikeTheOracle_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("interleaved");
        QTest::newRow("MP2") << "mpeg2-704x576i-16x11-subs.ts"
                             << "s16le";
        QTest::newRow("AAC") << "h264-576i-12x11-bars.ts"
                             << "f32le";
    }
    void capture_soundsLikeTheOracle()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, interleaved);
        const auto capture = samplePath(name);
        if (!capture)
            QSKIP("the folder with real captures is not here");
        FFVideo video;
        QVERIFY(open(video, *capture));
        const QByteArray found = readRange(video, 0, 49);
        QCOMPARE(int(found.size()), 50 * 1920 * 2 * video.audioBitsPerSample / 8);
        QCOMPARE(found, audioSamples(*capture, interleaved).left(int(found.size())));
    }
};

QTEST_GUILESS_MAIN(TestFFVideoAudio)
#include "tst_ffvideo_audio.moc"
