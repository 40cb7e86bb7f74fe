#include "thumbs/pictureconversion.h"

#include "tests/support/capturedoutput.h"
#include "tests/support/testclass.h"
#include "tests/thumbs/expectedrgb.h"
#include "video/bridgeimage.h"

#include <array>
#include <memory>
#include <random>

using namespace quorvale;

Q_DECLARE_METATYPE(FFPixelFormat)

namespace {

constexpr bool kHalvedRows = true;

// A picture whose planes have not a byte more than their rows need, filled with seeded noise.
class NoisePicture
{
public:
    NoisePicture(FFPixelFormat format, int width, int height, std::array<int, 4> strides, bool halvedRows = false)
    {
        picture.format = format;
        picture.width = width;
        picture.height = height;
        for (int plane = 0; plane < 4; ++plane) {
            const int stride = strides.at(plane);
            if (stride == 0)
                break;
            picture.planes = plane + 1;
            picture.stride[plane] = stride;
            const int size = stride * rows(plane, halvedRows);
            planes.at(plane).reset(new std::uint8_t[std::size_t(size)]); // exactly: a sanitizer sees one byte more
            for (int i = 0; i < size; ++i)
                planes.at(plane)[std::size_t(i)] = std::uint8_t(noise());
            picture.data[plane] = planes.at(plane).get();
        }
    }

    // The visible part of the planes, as a program would write them without padding. Chroma of an odd height gets a
    // last row that the picture does not have, which no one may look at.
    [[nodiscard]] RawPicture packed(bool halvedRows) const
    {
        RawPicture raw{picture.width, picture.height, {}};
        for (int plane = 0; plane < 3; ++plane) {
            const int width = plane == 0 ? picture.width : (picture.width + 1) / 2;
            for (int row = 0; row < rows(plane, halvedRows); ++row)
                raw.bytes.append(sample(plane, row), width);
            if (halvedRows && plane > 0 && picture.height % 2 != 0)
                raw.bytes.append(QByteArray(width, '\xAA'));
        }
        return raw;
    }

    [[nodiscard]] const char *sample(int plane, int row) const
    {
        return reinterpret_cast<const char *>(picture.data[plane] + picture.stride[plane] * row);
    }

    BridgeImage picture;

private:
    [[nodiscard]] int rows(int plane, bool halvedRows) const
    {
        return halvedRows && plane > 0 ? picture.height / 2 : picture.height;
    }

    std::mt19937 noise{20240229};
    std::array<std::unique_ptr<std::uint8_t[]>, 4> planes;
};

} // namespace

class TestPictureConversion : public QObject
{
    Q_OBJECT

private slots:
    void rgbPicture_convertsEveryPixel_ofPlanarPictures_data()
    {
        QTest::addColumn<FFPixelFormat>("format");
        QTest::addColumn<bool>("halvedRows");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("padding");
        const auto add = [](const char *name, FFPixelFormat format, bool halvedRows) {
            const QList<QSize> sizes{{64, 48}, {63, 48}, {64, 47}, {61, 45}, {2, 2}, {3, 3}, {1, 2}};
            for (const QSize size : sizes) {
                for (const int padding : {0, 13}) {
                    QTest::addRow("%s %dx%d padded by %d", name, size.width(), size.height(), padding)
                        << format << halvedRows << size << padding;
                }
            }
        };
        add("4:2:0", FF_PIX_YUV420P, kHalvedRows);
        add("4:2:0 full range", FF_PIX_YUVJ420P, kHalvedRows);
        add("4:2:2", FF_PIX_YUV422P, false);
        add("4:2:2 full range", FF_PIX_YUVJ422P, false);
    }
    void rgbPicture_convertsEveryPixel_ofPlanarPictures()
    {
        QFETCH(FFPixelFormat, format);
        QFETCH(bool, halvedRows);
        QFETCH(QSize, size);
        QFETCH(int, padding);
        const int chromaStride = (size.width() + 1) / 2 + padding;
        const NoisePicture noise(format, size.width(), size.height(),
                                 {size.width() + padding, chromaStride, chromaStride, 0}, halvedRows);
        CapturedOutput capture(stderr);
        const QImage rgb = rgbPicture(noise.picture);
        QCOMPARE(capture.text(), QByteArray());
        QCOMPARE(rgb.format(), QImage::Format_RGB888);
        QCOMPARE(rgb, expectedFromPlanes(noise.packed(halvedRows), halvedRows));
    }

    void rgbPicture_isTheSameToTheLastBit_forEverySample()
    {
        // One picture per value of Cr: luma from left to right, Cb from top to bottom. A pair of columns shares its
        // chroma, so every luma comes twice.
        constexpr int kValues = 256;
        std::vector<std::uint8_t> luma(kValues * kValues);
        std::vector<std::uint8_t> cb(luma.size() / 2);
        std::vector<std::uint8_t> cr(luma.size() / 2);
        for (int row = 0; row < kValues; ++row) {
            for (int column = 0; column < kValues; ++column) {
                luma[std::size_t(row) * kValues + column] = std::uint8_t(column);
                cb[(std::size_t(row) * kValues + column) / 2] = std::uint8_t(row);
            }
        }
        BridgeImage picture;
        picture.format = FF_PIX_YUV422P;
        picture.width = picture.height = kValues;
        picture.planes = 3;
        picture.data[0] = luma.data();
        picture.data[1] = cb.data();
        picture.data[2] = cr.data();
        picture.stride[0] = kValues;
        picture.stride[1] = picture.stride[2] = kValues / 2;
        for (int redDifference = 0; redDifference < kValues; ++redDifference) {
            std::fill(cr.begin(), cr.end(), std::uint8_t(redDifference));
            const QImage rgb = rgbPicture(picture);
            for (int row = 0; row < kValues; ++row) {
                const uchar *pixel = rgb.constScanLine(row);
                for (int column = 0; column < kValues; ++column, pixel += 3) {
                    const QRgb expected = expectedPixel(column, row, redDifference);
                    if (qRgb(pixel[0], pixel[1], pixel[2]) != expected)
                        QFAIL(
                            qPrintable(QStringLiteral("differs at %1 %2 %3").arg(column).arg(row).arg(redDifference)));
                }
            }
        }
    }

    void rgbPicture_wrapsNegativeChannels_andLimitsLargeOnesTo255()
    {
        const auto pixel = [](std::uint8_t y, std::uint8_t cb, std::uint8_t cr) {
            BridgeImage picture;
            picture.format = FF_PIX_YUV422P;
            picture.width = picture.height = 1;
            picture.planes = 3;
            std::array<std::uint8_t, 3> samples{y, cb, cr};
            for (std::size_t plane = 0; plane < 3; ++plane) {
                picture.data[plane] = &samples.at(plane);
                picture.stride[plane] = 1;
            }
            return rgbPicture(picture).pixel(0, 0);
        };
        QCOMPARE(pixel(255, 127, 127), qRgb(255, 255, 255));
        QCOMPARE(pixel(0, 127, 127), qRgb(0, 0, 0));
        QCOMPARE(qBlue(pixel(0, 0, 127)), 256 - 235);
        QCOMPARE(qRed(pixel(0, 127, 0)), 256 - 199); // -199.9996, truncated
        QCOMPARE(qRed(pixel(255, 127, 255)), 255);
        QCOMPARE(qBlue(pixel(255, 255, 127)), 255);
        QCOMPARE(qGreen(pixel(255, 0, 0)), 255);
        QCOMPARE(pixel(128, 128, 128), expectedPixel(128, 128, 128)); // the neutral grey of a broadcast is not grey
    }

    void rgbPicture_copiesRgb24_atItsStride_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("stride");
        QTest::newRow("no padding") << 64 << 192;
        QTest::newRow("rows of no multiple of 4") << 33 << 99;
        QTest::newRow("padded to a multiple of 4") << 33 << 100;
        QTest::newRow("padded further") << 33 << 160;
    }
    void rgbPicture_copiesRgb24_atItsStride()
    {
        QFETCH(int, width);
        QFETCH(int, stride);
        const NoisePicture noise(FF_PIX_RGB24, width, 21, {stride, 0, 0, 0});
        RawPicture raw{width, 21, {}};
        for (int row = 0; row < 21; ++row)
            raw.bytes.append(noise.sample(0, row), width * 3);
        CapturedOutput capture(stderr);
        const QImage rgb = rgbPicture(noise.picture);
        QCOMPARE(capture.text(), QByteArray());
        QCOMPARE(rgb.format(), QImage::Format_RGB888);
        QCOMPARE(rgb, expectedFromBytes(raw, width * 3));
    }

    void rgbPicture_showsTheBytesOfOtherLayouts_andSaysSo_data()
    {
        QTest::addColumn<FFPixelFormat>("format");
        QTest::addColumn<int>("bytesPerPixel");
        QTest::addColumn<int>("planes");
        const auto add = [](const char *name, FFPixelFormat format, int bytesPerPixel, int planes) {
            QTest::newRow(name) << format << bytesPerPixel << planes;
        };
        add("BGR24", FF_PIX_BGR24, 3, 1);
        add("ARGB", FF_PIX_ARGB, 4, 1);
        add("RGBA", FF_PIX_RGBA, 4, 1);
        add("ABGR", FF_PIX_ABGR, 4, 1);
        add("BGRA", FF_PIX_BGRA, 4, 1);
        add("16 bits a channel", FF_PIX_6, 6, 1);
        add("UYVY, two bytes a pixel", FF_PIX_UYVY422, 2, 1);
        add("4:2:2 of 10 bits", FF_PIX_19, 2, 3);
        add("4:4:4 of 10 bits", FF_PIX_21, 2, 3);
        add("4:4:4 with alpha, 10 bits", FF_PIX_22, 2, 4);
        add("one byte a pixel", FF_PIX_GRAY8, 1, 1);
        add("no name", FF_PIX_NONE, 2, 1);
    }
    void rgbPicture_showsTheBytesOfOtherLayouts_andSaysSo()
    {
        QFETCH(FFPixelFormat, format);
        QFETCH(int, bytesPerPixel);
        QFETCH(int, planes);
        constexpr int kWidth = 31;
        constexpr int kHeight = 17;
        for (const int padding : {0, 1, 33}) {
            const int stride = kWidth * bytesPerPixel + padding;
            std::array<int, 4> strides{};
            std::fill_n(strides.begin(), planes, stride);
            const NoisePicture noise(format, kWidth, kHeight, strides);
            const RawPicture raw{kWidth, kHeight, QByteArray(noise.sample(0, 0), stride * kHeight)};
            CapturedOutput capture(stderr);
            const QImage rgb = rgbPicture(noise.picture);
            QCOMPARE(capture.text(), QByteArray("Invalid pixel format\n"));
            QCOMPARE(rgb, expectedFromBytes(raw, stride));
        }
    }

    void rgbPicture_leavesBlack_whatHasNoSample()
    {
        // Rows shorter than the picture, in one plane after the other.
        const QList<std::array<int, 4>> shortStrides{{40, 32, 32, 0}, {64, 20, 20, 0}, {64, 20, 32, 0}};
        for (const auto &strides : shortStrides) {
            const NoisePicture noise(FF_PIX_YUV420P, 64, 48, strides, kHalvedRows);
            const QImage rgb = rgbPicture(noise.picture);
            const auto luma = std::uint8_t(*noise.sample(0, 0));
            const auto cb = std::uint8_t(*noise.sample(1, 0));
            const auto cr = std::uint8_t(*noise.sample(2, 0));
            QCOMPARE(rgb.pixel(0, 0), expectedPixel(luma, cb, cr));
            for (int row = 0; row < 48; ++row)
                QCOMPARE(rgb.pixel(41, row), qRgb(0, 0, 0));
        }
        // The second chroma plane is walked with the stride of the first, and ends early.
        const NoisePicture noise(FF_PIX_YUV422P, 64, 48, {64, 32, 16, 0});
        const QImage rgb = rgbPicture(noise.picture);
        QCOMPARE(rgb.pixel(0, 1), expectedPixel(std::uint8_t(*noise.sample(0, 1)), std::uint8_t(*noise.sample(1, 1)),
                                                noise.picture.data[2][32]));
        QVERIFY(rgb.pixel(63, 23) != qRgb(0, 0, 0) || rgb.pixel(62, 23) != qRgb(0, 0, 0));
        for (int row = 24; row < 48; ++row)
            QCOMPARE(rgb.pixel(0, row), qRgb(0, 0, 0));
    }

    void rgbPicture_isBlack_forOneRowWithHalvedChroma()
    {
        const NoisePicture noise(FF_PIX_YUV420P, 16, 1, {16, 8, 8, 0}, kHalvedRows);
        const QImage rgb = rgbPicture(noise.picture);
        QCOMPARE(rgb.size(), QSize(16, 1));
        QCOMPARE(rgb.pixel(15, 0), qRgb(0, 0, 0));
    }

    void rgbPicture_isNull_withoutPixels()
    {
        BridgeImage picture;
        picture.format = FF_PIX_YUV420P;
        QVERIFY(rgbPicture(picture).isNull());
    }
};

TEST_CLASS(TestPictureConversion, QCoreApplication)
#include "tst_pictureconversion.moc"
