#include "tests/support/testclass.h"
#include "video/framecount.h"

extern "C" {
#include <libavutil/avutil.h>
}

#include <limits>

using namespace quorvale;

class TestFrameCount : public QObject
{
    Q_OBJECT

private slots:
    void count_followsFromDurationAndRate_inSinglePrecision()
    {
        QCOMPARE(likelyFrameCount(10000000, {25, 1}, 7), 250);
        QCOMPARE(likelyFrameCount(10019999, {25, 1}, 7), 250); // 250.499
        QCOMPARE(likelyFrameCount(10039999, {25, 1}, 7), 250); // 250.999, cut off
        QCOMPARE(likelyFrameCount(1001000, {30000, 1001}, 7), 30);
        QCOMPARE(likelyFrameCount(3600080000, {25, 1}, 7), 90001); // 90002 in double precision
    }

    void count_keepsTheStreamsOwnFigure_withARateThatIsNotKnown()
    {
        QCOMPARE(likelyFrameCount(10000000, {0, 0}, 123), 123);
        QCOMPARE(likelyFrameCount(10000000, {25, 0}, 123), 123);
        QCOMPARE(likelyFrameCount(10000000, {25, 0}, 0), 0);
    }

    void count_keepsTheStreamsOwnFigure_withADurationThatIsNotKnown()
    {
        QCOMPARE(likelyFrameCount(AV_NOPTS_VALUE, {25, 1}, 123), 123);
    }

    void count_isZero_withARateOfNothing() { QCOMPARE(likelyFrameCount(10000000, {0, 1}, 123), 0); }

    void count_saturates_beyond32Bits()
    {
        const std::int32_t most = std::numeric_limits<std::int32_t>::max();
        QCOMPARE(likelyFrameCount(std::numeric_limits<std::int64_t>::max(), {1000000, 1}, 7), most);
        QCOMPARE(likelyFrameCount(10, {25, 0}, std::numeric_limits<std::int64_t>::max()), most);
    }
};

TEST_CLASS(TestFrameCount, QCoreApplication)
#include "tst_framecount.moc"
