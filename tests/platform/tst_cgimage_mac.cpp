#include "platform/cgimage_mac.h"
#include "tests/fakes/fakeimages.h"
#include "tests/fakes/liveobjects.h"

#include <QImage>
#include <QTest>

#include <memory>

namespace {

struct ImageReleaser
{
    void operator()(CGImageRef image) const { fakes::releaseObject(image); }
};
using Image = std::unique_ptr<std::remove_pointer_t<CGImageRef>, ImageReleaser>;

/// Bytes that differ from each other in every pixel and component; opaque.
std::vector<fakes::Rgba> gradient(std::size_t width, std::size_t height)
{
    std::vector<fakes::Rgba> pixels;
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x)
            pixels.push_back({std::uint8_t(10 + x), std::uint8_t(100 + y), std::uint8_t(200 + x), 255});
    }
    return pixels;
}

} // namespace

class TestCGImageMac : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_objectsBefore = fakes::liveObjects(); }
    void cleanup() { QCOMPARE(fakes::liveObjects(), m_objectsBefore); }

    void pixmap_hasTheImagesPixels_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::newRow("one pixel") << 1 << 1;
        QTest::newRow("odd sizes") << 7 << 3;
        QTest::newRow("tall") << 2 << 50;
        QTest::newRow("wide") << 50 << 2;
    }
    void pixmap_hasTheImagesPixels()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        const std::vector<fakes::Rgba> pixels = gradient(std::size_t(width), std::size_t(height));
        const Image image(fakes::makeImage(std::size_t(width), std::size_t(height), pixels));

        const QImage result = fromCGImageRef(image.get()).toImage();
        QCOMPARE(result.size(), QSize(width, height));
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                const fakes::Rgba &expected = pixels[std::size_t(y) * std::size_t(width) + std::size_t(x)];
                QCOMPARE(result.pixel(x, y), qRgba(expected[0], expected[1], expected[2], 255));
            }
        }
    }

    void pixmap_keepsAlphaAndTakesPremultipliedColoursAsTheyAre_whereTheImageIsTranslucent()
    {
        // Half-transparent pure red, premultiplied: 128, 0, 0, 128. It is not divided by its alpha.
        const Image image(fakes::makeImage(1, 1, {{128, 0, 0, 128}}));
        const QPixmap pixmap = fromCGImageRef(image.get());
        QVERIFY(pixmap.hasAlphaChannel());
        const QRgb pixel = pixmap.toImage().convertToFormat(QImage::Format_ARGB32).pixel(0, 0);
        QCOMPARE(qAlpha(pixel), 128);
        // Qt keeps its pixmaps premultiplied, which costs up to one step of rounding here.
        QVERIFY2(qAbs(qRed(pixel) - 128) <= 1, qPrintable(QString::number(qRed(pixel))));
        QCOMPARE(qGreen(pixel), 0);
        QCOMPARE(qBlue(pixel), 0);
    }

    void pixmap_outlivesTheImage()
    {
        Image image(fakes::makeImage(2, 1, {{1, 2, 3, 255}, {4, 5, 6, 255}}));
        const QPixmap pixmap = fromCGImageRef(image.get());
        image.reset();
        QCOMPARE(pixmap.toImage().pixel(0, 0), qRgb(1, 2, 3));
        QCOMPARE(pixmap.toImage().pixel(1, 0), qRgb(4, 5, 6));
    }

    void pixmap_isNull_forAnImageWithoutPixelsOrOneThatCannotBeHeld()
    {
        QVERIFY(fromCGImageRef(nullptr).isNull());
        constexpr std::size_t kOne = 1;
        const std::pair<std::size_t, std::size_t> sizes[] = {
            {0, 0}, {5, 0}, {kOne << 40U, kOne << 40U}, {kOne << 29U, 1}, {1, kOne << 31U}};
        for (const auto &[width, height] : sizes) {
            const Image image(fakes::makeImage(width, height, {}));
            QVERIFY(fromCGImageRef(image.get()).isNull());
        }
    }

    void pixmap_isNull_whenTheSystemGivesNoContext()
    {
        const Image image(fakes::makeImage(1, 1, {{1, 2, 3, 255}}));
        fakes::refuseContexts(true);
        const QPixmap pixmap = fromCGImageRef(image.get());
        fakes::refuseContexts(false);
        QVERIFY(pixmap.isNull());
    }

private:
    int m_objectsBefore = 0;
};

QTEST_MAIN(TestCGImageMac)
#include "tst_cgimage_mac.moc"
