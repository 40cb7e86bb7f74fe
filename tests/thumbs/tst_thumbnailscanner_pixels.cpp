#include "tests/support/testclass.h"
#include "tests/thumbs/rawpicture.h"
#include "tests/thumbs/scanrun.h"
#include "tools/testpicture/numberedstream.h"

using namespace quorvale;

using Arguments = std::vector<std::string>;
Q_DECLARE_METATYPE(NumberedStream)

namespace {

constexpr int kPicture = 5; // after a few B pictures, before the ones that a decoder holds back

enum class Conversion { HalvedRows, FullRows, Bytes };

QImage expectedPicture(const RawPicture &raw, Conversion conversion)
{
    if (conversion == Conversion::Bytes)
        return expectedFromBytes(raw, int(raw.bytes.size()) / raw.height);
    return expectedFromPlanes(raw, conversion == Conversion::HalvedRows);
}

} // namespace

Q_DECLARE_METATYPE(Conversion)

/// Whole recordings through the scanner, against pictures that the ffmpeg program decoded.
class TestThumbnailScannerPixels : public QObject
{
    Q_OBJECT

private slots:
    void scan_makesTheExpectedPixels_data()
    {
        QTest::addColumn<NumberedStream>("stream");
        QTest::addColumn<QString>("pixelFormat");
        QTest::addColumn<Conversion>("conversion");
        QTest::addColumn<QSize>("small");
        QTest::addColumn<QSize>("large");
        QTest::addColumn<bool>("known");

        const PictureFormat standard{720, 576, ChromaFormat::Yuv420, false};
        const PictureFormat interlaced{720, 576, ChromaFormat::Yuv420, true};
        const PictureFormat standard422{720, 576, ChromaFormat::Yuv422, false};
        const QSize small16x11(218, 120);
        const QSize large16x11(436, 240);
        const QSize smallSquare(150, 120);
        const QSize largeSquare(300, 240);
        const auto add = [](const char *name, PictureFormat picture, bool wide, const char *pixelFormat,
                            Conversion conversion, QSize small, QSize large, Arguments encoder, bool known = true) {
            NumberedStream stream;
            stream.picture = picture;
            stream.frames = 16;
            stream.sarNumerator = wide ? 16 : 1;
            stream.sarDenominator = wide ? 11 : 1;
            stream.encoderArguments = std::move(encoder);
            stream.encoderArguments.insert(stream.encoderArguments.begin(), {"-pix_fmt", pixelFormat});
            QTest::newRow(name) << stream << QString(pixelFormat) << conversion << small << large << known;
        };
        // MPEG-2 knows the shape of the display, not of the pixels: what is not 4:3 becomes 16:9.
        const Arguments mpeg2{"-c:v", "mpeg2video", "-q:v", "3", "-bf", "2", "-f", "mpegts"};
        const Arguments h264{"-c:v", "libx264", "-preset",     "ultrafast", "-bf",
                             "0",    "-tune",   "zerolatency", "-f",        "mpegts"};
        const Arguments mjpeg{"-c:v", "mjpeg", "-q:v", "3", "-f", "nut"};
        const Arguments ffv1{"-c:v", "ffv1", "-f", "nut"};
        const Arguments png{"-c:v", "png", "-f", "nut"}; // says its pixels' shape itself
        const Arguments raw{"-c:v", "rawvideo", "-f", "nut"};
        constexpr auto kHalved = Conversion::HalvedRows;
        constexpr auto kFull = Conversion::FullRows;
        constexpr auto kBytes = Conversion::Bytes;

        add("4:2:0, interlaced 16:9", interlaced, true, "yuv420p", kHalved, {213, 120}, {426, 240}, mpeg2);
        add("4:2:0, square", standard, false, "yuv420p", kHalved, smallSquare, largeSquare, mpeg2);
        add("4:2:0, H.264, 16:11", standard, true, "yuv420p", kHalved, small16x11, large16x11, h264);
        add("4:2:2, H.264, 16:11", standard422, true, "yuv422p", kFull, small16x11, large16x11, h264);
        add("4:2:2, square", standard422, false, "yuv422p", kFull, smallSquare, largeSquare, mpeg2);
        add("4:2:0 full range, H.264, 16:11", standard, true, "yuvj420p", kHalved, small16x11, large16x11, h264);
        add("4:2:0 full range, square", standard, false, "yuvj420p", kHalved, smallSquare, largeSquare, mjpeg);
        add("4:2:2 full range, square", standard422, false, "yuvj422p", kFull, smallSquare, largeSquare, mjpeg);
        add("RGB24, square", standard, false, "rgb24", kBytes, smallSquare, largeSquare, raw);
        add("RGB24, 16:11", standard, true, "rgb24", kBytes, small16x11, large16x11, png);

        const PictureFormat oddWidth{351, 288, ChromaFormat::Yuv420, false};
        const PictureFormat oddHeight{352, 287, ChromaFormat::Yuv420, false};
        const PictureFormat odd{353, 287, ChromaFormat::Yuv420, false};
        const PictureFormat odd422{353, 287, ChromaFormat::Yuv422, false};
        add("odd width", oddWidth, false, "yuv420p", kHalved, {146, 120}, {292, 240}, ffv1);
        add("odd height", oddHeight, false, "yuv420p", kHalved, {147, 120}, {294, 240}, ffv1);
        add("odd width and height", odd, false, "yuv420p", kHalved, {147, 120}, {295, 240}, ffv1);
        add("odd width and height, planes without padding", odd, false, "yuv420p", kHalved, {147, 120}, {295, 240},
            raw);
        add("odd width and height, 4:2:2", odd422, false, "yuv422p", kFull, {147, 120}, {295, 240}, ffv1);
        add("odd width and height, RGB24", odd, false, "rgb24", kBytes, {147, 120}, {295, 240}, raw);

        add("BGR24 is shown as it comes", standard, false, "bgr24", kBytes, smallSquare, largeSquare, raw, false);
        add("RGBA is shown as it comes", standard, false, "rgba", kBytes, smallSquare, largeSquare, raw, false);
        add("UYVY, two bytes a pixel", standard422, false, "uyvy422", kBytes, smallSquare, largeSquare, raw, false);
    }
    void scan_makesTheExpectedPixels()
    {
        QFETCH(NumberedStream, stream);
        QFETCH(QString, pixelFormat);
        QFETCH(Conversion, conversion);
        QFETCH(QSize, small);
        QFETCH(QSize, large);
        QFETCH(bool, known);
        const QTemporaryDir dir;
        const QString path = dir.filePath("recording");
        stream.path = path.toStdString();
        const ProcessEnd encoded = encodeNumberedStream(stream);
        QVERIFY2(encoded.ok(), encoded.errors.c_str());

        const RawPicture raw = rawPicture(path, kPicture, pixelFormat, {stream.picture.width, stream.picture.height});
        QVERIFY(!raw.bytes.isEmpty());
        const QImage expected = expectedPicture(raw, conversion);
        const Qt::AspectRatioMode aspect = stream.sarNumerator == 1 ? Qt::KeepAspectRatio : Qt::IgnoreAspectRatio;
        const QSize smallBox = stream.sarNumerator == 1 ? QSize(160, 120) : small;
        const QSize largeBox = stream.sarNumerator == 1 ? QSize(320, 240) : large;

        const ScanResult result = runScan(QStringList{path}, kPicture, 900);
        QCOMPARE(result.errors, known ? QByteArray() : QByteArray("Invalid pixel format\n"));
        QCOMPARE(result.events, (QStringList{"gotThumbs " + path, "finished"}));
        const ScannedSeries &series = result.series.at(0);
        QCOMPARE(series.small.size(), std::size_t(1));
        QCOMPARE(series.large.size(), std::size_t(1));
        QVERIFY(series.largeIsDense);
        QCOMPARE(series.small.at(0).size(), small);
        QCOMPARE(series.large.at(0).size(), large);
        compare(series.small.at(0), expected.scaled(smallBox, aspect, Qt::SmoothTransformation));
        compare(series.large.at(0), expected.scaled(largeBox, aspect, Qt::SmoothTransformation));
        if (known && conversion != Conversion::Bytes)
            QCOMPARE(numbersIn(series.large), (std::vector<std::optional<unsigned>>{kPicture}));
    }

private:
    // Both in the format that a pixmap has, and without its density.
    static void compare(QImage actual, const QImage &expected)
    {
        actual.setDevicePixelRatio(1.0);
        QCOMPARE(actual.convertToFormat(QImage::Format_RGB32), expected.convertToFormat(QImage::Format_RGB32));
    }
};

TEST_CLASS(TestThumbnailScannerPixels, QApplication)
#include "tst_thumbnailscanner_pixels.moc"
