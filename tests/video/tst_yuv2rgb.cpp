#include "tests/support/bt709.h"
#include "tests/support/testclass.h"
#include "video/yuv2rgb.h"

namespace {

struct Rgb
{
    int r = -1000;
    int g = -1000;
    int b = -1000;

    bool operator==(const Rgb &other) const { return r == other.r && g == other.g && b == other.b; }
};

Rgb converted(int y, int u, int v)
{
    Rgb rgb;
    yuv2rgb(y, u, v, rgb.r, rgb.g, rgb.b);
    return rgb;
}

int clampedAbove(double value)
{
    const int whole = int(value * 255.0);
    return whole >= 256 ? 255 : whole;
}

Rgb expected(int y, int u, int v)
{
    const auto [red, green, blue] = bt709(y, u, v);
    return {clampedAbove(red), clampedAbove(green), clampedAbove(blue)};
}

} // namespace

class TestYuv2Rgb : public QObject
{
    Q_OBJECT

private slots:
    void convert_givesWhite_forFullLumaAndCentredChroma() { QVERIFY(converted(255, 127, 127) == (Rgb{255, 255, 255})); }

    void convert_givesBlack_forNoLumaAndCentredChroma() { QVERIFY(converted(0, 127, 127) == (Rgb{0, 0, 0})); }

    void convert_returnsANegativeChannel_asItIs()
    {
        const Rgb rgb = converted(0, 0, 127);
        QCOMPARE(rgb.b, -235);
        QCOMPARE(rgb.r, 0);
        QVERIFY(rgb.g > 0);
    }

    void convert_limitsAChannelTo255_fromAbove()
    {
        QCOMPARE(converted(255, 255, 127).b, 255);
        QCOMPARE(converted(255, 127, 255).r, 255);
        QCOMPARE(converted(255, 0, 0).g, 255);
    }

    void convert_isTheSameToTheLastBit_forEveryInput()
    {
        for (int y = 0; y < 256; ++y) {
            for (int u = 0; u < 256; ++u) {
                for (int v = 0; v < 256; ++v) {
                    if (!(converted(y, u, v) == expected(y, u, v)))
                        QFAIL(qPrintable(QStringLiteral("differs at %1 %2 %3").arg(y).arg(u).arg(v)));
                }
            }
        }
    }
};

TEST_CLASS(TestYuv2Rgb, QCoreApplication)
#include "tst_yuv2rgb.moc"
