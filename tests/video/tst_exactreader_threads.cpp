// Comes between the process and the threads that it starts. Linux only.

#include "tests/support/teststreams.h"
#include "tests/video/exactcomparison.h"

#include <QtTest>

#include <atomic>
#include <cerrno>

#include <dlfcn.h>
#include <pthread.h>

namespace {

constexpr int kAny = 1000;
std::atomic<int> started{0};
std::atomic<int> allowed{kAny}; // The test library has a thread, too.

} // namespace

extern "C" int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*function)(void *),
                              void *argument) noexcept
{
    using Create = int(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
    static const auto create = reinterpret_cast<Create *>(dlsym(RTLD_NEXT, "pthread_create"));
    if (started == allowed)
        return EAGAIN;
    ++started;
    return create(thread, attributes, function, argument);
}

/// How many threads pictures are decoded on, and what happens where the system gives fewer.
class TestExactReaderThreads : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir folder;
    QString path;

    // Five pictures, announced to a reader that may decode `processors` at once; the threads that it started.
    void read(int processors, int threads)
    {
        const LiteralPictures pictures(path);
        started = 0;
        allowed = threads;
        const ExactComparison result = compareExactly(pictures, {50, 110, 170, 230, 290}, processors);
        allowed = kAny;
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 5);
    }

private slots:
    void initTestCase()
    {
        path = makeStream(folder.path(),
                          {"h264.ts", {"-c:v", "libx264", "-preset", "veryfast", "-g", "24"}, 330, {160, 128}});
        QVERIFY(!path.isEmpty());
    }

    void threads_areAsManyAsProcessors_andNoMoreThanPictures_data()
    {
        QTest::addColumn<int>("processors");
        QTest::addColumn<int>("threads");
        QTest::newRow("1") << 1 << 1;
        QTest::newRow("2") << 2 << 2;
        QTest::newRow("8") << 8 << 5;
    }
    void threads_areAsManyAsProcessors_andNoMoreThanPictures()
    {
        QFETCH(const int, processors);
        read(processors, kAny);
        QTEST(int(started), "threads");
    }

    void pictures_areRead_whereTheSystemGivesFewerThreads()
    {
        for (const int threads : {0, 1, 2}) {
            read(4, threads);
            QCOMPARE(int(started), threads);
        }
    }
};

QTEST_GUILESS_MAIN(TestExactReaderThreads)
#include "tst_exactreader_threads.moc"
