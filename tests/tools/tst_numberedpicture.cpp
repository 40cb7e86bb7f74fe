#include "tests/support/testclass.h"
#include "tools/testpicture/numberedpicture.h"

#include "tools/testpicture/blockcode.h"
#include "tools/testpicture/digits.h"

#include <set>
#include <vector>

using namespace quorvale;

using Bytes = std::vector<std::uint8_t>;

namespace {

Bytes drawn(const PictureFormat &format, unsigned number, unsigned look = 0)
{
    Bytes bytes(format.size() + 1, 77); // one byte more, which must stay
    drawNumberedPicture(bytes.data(), format, number, look);
    return bytes;
}

Bytes rows(const Bytes &bytes, std::size_t offset, int width, int height, int parity)
{
    Bytes field;
    for (int y = parity; y < height; y += 2) {
        const auto row = bytes.begin() + std::ptrdiff_t(offset) + std::ptrdiff_t(y) * width;
        field.insert(field.end(), row, row + width);
    }
    return field;
}

} // namespace

class TestNumberedPicture : public QObject
{
    Q_OBJECT

private slots:
    void size_countsThePlanesAsRawVideoDoes_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::addColumn<bool>("is422");
        QTest::addColumn<int>("size");
        QTest::newRow("4:2:0") << 720 << 576 << false << 720 * 576 + 2 * 360 * 288;
        QTest::newRow("4:2:2") << 720 << 576 << true << 720 * 576 + 2 * 360 * 576;
        QTest::newRow("4:2:0, odd") << 35 << 27 << false << 35 * 27 + 2 * 18 * 14;
        QTest::newRow("4:2:2, odd") << 35 << 27 << true << 35 * 27 + 2 * 18 * 27;
    }
    void size_countsThePlanesAsRawVideoDoes()
    {
        QFETCH(const int, width);
        QFETCH(const int, height);
        QFETCH(const bool, is422);
        QFETCH(const int, size);
        const PictureFormat format{width, height, is422 ? ChromaFormat::Yuv422 : ChromaFormat::Yuv420, false};
        QCOMPARE(format.size(), std::size_t(size));
        // Every byte is drawn and none after the last one.
        auto bytes = drawn(format, 3);
        QCOMPARE(int(bytes.back()), 77);
        Bytes again(format.size() + 1, 78);
        drawNumberedPicture(again.data(), format, 3);
        bytes.back() = again.back();
        QCOMPARE(bytes, again);
    }

    void picture_saysItsNumber_inEveryShape()
    {
        for (const bool interlaced : {false, true})
            for (const auto chroma : {ChromaFormat::Yuv420, ChromaFormat::Yuv422})
                for (const unsigned number : {0u, 1u, 255u, 12345u, 65535u}) {
                    const PictureFormat format{352, 288, chroma, interlaced};
                    const auto bytes = drawn(format, number);
                    QCOMPARE(readBlockCode(bytes.data(), 352, 288, 352), std::optional<unsigned>(number));
                }
    }

    void picture_keepsToTheLimitedRange()
    {
        const PictureFormat format{352, 288, ChromaFormat::Yuv420, true};
        for (unsigned number = 0; number < 300; number += 7) {
            const auto bytes = drawn(format, number, number);
            const auto luma = std::minmax_element(bytes.begin(), bytes.begin() + std::ptrdiff_t(format.lumaSize()));
            QVERIFY(*luma.first >= 16 && *luma.second <= 235);
            const auto chroma = std::minmax_element(bytes.begin() + std::ptrdiff_t(format.lumaSize()), bytes.end() - 1);
            QVERIFY(*chroma.first >= 16 && *chroma.second <= 240);
        }
    }

    void background_movesInEveryPlane_fromPictureToPicture()
    {
        const PictureFormat format{352, 288, ChromaFormat::Yuv420, false};
        for (unsigned number = 0; number < 260; ++number) {
            const auto before = drawn(format, number);
            const auto after = drawn(format, number + 1);
            const auto changes = [&](std::size_t from, std::size_t size) {
                std::size_t count = 0;
                for (std::size_t i = from; i < from + size; ++i)
                    count += before[i] != after[i] ? 1 : 0;
                return count;
            };
            QVERIFY(changes(0, format.lumaSize()) > format.lumaSize() / 20);
            QVERIFY(changes(format.lumaSize(), format.chromaSize()) > format.chromaSize() / 20);
            QVERIFY(changes(format.lumaSize() + format.chromaSize(), format.chromaSize()) > format.chromaSize() / 20);
        }
    }

    void fields_areHalfAPictureApart_whenInterlaced()
    {
        const PictureFormat progressive{352, 288, ChromaFormat::Yuv420, false};
        const PictureFormat interlaced{352, 288, ChromaFormat::Yuv420, true};
        const auto whole = drawn(progressive, 40);
        const auto woven = drawn(interlaced, 40);
        QCOMPARE(rows(woven, 0, 352, 288, 0), rows(whole, 0, 352, 288, 0));
        QVERIFY(rows(woven, 0, 352, 288, 1) != rows(whole, 0, 352, 288, 1));
        const std::size_t cb = interlaced.lumaSize();
        QCOMPARE(rows(woven, cb, 176, 144, 0), rows(whole, cb, 176, 144, 0));
        QVERIFY(rows(woven, cb, 176, 144, 1) != rows(whole, cb, 176, 144, 1));
    }

    void looks_differInColour()
    {
        const PictureFormat format{176, 144, ChromaFormat::Yuv420, false};
        std::set<Bytes> looks;
        for (unsigned look = 0; look < 7; ++look)
            looks.insert(drawn(format, 0, look));
        QCOMPARE(looks.size(), std::size_t(7));
    }

    void digits_areDrawnAsTheFontHasThem_inTheMiddle()
    {
        // Height 36 makes a dot of one pixel: "17" is 13 dots wide and 9 high with its border.
        const int width = 33;
        const int height = 36;
        Bytes luma(std::size_t(width * height), 100);
        drawDigits(luma.data(), width, height, width, 17);
        const std::vector<QByteArray> expected{
            ".............", "...#...#####.", "..##.......#.", "...#......#..", "...#.....#...",
            "...#....#....", "...#....#....", "..###...#....", ".............",
        };
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const int column = x - 10;
                const int row = y - 13;
                const bool inBox = column >= 0 && column < 13 && row >= 0 && row < 9;
                const int level = !inBox ? 100 : expected[std::size_t(row)][column] == '#' ? 235 : 16;
                QCOMPARE(int(luma[std::size_t(y * width + x)]), level);
            }
    }

    void digits_areDistinct_forEveryDigit()
    {
        std::set<Bytes> pictures;
        for (unsigned digit = 0; digit < 10; ++digit) {
            Bytes luma(80 * 72, 100);
            drawDigits(luma.data(), 80, 72, 80, digit);
            pictures.insert(luma);
        }
        QCOMPARE(pictures.size(), std::size_t(10));
    }

    void digits_areLeftOut_whenADotIsSmallerThanAPixel()
    {
        const Bytes grey(12 * 100, 100);
        Bytes luma = grey;
        drawDigits(luma.data(), 12, 100, 12, 17); // 13 dots
        QCOMPARE(luma, grey);
        drawDigits(luma.data(), 34, 35, 34, 1);
        QCOMPARE(luma, grey);
    }
};

TEST_CLASS(TestNumberedPicture, QCoreApplication)
#include "tst_numberedpicture.moc"
