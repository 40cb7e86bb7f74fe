#include "tests/support/testclass.h"
#include "tools/sampledisk/parallel.h"

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>

using namespace quorvale;

class TestParallel : public QObject
{
    Q_OBJECT

private slots:
    void run_runsEveryJobOnce()
    {
        std::vector<std::atomic<int>> runs(100);
        std::vector<std::function<void()>> jobs;
        jobs.reserve(runs.size());
        for (auto &count : runs)
            jobs.emplace_back([&count] { ++count; });
        runParallel(jobs);
        for (const auto &count : runs)
            QCOMPARE(count.load(), 1);
        runParallel({});
    }

    void run_runsJobsAtTheSameTime_whereThereAreProcessors()
    {
        QSemaphore begun;
        bool isTogether = false;
        runParallel({[&] { isTogether = begun.tryAcquire(1, 10000); }, [&] { begun.release(); }});
        QCOMPARE(isTogether, std::thread::hardware_concurrency() > 1);
    }

    void run_throwsOn_andStartsNoFurtherJob_whenAJobThrows()
    {
        std::atomic<unsigned> started{0};
        const std::vector<std::function<void()>> jobs(1000, [&started] {
            ++started;
            throw std::runtime_error("no more");
        });
        QByteArray message;
        try {
            runParallel(jobs);
        } catch (const std::runtime_error &error) {
            message = error.what();
        }
        QCOMPARE(message, QByteArray("no more"));
        // Each thread ends with its first failure.
        QVERIFY(started >= 1 && started <= std::max(1u, std::thread::hardware_concurrency()));
    }
};

TEST_CLASS(TestParallel, QCoreApplication)
#include "tst_parallel.moc"
