// Pictures of sizes that no recorder makes are refused before there is memory for them.

#include "tests/support/hugestreams.h"
#include "tests/support/openvideo.h"
#include "tests/support/picture.h"
#include "tests/support/processfacts.h"
#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"

namespace {

// Less than a single one of the pictures takes, far more than everything else here, under a memory checker, too.
constexpr qint64 kMostKiB = 192 * 1024;

} // namespace

class TestFFVideoHugePictures : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        if (!processfacts::available())
            QSKIP("needs to see how much memory there is");
        // First, what the libraries allocate once and keep.
        const QString small = makeStream(dir.path(), {"small.ts", {"-c:v", "mpeg2video", "-f", "mpegts"}, 12});
        const QString raw = makeStream(dir.path(), {"small.h264", {"-c:v", "libx264", "-bf", "0", "-f", "h264"}, 60});
        mpeg2 = readFile(small);
        h264 = readFile(raw);
        QVERIFY(!mpeg2.isEmpty() && !h264.isEmpty());
        for (const QString &path : {small, raw}) {
            FFVideo video;
            QVERIFY(open(video, path));
            Picture picture;
            QVERIFY(video.Read(5, picture));
        }
    }

    void pictures_ofAbsurdSizes_areRefused_beforeThereIsMemory_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("H.264, 16000x16000") << hugestreams::h264(16000, 16000, 30);
        QTest::newRow("H.264, a line of 4,000,000 pixels") << hugestreams::h264(4000000, 16, 30);
        QTest::newRow("H.264, just too large") << hugestreams::h264(8192, 4368, 30);
        QTest::newRow("PNG, 16000x16000") << hugestreams::png(16000, 16000);
        QTest::newRow("PNG, 30000x8000") << hugestreams::png(30000, 8000);
        QByteArray patched = mpeg2;
        QVERIFY(hugestreams::widenMpeg2(patched, 3));
        QTest::newRow("MPEG-2, 12608x12528") << patched;
        const QString avi = makeStream(dir.path(), {"small.avi", {"-c:v", "ffv1", "-level", "3", "-f", "avi"}, 1});
        patched = readFile(avi);
        const auto format = patched.indexOf("strf") + 12; // of the stream: biWidth and biHeight
        QVERIFY(format > 12);
        QTest::newRow("FFV1, sides of 31 bits")
            << patched.replace(format, 8, QByteArray("\xFF\xFF\xFF\x7F", 4).repeated(2));
        // In a program stream, probing learns of a stream when it meets its first packet.
        const QString program = makeStream(dir.path(), {"small.mpg", {"-c:v", "mpeg2video", "-f", "vob"}, 12});
        patched = readFile(program);
        QVERIFY(hugestreams::widenMpeg2(patched, 3));
        QTest::newRow("MPEG-2 in a program stream, 12608x12528") << patched;
    }
    void pictures_ofAbsurdSizes_areRefused_beforeThereIsMemory()
    {
        QFETCH(QByteArray, content);
        const QString path = writeFile(dir.path(), "huge", content);
        const qint64 before = processfacts::mostAddressesKiB();
        FFVideo video;
        // Where the container knows the size, the file does not open; where only the decoder does, it decodes nothing.
        if (open(video, path)) {
            for (const int number : {0, 3, 150}) {
                Picture picture;
                QVERIFY(!video.Read(number, picture));
                QVERIFY(picture.data[0] == nullptr);
            }
        } else {
            QCOMPARE(video.lastError, std::int32_t(FFVideo::FF_ERROR_OPEN));
        }
        const qint64 taken = processfacts::mostAddressesKiB() - before;
        QVERIFY2(taken < kMostKiB, qPrintable(QStringLiteral("%1 KiB").arg(taken)));
    }

    void read_endsBeforePictures_thatBecomeAbsurd()
    {
        const QString path = writeFile(dir.path(), "grows.h264", h264 + hugestreams::h264(16000, 16000, 30));
        const qint64 before = processfacts::mostAddressesKiB();
        FFVideo video;
        QVERIFY(open(video, path));
        Picture picture;
        QVERIFY(video.Read(20, picture));
        picture.clear();
        QVERIFY(!video.Read(200, picture));
        QVERIFY(picture.data[0] == nullptr);
        const qint64 taken = processfacts::mostAddressesKiB() - before;
        QVERIFY2(taken < kMostKiB, qPrintable(QStringLiteral("%1 KiB").arg(taken)));
    }

    void open_takesTheLargestPictures_thatThereAre()
    {
        const QString path = makeWithFFmpeg(dir.path(), "8k.mkv",
                                            {"-f", "lavfi", "-i", "color=s=7680x4320", "-c:v", "ffv1", "-level", "3",
                                             "-slices", "256", "-frames:v", "1"});
        FFVideo video;
        QVERIFY(!path.isEmpty() && open(video, path));
        QCOMPARE(video.width, 7680);
        QCOMPARE(video.height, 4320);
    }

private:
    const QTemporaryDir dir;
    QByteArray mpeg2;
    QByteArray h264;
};

TEST_CLASS(TestFFVideoHugePictures, quorvale::NoApplication)
#include "tst_ffvideo_hugepictures.moc"
