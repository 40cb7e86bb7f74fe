#include "tests/support/capturedoutput.h"
#include "tests/support/openvideo.h"
#include "tests/support/oracle.h"
#include "tests/support/picture.h"
#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "video/ffmpeg/compat.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

#include <cstring>

namespace {

enum Layout { Planar420, FullHeight, WithAlpha, Packed, Refused };

constexpr int kNoLabel = -1;

} // namespace

Q_DECLARE_METATYPE(Layout)

/// How Read copies each layout that a decoder can deliver.
class TestFFVideoRead : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;

    QString make(const QString &name, const QString &size, const QStringList &encoder) const
    {
        return makeWithFFmpeg(folder.path(), name,
                              QStringList{"-f", "lavfi", "-i", "testsrc2=r=25:d=0.2:s=" + size} + encoder);
    }

    QString makeRaw(const QString &format, const QString &size) const
    {
        return make(format + ".nut", size, {"-pix_fmt", format, "-c:v", "rawvideo"});
    }

private slots:
    void read_labelsAndCopies_eachLayout_data()
    {
        QTest::addColumn<QString>("format"); // libavutil's name of what the decoder delivers
        QTest::addColumn<QStringList>("encoder");
        QTest::addColumn<int>("label");
        QTest::addColumn<Layout>("layout");
        const auto raw = [](const char *format, int label, Layout layout) {
            QTest::newRow(format) << QString(format) << QStringList{"-pix_fmt", format, "-c:v", "rawvideo"} << label
                                  << layout;
        };
        const auto motionJpeg = [](const char *format, int label, Layout layout) {
            QTest::newRow(format) << QString(format) << QStringList{"-pix_fmt", format, "-c:v", "mjpeg"} << label
                                  << layout;
        };
        raw("yuv420p", FF_PIX_YUV420P, Planar420);
        motionJpeg("yuvj420p", FF_PIX_YUVJ420P, Planar420);
        raw("yuv422p", FF_PIX_YUV422P, FullHeight);
        motionJpeg("yuvj422p", FF_PIX_YUVJ422P, FullHeight);
        raw("yuv422p10le", FF_PIX_19, FullHeight);
        raw("yuv444p10le", FF_PIX_21, FullHeight);
        raw("yuva444p10le", FF_PIX_22, WithAlpha);
        raw("yuva444p16le", FF_PIX_23, WithAlpha);
        raw("rgb24", FF_PIX_RGB24, Packed);
        raw("bgr24", FF_PIX_BGR24, Packed);
        raw("uyvy422", FF_PIX_UYVY422, Packed);
        raw("argb", FF_PIX_ARGB, Packed);
        raw("rgba", FF_PIX_RGBA, Packed);
        raw("abgr", FF_PIX_ABGR, Packed);
        raw("bgra", FF_PIX_BGRA, Packed);
        raw("rgb48le", FF_PIX_6, Packed);
        raw("yuv444p", FF_PIX_YUV444P, Refused);
        raw("yuva444p", FF_PIX_18, Refused);
        raw("yuva422p16le", FF_PIX_20, Refused);
        raw("yuv422p16le", kNoLabel, Refused);
        motionJpeg("yuvj444p", kNoLabel, Refused);
        raw("rgba64le", kNoLabel, Refused);
        raw("gray16le", kNoLabel, Refused);
        raw("ya8", kNoLabel, Refused);
        raw("gray", kNoLabel, Refused);
        raw("nv12", kNoLabel, Refused);
        raw("yuv420p10le", kNoLabel, Refused);
        raw("yuv410p", kNoLabel, Refused);
    }
    void read_labelsAndCopies_eachLayout()
    {
        QFETCH(const QString, format);
        QFETCH(const QStringList, encoder);
        QFETCH(const int, label);
        QFETCH(const Layout, layout);
        const QString path = make(format + ".nut", "70x48", encoder);
        FFVideo video;
        QVERIFY(open(video, path));
        QCOMPARE(video.frame->format, int(av_get_pix_fmt(qPrintable(format))));

        Picture picture;
        picture.format = FF_PIX_7; // no decoder's
        std::memset(picture.stride, 0x55, sizeof picture.stride);
        CapturedOutput messages(stderr);
        const bool read = video.Read(0, picture);
        const QByteArray expectedMessage = label == kNoLabel ? QByteArray("FFMPEG pixel format is something else, ") +
                                                                   QByteArray::number(video.frame->format) + "\n"
                                                             : QByteArray();
        QCOMPARE(messages.text(), expectedMessage);

        QCOMPARE(read, layout != Refused);
        QCOMPARE(picture.width, 70);
        QCOMPARE(picture.height, 48);
        QCOMPARE(int(picture.format), label == kNoLabel ? int(FF_PIX_7) : label);
        if (layout == Refused) {
            QCOMPARE(video.lastError, 41);
            for (const std::uint8_t *plane : picture.data)
                QVERIFY(plane == nullptr);
            return;
        }
        const int planes = layout == Packed ? 1 : layout == WithAlpha ? 4 : 3;
        QCOMPARE(picture.planes, planes);
        for (int plane = 0; plane < 4; ++plane) {
            QCOMPARE(picture.stride[plane], plane < planes ? video.frame->linesize[plane] : 0);
            QCOMPARE(picture.data[plane] != nullptr, plane < planes);
        }
        QCOMPARE(checksum(picture, video.frame->format), pictureChecksums(path).value(0));
    }

    void read_copiesWholeRows_paddingIncluded()
    {
        FFVideo video;
        QVERIFY(open(video, make("padded.ts", "70x48", {"-c:v", "mpeg2video"})));
        Picture picture;
        QVERIFY(video.Read(1, picture));
        QVERIFY(picture.stride[0] > 70);
        for (int plane = 0; plane < 3; ++plane) {
            const int rows = plane == 0 ? 48 : 24;
            QCOMPARE(std::memcmp(picture.data[plane], video.frame->data[plane],
                                 std::size_t(rows) * std::size_t(picture.stride[plane])),
                     0);
        }
    }

    void read_roundsTheChromaRowsDown_ofAnOddHeight()
    {
        const QString path =
            make("odd.nut", "64x48", {"-vf", "scale=63:49", "-pix_fmt", "yuv420p", "-c:v", "rawvideo"});
        FFVideo video;
        QVERIFY(open(video, path));
        Picture picture;
        QVERIFY(video.Read(0, picture));
        QCOMPARE(picture.width, 63);
        QCOMPARE(picture.height, 49);
        QCOMPARE(picture.stride[1], video.frame->linesize[1]);
        // 24 rows, the last of which is the 24th of 25. The allocation's size shows under a memory checker.
        for (int plane = 1; plane < 3; ++plane) {
            const std::size_t bytes = std::size_t(24) * std::size_t(picture.stride[plane]);
            QCOMPARE(std::memcmp(picture.data[plane], video.frame->data[plane], bytes), 0);
        }
    }

    void read_turnsABottomUpPictureOver()
    {
        // The header of an AVI file says with a negative height that the rows begin at the top. Taken away, the same
        // bytes are a picture upside down.
        const QString upright = make("upright.avi", "64x48", {"-pix_fmt", "bgr24", "-c:v", "rawvideo"});
        QByteArray bytes = readFile(upright);
        const auto header = bytes.indexOf("strf");
        QVERIFY(header > 0);
        char *height = bytes.data() + header + 16;
        QCOMPARE(qFromLittleEndian<qint32>(height), -48);
        qToLittleEndian<qint32>(48, height);
        const QString path = writeFile(folder.path(), "bottomup.avi", bytes);

        FFVideo video;
        QVERIFY(open(video, path));
        QVERIFY(video.frame->linesize[0] < 0);
        Picture picture;
        QVERIFY(video.Read(0, picture));
        QCOMPARE(picture.stride[0], -video.frame->linesize[0]);
        QCOMPARE(picture.planes, 1);
        QCOMPARE(checksum(picture, video.frame->format), pictureChecksums(path).value(0));

        FFVideo reference;
        QVERIFY(open(reference, upright));
        QVERIFY(reference.frame->linesize[0] > 0);
        Picture topDown;
        QVERIFY(reference.Read(0, topDown));
        QCOMPARE(topDown.stride[0], picture.stride[0]);
        for (int row = 0; row < 48; ++row) {
            QCOMPARE(std::memcmp(picture.data[0] + row * picture.stride[0],
                                 topDown.data[0] + (47 - row) * topDown.stride[0], 64 * 3),
                     0);
        }
    }

    void read_goesByTheReadersHeight_inABottomUpPicture()
    {
        QByteArray bytes = readFile(make("upright2.avi", "64x48", {"-pix_fmt", "bgr24", "-c:v", "rawvideo"}));
        qToLittleEndian<qint32>(48, bytes.data() + bytes.indexOf("strf") + 16);
        FFVideo video;
        QVERIFY(open(video, writeFile(folder.path(), "bottomup2.avi", bytes)));
        video.height = 10; // as if the pictures had grown since Open
        Picture few;
        QVERIFY(video.Read(0, few));
        QCOMPARE(few.height, 48);
        QCOMPARE(std::memcmp(few.data[0], video.frame->data[0], 64 * 3), 0);
        QCOMPARE(QByteArray(reinterpret_cast<char *>(few.data[0]) + 10 * few.stride[0], few.stride[0]),
                 QByteArray(few.stride[0], '\0'));
        video.height = 1000; // or shrunk: no more rows than there are
        Picture many;
        QVERIFY(video.Read(0, many));
        QCOMPARE(checksum(many, video.frame->format), checksum(*video.frame));
    }

    void read_saysSo_whenTheDecoderHoldsNoPicture()
    {
        FFVideo video;
        QVERIFY(open(video, makeRaw("rgb24", "64x48")));
        av_frame_unref(video.frame);
        Picture picture;
        CapturedOutput messages(stderr);
        const bool read = video.Read(0, picture);
        QCOMPARE(messages.text(), QByteArray("FFMPEG doesn't know\n"));
        QVERIFY(!read);
        QCOMPARE(video.lastError, 41);
        QCOMPARE(int(picture.format), int(FF_PIX_NONE));
        QVERIFY(picture.data[0] == nullptr);
    }

    void read_ignoresTheFormatThatWasAskedFor()
    {
        FFVideo video;
        QVERIFY(open(video, makeRaw("uyvy422", "64x48")));
        video.SetPixelFormat(FF_PIX_RGB24);
        Picture picture;
        QVERIFY(video.Read(2, picture));
        QCOMPARE(int(picture.format), int(FF_PIX_UYVY422));
    }

    void read_handsOutPlanesOfTheirOwn()
    {
        FFVideo video;
        QVERIFY(open(video, make("own.ts", "64x48", {"-c:v", "mpeg2video"})));
        Picture first;
        Picture again;
        QVERIFY(video.Read(1, first));
        QVERIFY(video.Read(1, again));
        QVERIFY(first.data[0] != again.data[0]);
        const QByteArray before = checksum(first, video.frame->format);
        again.clear();
        QVERIFY(video.Read(2, again));
        QVERIFY(checksum(again, video.frame->format) != before);
        video.Close();
        QCOMPARE(checksum(first, AV_PIX_FMT_YUV420P), before);
    }
};

TEST_CLASS(TestFFVideoRead, QCoreApplication)
#include "tst_ffvideo_read.moc"
