#include "tests/support/testclass.h"
#include "tools/testpicture/blockcode.h"

#include <vector>

using namespace quorvale;

namespace {

constexpr std::uint8_t kGrey = 128;

std::vector<std::uint8_t> greyPicture(int stride, int height)
{
    return std::vector<std::uint8_t>(std::size_t(stride) * std::size_t(height), kGrey);
}

void fillCell(std::vector<std::uint8_t> &luma, int width, int height, int cell, std::uint8_t level)
{
    for (int y = height / 12; y < 2 * height / 12; ++y)
        for (int x = cell * width / 20; x < (cell + 1) * width / 20; ++x)
            luma[std::size_t(y) * std::size_t(width) + std::size_t(x)] = level;
}

} // namespace

class TestBlockCode : public QObject
{
    Q_OBJECT

private slots:
    void draw_putsEachCellWhereItsFormatSays_inOneRowOfTwenty()
    {
        const int width = 200;
        const int height = 120;
        auto luma = greyPicture(width, height);
        drawBlockCode(luma.data(), width, height, width, 0b1010'0000'0000'0111);
        const QByteArray cells = "10"
                                 "1010000000000111"
                                 "1"
                                 "0"; // five bits are set: odd
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const int expected = y < 10 || y >= 20 ? kGrey : cells[x / 10] == '1' ? 235 : 16;
                QCOMPARE(int(luma[std::size_t(y * width + x)]), expected);
            }
    }

    void read_returnsTheDrawnNumber_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        for (const auto &size : {QSize(20, 12), QSize(39, 23), QSize(160, 90), QSize(218, 120), QSize(416, 234),
                                 QSize(704, 576), QSize(721, 577), QSize(1440, 1080), QSize(1920, 1080)})
            QTest::addRow("%dx%d", size.width(), size.height()) << size.width() << size.height();
    }
    void read_returnsTheDrawnNumber()
    {
        QFETCH(const int, width);
        QFETCH(const int, height);
        const int stride = width + 13;
        auto luma = greyPicture(stride, height);
        for (unsigned number = 0; number <= 0xFFFF; number += 257) {
            drawBlockCode(luma.data(), width, height, stride, number);
            QCOMPARE(readBlockCode(luma.data(), width, height, stride), std::optional<unsigned>(number));
        }
        for (int y = 0; y < height; ++y)
            for (int x = width; x < stride; ++x)
                QCOMPARE(luma[std::size_t(y) * std::size_t(stride) + std::size_t(x)], kGrey);
    }

    void read_returnsEveryNumber_ofSixteenBits()
    {
        auto luma = greyPicture(40, 24);
        for (unsigned number = 0; number <= 0xFFFF; ++number) {
            drawBlockCode(luma.data(), 40, 24, 40, number);
            QCOMPARE(readBlockCode(luma.data(), 40, 24, 40), std::optional<unsigned>(number));
        }
    }

    void read_returnsTheLowSixteenBits_ofALargerNumber()
    {
        auto luma = greyPicture(40, 24);
        drawBlockCode(luma.data(), 40, 24, 40, 0x5'1234);
        QCOMPARE(readBlockCode(luma.data(), 40, 24, 40), std::optional<unsigned>(0x1234));
    }

    void read_returnsTheNumber_whenTheLevelsWereSqueezed()
    {
        auto luma = greyPicture(160, 90);
        drawBlockCode(luma.data(), 160, 90, 160, 4711);
        for (auto &sample : luma)
            sample = std::uint8_t(90 + sample / 3);
        QCOMPARE(readBlockCode(luma.data(), 160, 90, 160), std::optional<unsigned>(4711));
    }

    void read_returnsNothing_withoutContrast()
    {
        auto luma = greyPicture(160, 90);
        QCOMPARE(readBlockCode(luma.data(), 160, 90, 160), std::optional<unsigned>());
        drawBlockCode(luma.data(), 160, 90, 160, 4711);
        for (auto &sample : luma)
            sample = std::uint8_t(255 - sample); // the first cell is black, the second one white
        QCOMPARE(readBlockCode(luma.data(), 160, 90, 160), std::optional<unsigned>());
        drawBlockCode(luma.data(), 160, 90, 160, 4711);
        for (auto &sample : luma)
            sample = std::uint8_t(100 + sample / 4);
        QCOMPARE(readBlockCode(luma.data(), 160, 90, 160), std::optional<unsigned>());
    }

    void read_returnsNothing_whenOneBitIsWrong()
    {
        for (int cell = 2; cell <= 18; ++cell) {
            auto luma = greyPicture(200, 120);
            drawBlockCode(luma.data(), 200, 120, 200, 0);
            fillCell(luma, 200, 120, cell, 235);
            QCOMPARE(readBlockCode(luma.data(), 200, 120, 200), std::optional<unsigned>());
        }
    }

    void read_returnsNothing_whenTheLastCellIsWhite()
    {
        auto luma = greyPicture(200, 120);
        drawBlockCode(luma.data(), 200, 120, 200, 0);
        fillCell(luma, 200, 120, 19, 235);
        QCOMPARE(readBlockCode(luma.data(), 200, 120, 200), std::optional<unsigned>());
    }

    void drawAndRead_leaveThePictureAlone_whenItIsTooSmallForACode()
    {
        for (const auto &size : {QSize(19, 100), QSize(100, 11), QSize(0, 0)}) {
            auto luma = greyPicture(100, 100);
            drawBlockCode(luma.data(), size.width(), size.height(), 100, 1);
            QCOMPARE(luma, greyPicture(100, 100));
            QCOMPARE(readBlockCode(luma.data(), size.width(), size.height(), 100), std::optional<unsigned>());
        }
    }
};

TEST_CLASS(TestBlockCode, QCoreApplication)
#include "tst_blockcode.moc"
