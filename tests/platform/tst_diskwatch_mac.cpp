#include "platform/diskwatch.h"
#include "platform/diskwatch_mac.h"
#include "platform/newdisknotifier.h"
#include "tests/fakes/fakedisks.h"
#include "tests/fakes/liveobjects.h"
#include "tests/support/capturedoutput.h"

#include <QTest>
#include <QThread>

#include <memory>
#include <thread>

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
    void init();
    void cleanup();

    void watch_raisesOneSignal_perDiskThatAppearsOrDisappears();
    void watch_raisesABurst_forTheDisksThatAreAlreadyThere();
    void watch_raisesEverySignal_whenCallbacksRunAtTheSameTime();
    void callback_isDeliveredToTheMainThreadThroughItsEventLoop();
    void callbacks_ignoreTheDisk();
    void watch_releasesItsSession();
    void watch_releasesItsSession_afterTheNotifierIsGone();
    void watch_isSilentAfterItsEnd();
    void watch_saysSo_whenThereIsNoSession();

private:
    int m_objectsBefore = 0;
};

void TestDiskWatchMac::init()
{
    m_objectsBefore = fakes::liveObjects();
}

void TestDiskWatchMac::cleanup()
{
    fakes::waitForCallbacks();
    QCOMPARE(fakes::liveObjects(), m_objectsBefore);
}

void TestDiskWatchMac::watch_raisesOneSignal_perDiskThatAppearsOrDisappears()
{
    NewDiskNotifier notifier;
    const Listener listener(notifier);
    const DiskWatch watch(&notifier);
    deliver();
    QCOMPARE(listener.calls, 0);

    fakes::insertDisk();
    deliver();
    QCOMPARE(listener.calls, 1);

    fakes::ejectDisk();
    deliver();
    QCOMPARE(listener.calls, 2);
}

void TestDiskWatchMac::watch_raisesABurst_forTheDisksThatAreAlreadyThere()
{
    for (int i = 0; i < 3; ++i)
        fakes::insertDisk();
    NewDiskNotifier notifier;
    const Listener listener(notifier);
    const DiskWatch watch(&notifier);
    deliver();
    QCOMPARE(listener.calls, 3);

    for (int i = 0; i < 3; ++i)
        fakes::ejectDisk();
    deliver();
    QCOMPARE(listener.calls, 6);
}

void TestDiskWatchMac::watch_raisesEverySignal_whenCallbacksRunAtTheSameTime()
{
    constexpr int kDisks = 40;
    NewDiskNotifier notifier;
    const Listener listener(notifier);
    const DiskWatch watch(&notifier);
    for (int i = 0; i < kDisks; ++i) {
        fakes::insertDisk();
        fakes::ejectDisk();
    }
    deliver();
    QCOMPARE(listener.calls, 2 * kDisks);
    QVERIFY(listener.onlyOnMainThread);
}

void TestDiskWatchMac::callback_isDeliveredToTheMainThreadThroughItsEventLoop()
{
    NewDiskNotifier notifier;
    const Listener listener(notifier);
    const DiskWatch watch(&notifier);
    const int runBefore = fakes::callbacksRun();
    fakes::insertDisk();
    fakes::waitForCallbacks();
    QCOMPARE(fakes::callbacksRun(), runBefore + 1);
    QCOMPARE(listener.calls, 0); // it waits for the event loop
    QCoreApplication::processEvents();
    QCOMPARE(listener.calls, 1);
    QVERIFY(listener.onlyOnMainThread);
    fakes::ejectDisk();
    deliver(); // before the notifier goes
}

void TestDiskWatchMac::callbacks_ignoreTheDisk()
{
    NewDiskNotifier notifier;
    const Listener listener(notifier);
    NewDiskhelloDisk(nullptr, &notifier);
    QCOMPARE(listener.calls, 1);
    NewDiskgoodbyeDisk(nullptr, &notifier);
    QCOMPARE(listener.calls, 2);
}

void TestDiskWatchMac::watch_releasesItsSession()
{
    NewDiskNotifier notifier;
    auto watch = std::make_unique<DiskWatch>(&notifier);
    QCOMPARE(fakes::liveObjects(), m_objectsBefore + 1);
    watch.reset();
    QCOMPARE(fakes::liveObjects(), m_objectsBefore);
}

void TestDiskWatchMac::watch_releasesItsSession_afterTheNotifierIsGone()
{
    auto notifier = std::make_unique<NewDiskNotifier>();
    auto watch = std::make_unique<DiskWatch>(notifier.get());
    fakes::insertDisk();
    deliver();
    notifier.reset();
    watch.reset();
    QCOMPARE(fakes::liveObjects(), m_objectsBefore);
    fakes::ejectDisk();
}

void TestDiskWatchMac::watch_isSilentAfterItsEnd()
{
    NewDiskNotifier notifier;
    const Listener listener(notifier);
    std::make_unique<DiskWatch>(&notifier).reset();
    fakes::insertDisk();
    fakes::ejectDisk();
    deliver();
    QCOMPARE(listener.calls, 0);
}

void TestDiskWatchMac::watch_saysSo_whenThereIsNoSession()
{
    fakes::refuseSessions(true);
    NewDiskNotifier notifier;
    CapturedOutput capture(stderr);
    std::make_unique<DiskWatch>(&notifier).reset();
    const QByteArray said = capture.text();
    fakes::refuseSessions(false);
    QCOMPARE(said, QByteArray("DiskWatch: no disk arbitration session, disks that come and go are not noticed\n"));
}

QTEST_GUILESS_MAIN(TestDiskWatchMac)
#include "tst_diskwatch_mac.moc"
