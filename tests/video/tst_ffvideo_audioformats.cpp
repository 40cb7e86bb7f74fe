#include "tests/support/oracle.h"
#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/audiopieces.h"
#include "video/ffmpeg/compat.h"
#include "video/ffvideo.h"

/// Sound of every sample format, of real captures and of damaged streams, compared with what the ffmpeg program
/// decodes.
class TestFFVideoAudioFormats : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;

    QString makeSound(const QString &name, const QStringList &encoder, const QString &sound) const
    {
        return makeWithFFmpeg(folder.path(), name,
                              QStringList{"-f", "lavfi", "-i", "testsrc2=s=64x48:r=25:d=1", "-f", "lavfi", "-i", sound,
                                          "-c:v", "mpeg2video"} +
                                  encoder);
    }

private slots:
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
        // As if the stream had changed its format: what the piece cannot fill is silence.
        skipping.audioBitsPerSample *= 2;
        skipping.audioChannels = 4;
        skipping.audioSamplesLeft = piece.samples / 4 * 3;
        const QByteArray wide = readPiece(skipping).bytes;
        QCOMPARE(int(wide.size()), piece.samples / 4 * 3 * 4 * skipping.audioBitsPerSample / 8);
        QCOMPARE(wide.right(sampleSize), QByteArray(sampleSize, '\0'));
        QVERIFY(skipping.SetAudioRange(0, 9));
        skipping.audioSkipSamples = 100;
        skipping.audioChannels = INT_MAX; // No buffer is so large.
        QVERIFY(readPiece(skipping).bytes.isEmpty());
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
        video.audioSkipSamples = piece.samples / 2 + 1; // Skipped in a plane as if all channels were in it.
        QCOMPARE(readPiece(video).bytes.count('\0'), (piece.samples - piece.samples / 2 - 1) * 8);
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

TEST_CLASS(TestFFVideoAudioFormats, QCoreApplication)
#include "tst_ffvideo_audioformats.moc"
