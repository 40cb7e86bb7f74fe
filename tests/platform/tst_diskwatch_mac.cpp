#include "platform/diskwatch.h"
#include "platform/diskwatch_mac.h"
#include "platform/newdisknotifier.h"
#include "tests/fakes/fakedisks.h"
#include "tests/fakes/liveobjects.h"
#include "tests/support/capturedoutput.h"

#include <QTest>
#include <QThread>

#include <array>
#include <cstddef>
#include <memory>
#include <new>

namespace {

/// Counts signals as the window receives them: through an automatic connection, on the main thread.
class Listener : public QObject
{
public:
    explicit Listener(const NewDiskNotifier &notifier)
    {
        connect(&notifier, &NewDiskNotifier::disksChanged, this, [this] {
            ++calls;
            onlyOnMainThread = onlyOnMainThread && QThread::currentThread() == QCoreApplication::instance()->thread();
        });
    }

    int calls = 0;
    bool onlyOnMainThread = true;
};

struct Watched
{
    NewDiskNotifier notifier;
    const Listener listener{notifier};
    const DiskWatch watch{&notifier};
};

void deliver()
{
    fakes::waitForCallbacks();
    QCoreApplication::processEvents();
}

} // namespace

class TestDiskWatchMac : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_objectsBefore = fakes::liveObjects(); }

    void cleanup()
    {
        fakes::waitForCallbacks();
        QCOMPARE(fakes::sessionsHeld(), 0);
        fakes::endSessions();
        QCOMPARE(fakes::liveObjects(), m_objectsBefore);
    }

    void watch_raisesOneSignal_perDiskThatAppearsOrDisappears_throughTheMainThreadsEventLoop()
    {
        const Watched watched;
        deliver();
        QCOMPARE(watched.listener.calls, 0);

        const int runBefore = fakes::callbacksRun();
        fakes::insertDisk();
        fakes::waitForCallbacks();
        QCOMPARE(fakes::callbacksRun(), runBefore + 1);
        QCOMPARE(watched.listener.calls, 0); // it waits for the event loop
        QCoreApplication::processEvents();
        QCOMPARE(watched.listener.calls, 1);

        fakes::ejectDisk();
        deliver();
        QCOMPARE(watched.listener.calls, 2);
        QVERIFY(watched.listener.onlyOnMainThread);
    }

    void watch_raisesABurst_forTheDisksThatAreAlreadyThere()
    {
        for (int i = 0; i < 3; ++i)
            fakes::insertDisk();
        const Watched watched;
        deliver();
        QCOMPARE(watched.listener.calls, 3);

        for (int i = 0; i < 3; ++i)
            fakes::ejectDisk();
        deliver();
        QCOMPARE(watched.listener.calls, 6);
    }

    void watch_raisesEverySignal_whenCallbacksRunAtTheSameTime()
    {
        constexpr int kDisks = 40;
        const Watched watched;
        for (int i = 0; i < kDisks; ++i) {
            fakes::insertDisk();
            fakes::ejectDisk();
        }
        deliver();
        QCOMPARE(watched.listener.calls, 2 * kDisks);
        QVERIFY(watched.listener.onlyOnMainThread);
    }

    void callbacks_ignoreTheDisk_andDoNothingWithoutANotifier()
    {
        NewDiskNotifier notifier;
        const Listener listener(notifier);
        NewDiskhelloDisk(nullptr, &notifier);
        QCOMPARE(listener.calls, 1);
        NewDiskgoodbyeDisk(nullptr, &notifier);
        QCOMPARE(listener.calls, 2);
        NewDiskhelloDisk(nullptr, nullptr);
        NewDiskgoodbyeDisk(nullptr, nullptr);
        QCOMPARE(listener.calls, 2);
    }

    void callback_mayDeleteTheNotifier()
    {
        auto notifier = std::make_unique<NewDiskNotifier>();
        connect(notifier.get(), &NewDiskNotifier::disksChanged, this, [&notifier] { notifier.reset(); });
        NewDiskhelloDisk(nullptr, notifier.get());
        QVERIFY(!notifier);
    }

    void watch_releasesItsSession_whichTheSystemKeeps()
    {
        NewDiskNotifier notifier;
        auto watch = std::make_unique<DiskWatch>(&notifier);
        QCOMPARE(fakes::sessionsHeld(), 1);
        watch.reset();
        QCOMPARE(fakes::sessionsHeld(), 0);
        QCOMPARE(fakes::liveObjects(), m_objectsBefore + 1);
    }

    // The window ends like this: first the notifier, then the watch; the system is told of neither.
    void events_doNothing_afterTheNotifierIsGone()
    {
        // The notifier is made in the test's own memory, so that it can be overwritten after the notifier's end.
        alignas(NewDiskNotifier) std::array<std::byte, sizeof(NewDiskNotifier)> memory;
        auto *notifier = new (memory.data()) NewDiskNotifier;
        const Listener listener(*notifier);
        auto watch = std::make_unique<DiskWatch>(notifier);
        fakes::insertDisk();
        deliver();
        QCOMPARE(listener.calls, 1);

        notifier->~NewDiskNotifier();
        memory.fill(std::byte{0});
        const int runBefore = fakes::callbacksRun();
        fakes::ejectDisk(); // between the two
        deliver();
        watch.reset();
        fakes::insertDisk();
        fakes::ejectDisk();
        deliver();
        QCOMPARE(fakes::callbacksRun(), runBefore + 3); // They were called, and did nothing.
        QCOMPARE(listener.calls, 1);
    }

    void notifier_goesSafely_whileEventsAreRaised()
    {
        constexpr int kRounds = 50;
        constexpr int kDisks = 4;
        for (int round = 0; round < kRounds; ++round) {
            auto notifier = std::make_unique<NewDiskNotifier>();
            const Listener listener(*notifier);
            auto watch = std::make_unique<DiskWatch>(notifier.get());
            for (int disk = 0; disk < kDisks; ++disk) {
                fakes::insertDisk();
                fakes::ejectDisk();
            }
            notifier.reset();
            watch.reset();
            deliver();
            QVERIFY(listener.calls <= 2 * kDisks);
            fakes::endSessions();
        }
    }

    void watch_saysSo_whenThereIsNoSession()
    {
        fakes::refuseSessions(true);
        NewDiskNotifier notifier;
        CapturedOutput capture(stderr);
        std::make_unique<DiskWatch>(&notifier).reset();
        const QByteArray said = capture.text();
        fakes::refuseSessions(false);
        QCOMPARE(said, QByteArray("DiskWatch: no disk arbitration session, disks that come and go are not noticed\n"));
    }

private:
    int m_objectsBefore = 0;
};

QTEST_GUILESS_MAIN(TestDiskWatchMac)
#include "tst_diskwatch_mac.moc"
