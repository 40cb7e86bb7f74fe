#include "tests/support/testclass.h"
#include "video/saturate.h"

#include <limits>

using namespace quorvale;

class TestSaturate : public QObject
{
    Q_OBJECT

private slots:
    void saturate_keepsTheValue_thatFits()
    {
        QCOMPARE(saturateToInt32(0), 0);
        QCOMPARE(saturateToInt32(2147483647LL), 2147483647);
        QCOMPARE(saturateToInt32(-2147483648LL), std::numeric_limits<std::int32_t>::min());
    }

    void saturate_givesTheNearerEnd_beyondTheRange()
    {
        QCOMPARE(saturateToInt32(2147483648LL), 2147483647);
        QCOMPARE(saturateToInt32(std::numeric_limits<std::int64_t>::max()), 2147483647);
        QCOMPARE(saturateToInt32(-2147483649LL), std::numeric_limits<std::int32_t>::min());
        QCOMPARE(saturateToInt32(std::numeric_limits<std::int64_t>::min()), std::numeric_limits<std::int32_t>::min());
    }

    void truncate_dropsTheFraction_towardsZero()
    {
        QCOMPARE(truncateToInt32(1047.27F), 1047);
        QCOMPARE(truncateToInt32(-1.9F), -1);
        QCOMPARE(truncateToInt32(0.999F), 0);
        QCOMPARE(truncateToInt32(2147483520.0F), 2147483520); // the largest float below 2^31
    }

    void truncate_givesTheNearerEnd_beyondTheRange()
    {
        QCOMPARE(truncateToInt32(2147483648.0F), 2147483647);
        QCOMPARE(truncateToInt32(-2147483648.0F), std::numeric_limits<std::int32_t>::min());
        QCOMPARE(truncateToInt32(INFINITY), 2147483647);
        QCOMPARE(truncateToInt32(-INFINITY), std::numeric_limits<std::int32_t>::min());
    }

    void truncate_givesZero_forWhatIsNoNumber() { QCOMPARE(truncateToInt32(NAN), 0); }
};

TEST_CLASS(TestSaturate, QCoreApplication)
#include "tst_saturate.moc"
