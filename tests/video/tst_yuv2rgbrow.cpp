#include "tests/support/testclass.h"
#include "video/colour/yuv2rgbrow.h"
#include "video/yuv2rgb.h"

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

using namespace quorvale;

namespace {

using Bytes = std::vector<std::uint8_t>;

// A buffer of exactly `size` bytes, so that a memory checker sees the first byte beyond it.
std::unique_ptr<std::uint8_t[]> exactly(const Bytes &bytes)
{
    std::unique_ptr<std::uint8_t[]> copy(new std::uint8_t[bytes.size()]);
    std::copy(bytes.begin(), bytes.end(), copy.get());
    return copy;
}

Bytes noise(std::size_t size, unsigned seed)
{
    std::minstd_rand random(seed);
    Bytes bytes(size);
    for (std::uint8_t &byte : bytes)
        byte = static_cast<std::uint8_t>(random() >> 8);
    return bytes;
}

// Pixel by pixel.
Bytes expectedRow(const Bytes &luma, const Bytes &cb, const Bytes &cr)
{
    Bytes rgb;
    rgb.reserve(3 * luma.size());
    for (std::size_t x = 0; x < luma.size(); ++x) {
        int r = 0;
        int g = 0;
        int b = 0;
        yuv2rgb(luma[x], cb[x / 2], cr[x / 2], r, g, b);
        for (const int channel : {r, g, b})
            rgb.push_back(static_cast<std::uint8_t>(channel));
    }
    return rgb;
}

void addKernels()
{
    QTest::addColumn<int>("index");
    for (std::size_t index = 0; index < yuv2rgbKernels().size(); ++index)
        QTest::newRow(yuv2rgbKernels()[index].name) << int(index);
}

const Yuv2RgbKernel &kernelOfThisRow()
{
    QFETCH(const int, index);
    return yuv2rgbKernels()[std::size_t(index)];
}

} // namespace

/// Whole rows, with every kernel that this processor runs, against the conversion of single pixels.
class TestYuv2RgbRow : public QObject
{
    Q_OBJECT

private slots:
    void kernels_endWithThePlainOne()
    {
        QVERIFY(!yuv2rgbKernels().empty());
        QCOMPARE(QByteArray(yuv2rgbKernels().back().name), QByteArray("plain"));
    }

    void toRgb_isTheSameToTheLastBit_forEveryInput_data() { addKernels(); }
    void toRgb_isTheSameToTheLastBit_forEveryInput()
    {
        ChromaRow chroma(kernelOfThisRow());
        Bytes luma(256);
        for (int y = 0; y < 256; ++y)
            luma[std::size_t(y)] = static_cast<std::uint8_t>(y);
        Bytes rgb(3 * luma.size());
        static std::vector<Bytes> expected; // by Cb and Cr, the same for all kernels
        for (int u = 0; u < 256; ++u) {
            for (int v = 0; v < 256; ++v) {
                const Bytes cb(128, static_cast<std::uint8_t>(u));
                const Bytes cr(128, static_cast<std::uint8_t>(v));
                chroma.assign(cb.data(), cr.data(), cb.size());
                chroma.toRgb(luma.data(), luma.size(), rgb.data());
                const auto row = std::size_t(256 * u + v);
                if (row == expected.size())
                    expected.push_back(expectedRow(luma, cb, cr));
                if (rgb != expected[row])
                    QFAIL(qPrintable(QStringLiteral("differs for Cb %1, Cr %2").arg(u).arg(v)));
            }
        }
    }

    void toRgb_wrapsANegativeChannel_toItsLowEightBits_data() { addKernels(); }
    void toRgb_wrapsANegativeChannel_toItsLowEightBits()
    {
        const std::uint8_t luma[] = {0, 1};
        const std::uint8_t cb[] = {0};
        const std::uint8_t cr[] = {127};
        std::uint8_t rgb[6] = {};
        ChromaRow chroma(kernelOfThisRow());
        chroma.assign(cb, cr, 1);
        chroma.toRgb(luma, 2, rgb);
        QCOMPARE(int(rgb[2]), 256 - 235); // -235.66, truncated toward zero
        QCOMPARE(int(rgb[5]), 256 - 234);
    }

    // Below, at and above the width of every kind of vector, and of the blocks that a row is taken in.
    void toRgb_convertsTheColumnsAskedFor_andTouchesNothingElse_data() { addKernels(); }
    void toRgb_convertsTheColumnsAskedFor_andTouchesNothingElse()
    {
        constexpr std::uint8_t kUntouched = 0xA5;
        ChromaRow chroma(kernelOfThisRow());
        std::vector<std::size_t> widths{511, 512, 513, 514, 720, 1023, 1024, 1025, 1920, 4097};
        for (std::size_t columns = 0; columns < 100; ++columns)
            widths.push_back(columns);
        for (const std::size_t columns : widths) {
            const Bytes luma = noise(columns, 1 + unsigned(columns));
            const Bytes cb = noise((columns + 1) / 2, 2 + unsigned(columns));
            const Bytes cr = noise((columns + 1) / 2, 3 + unsigned(columns));
            Bytes rgb(3 * columns + 64, kUntouched);
            chroma.assign(exactly(cb).get(), exactly(cr).get(), cb.size());
            chroma.toRgb(exactly(luma).get(), columns, rgb.data());
            Bytes expected = expectedRow(luma, cb, cr);
            expected.resize(rgb.size(), kUntouched);
            QVERIFY2(rgb == expected, qPrintable(QString::number(columns)));
        }
    }

    void toRgb_usesTheSameChroma_forASecondRow_data() { addKernels(); }
    void toRgb_usesTheSameChroma_forASecondRow()
    {
        ChromaRow chroma(kernelOfThisRow());
        const Bytes cb = noise(300, 4);
        const Bytes cr = noise(300, 5);
        chroma.assign(cb.data(), cr.data(), cb.size());
        for (const unsigned seed : {6U, 7U}) {
            const Bytes luma = noise(600, seed);
            Bytes rgb(1800);
            chroma.toRgb(luma.data(), luma.size(), rgb.data());
            QVERIFY(rgb == expectedRow(luma, cb, cr));
        }
    }

    void assign_replacesTheChroma_byAShorterOrLongerRow_data() { addKernels(); }
    void assign_replacesTheChroma_byAShorterOrLongerRow()
    {
        ChromaRow chroma(kernelOfThisRow());
        for (const std::size_t samples : {1000U, 3U, 257U}) {
            const Bytes cb = noise(samples, 8);
            const Bytes cr = noise(samples, 9);
            const Bytes luma = noise(2 * samples, 10);
            Bytes rgb(6 * samples);
            chroma.assign(cb.data(), cr.data(), samples);
            chroma.toRgb(luma.data(), luma.size(), rgb.data());
            QVERIFY(rgb == expectedRow(luma, cb, cr));
        }
    }

    void toRgb_usesTheFirstKernel_unlessAnotherIsNamed()
    {
        const Bytes luma = noise(64, 11);
        const Bytes cb = noise(32, 12);
        const Bytes cr = noise(32, 13);
        ChromaRow chroma;
        Bytes rgb(192);
        chroma.assign(cb.data(), cr.data(), cb.size());
        chroma.toRgb(luma.data(), luma.size(), rgb.data());
        QVERIFY(rgb == expectedRow(luma, cb, cr));
    }
};

TEST_CLASS(TestYuv2RgbRow, QCoreApplication)
#include "tst_yuv2rgbrow.moc"
