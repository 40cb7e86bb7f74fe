// The event loop of a scan's thread: what is posted arrives, in order, from whichever thread; it ends; it costs no
// descriptor.

#include "thumbs/postedevents.h"

#include "tests/support/processfacts.h"
#include "tests/support/seenqueues.h"

#include <QPointer>
#include <QSemaphore>
#include <QSocketNotifier>
#include <QThread>
#include <QTimer>
#include <QtTest>

#include <memory>
#include <vector>

#include <unistd.h>

using namespace quorvale;

namespace {

constexpr int kLongEnough = 60000;

/// A thread whose event loop is PostedEvents, and an object that lives on it. Ends with this.
struct PostedThread
{
    PostedThread()
    {
        thread.setEventDispatcher(new PostedEvents); // owned by the thread
        thread.start();
        receiver.moveToThread(&thread);
    }
    ~PostedThread()
    {
        thread.quit();
        thread.wait();
    }
    PostedThread(const PostedThread &) = delete;
    PostedThread &operator=(const PostedThread &) = delete;

    /// Has `call` made on the thread, after what was posted before.
    template <typename Call>
    void post(Call call)
    {
        QMetaObject::invokeMethod(&receiver, call, Qt::QueuedConnection);
    }

    QThread thread;
    QObject receiver;
};

} // namespace

class TestPostedEvents : public QObject
{
    Q_OBJECT

private slots:
    void calls_arriveInOrder_fromAnotherThread()
    {
        PostedThread posted;
        std::vector<int> seen; // on the thread until `done` says that it is over
        QSemaphore done;
        for (int i = 0; i < 1000; ++i)
            posted.post([&seen, i] { seen.push_back(i); });
        posted.post([&done] { done.release(); });
        QVERIFY(done.tryAcquire(1, kLongEnough));
        QCOMPARE(seen.size(), std::size_t{1000});
        for (int i = 0; i < 1000; ++i)
            QCOMPARE(seen[std::size_t(i)], i);
    }

    void calls_arriveInOrder_thatTheThreadPostsItself()
    {
        PostedThread posted;
        std::vector<int> seen;
        QSemaphore done;
        posted.post([&] {
            posted.post([&] {
                seen.push_back(2);
                done.release();
            });
            seen.push_back(1);
        });
        QVERIFY(done.tryAcquire(1, kLongEnough));
        QCOMPARE(seen, (std::vector<int>{1, 2}));
    }

    // Each call is posted when the thread has nothing left to do, or is about to wait.
    void call_wakesAThreadThatWaits()
    {
        PostedThread posted;
        QSemaphore done;
        for (int i = 0; i < 2000; ++i) {
            posted.post([&done] { done.release(); });
            QVERIFY(done.tryAcquire(1, kLongEnough));
        }
    }

    void timersOfZero_arrive_whichPostACall()
    {
        PostedThread posted;
        QSemaphore done;
        posted.post([&] { QTimer::singleShot(0, &posted.receiver, [&done] { done.release(); }); });
        QVERIFY(done.tryAcquire(1, kLongEnough));
    }

    void timersAndSockets_areRefused()
    {
        PostedEvents events;
        QObject object;
        QTest::ignoreMessage(QtWarningMsg, "This thread has no timers");
        events.registerTimer(1, 10, Qt::CoarseTimer, &object);
        QVERIFY(!events.unregisterTimer(1));
        QVERIFY(!events.unregisterTimers(&object));
        QVERIFY(events.registeredTimers(&object).isEmpty());
        QCOMPARE(events.remainingTime(1), -1);
        int ends[2];
        QCOMPARE(pipe(ends), 0);
        {
            QSocketNotifier notifier(ends[0], QSocketNotifier::Read);
            QTest::ignoreMessage(QtWarningMsg, "This thread has no sockets");
            events.registerSocketNotifier(&notifier);
            events.unregisterSocketNotifier(&notifier);
        }
        close(ends[0]);
        close(ends[1]);
    }

    void loop_ends_evenIfItWasToldToBeforeItBegan()
    {
        for (int i = 0; i < 200; ++i) {
            QThread thread;
            thread.setEventDispatcher(new PostedEvents);
            thread.start();
            thread.quit();
            QVERIFY(thread.wait(kLongEnough));
        }
    }

    void deletedLater_isDeleted_whenTheThreadEnds()
    {
        QPointer<QObject> object = new QObject;
        {
            PostedThread posted;
            object->moveToThread(&posted.thread);
            object->deleteLater();
        }
        QVERIFY(!object);
    }

    void idleThreads_costNoDescriptor()
    {
        if (!processfacts::available())
            QSKIP("needs to see which descriptors there are");
        const auto before = processfacts::openDescriptors();
        std::vector<std::unique_ptr<PostedThread>> threads;
        QSemaphore done;
        for (int i = 0; i < 20; ++i) {
            threads.push_back(std::make_unique<PostedThread>());
            threads.back()->post([&done] { done.release(); });
        }
        QVERIFY(done.tryAcquire(20, kLongEnough));
        QCOMPARE(processfacts::openDescriptors(), before);
    }
};

SEEN_QUEUES_TEST_MAIN(TestPostedEvents)
#include "tst_postedevents.moc"
