#include "tests/support/oracle.h"
#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/audiopieces.h"
#include "tests/video/everypicture.h"
#include "video/ffmpeg/compat.h"
#include "video/ffvideo.h"

namespace {

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

private slots:
    void initTestCase()
    {
        TestStream stream{"tone.ts", words("-c:v mpeg2video -q:v 5 -bf 0 -c:a mp2 -b:a 128k")};
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
        // 48000 to skip; whole pieces are dropped at once, and the one in which the range begins, too. Then a rate of
        // 1152 samples a picture. Single precision gives one sample less than 48000 * (10 * 0.04), and 3455.9998.
        const QVector<QVector<int>> cases = {{25, 1, 25, 49, 48000 % kMp2Samples, 48000},
                                             {125, 3, 10, 12, 0, 3 * kMp2Samples - 1},
                                             {25, 1, 0, 9, 0, 19199}};
        for (const QVector<int> &one : cases) {
            FFVideo video;
            QVERIFY(open(video, path));
            video.SetFrameRate(one[0], one[1]);
            QVERIFY(video.SetAudioRange(one[2], one[3]));
            QCOMPARE(video.audioSkipSamples, one[4]);
            QCOMPARE(video.audioSamplesLeft, one[5]);
            QCOMPARE(video.currentFrame, 0); // untouched
        }
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

    void setRange_beginsWhereTheReaderIs_whenTheFileCannotBeRewound()
    {
        FFVideo video;
        QVERIFY(open(video, path));
        QVERIFY(video.seekToFrame(70));
        video.formatContext->pb->seek = nullptr;
        QVERIFY(video.SetAudioRange(0, 4));
        QVERIFY(video.SetAudioRange(1, 4));
        const Piece piece = readPiece(video);
        QCOMPARE(piece.status, 1);
        QVERIFY(!audioSamples(path, "s16le").left(9 * 1920 * 4).contains(piece.bytes));
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
        TestStream stream{"tone.mp4", words("-c:v libx264 -preset ultrafast -bf 0 -g 10 -c:a aac"), 50};
        stream.sound = true;
        const QString mp4 = makeStream(folder.path(), stream);
        FFVideo video;
        QVERIFY(open(video, mp4));
        QVERIFY(!readRange(video, 3, 5).isEmpty());
        QCOMPARE(compareEach(video, {0, 1, 30, 7}, pictureChecksums(mp4)), QString());
    }
};

TEST_CLASS(TestFFVideoAudio, QCoreApplication)
#include "tst_ffvideo_audio.moc"
