#include "platform/descriptorlimit.h"

#include <QtTest>

#include <sys/resource.h>

using namespace quorvale;

class TestDescriptorLimit : public QObject
{
    Q_OBJECT

private slots:
    void limit_isWhatTheSystemAllows_evenIfTheProcessBeganWithLess()
    {
        rlimit limit = {};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &limit), 0);
        limit.rlim_cur = 64;
        QVERIFY(limit.rlim_max > 64);
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &limit), 0);
        raiseDescriptorLimit();
        rlimit raised = {};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &raised), 0);
        QCOMPARE(raised.rlim_max, limit.rlim_max);
        QCOMPARE(descriptorLimitAtStart(), std::uint64_t{64});
#ifdef __APPLE__
        QVERIFY(raised.rlim_cur > 64);
#else
        QCOMPARE(raised.rlim_cur, limit.rlim_max);
#endif
    }

    void limit_staysAsItIs_whereNoMoreIsAllowed()
    {
        const rlimit limit = {64, 64};
        QCOMPARE(setrlimit(RLIMIT_NOFILE, &limit), 0);
        raiseDescriptorLimit();
        rlimit same = {};
        QCOMPARE(getrlimit(RLIMIT_NOFILE, &same), 0);
        QCOMPARE(same.rlim_cur, rlim_t{64});
        QCOMPARE(same.rlim_max, rlim_t{64});
    }
};

QTEST_GUILESS_MAIN(TestDescriptorLimit)
#include "tst_descriptorlimit.moc"
