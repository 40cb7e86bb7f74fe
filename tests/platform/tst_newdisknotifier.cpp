#include "platform/newdisknotifier.h"

#include <QMetaMethod>
#include <QSignalSpy>
#include <QTest>
#include <QThread>

#include <thread>
#include <vector>

class TestNewDiskNotifier : public QObject
{
    Q_OBJECT

private slots:
    void metaObject_declaresOneSignalAndNoSlots()
    {
        const QMetaObject &meta = NewDiskNotifier::staticMetaObject;
        QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
        QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
        const QMetaMethod method = meta.method(meta.methodOffset());
        QCOMPARE(method.methodSignature(), QByteArray("disksChanged()"));
        QCOMPARE(method.methodType(), QMetaMethod::Signal);
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    }

    void notifier_hasNoParentAndNoDataOfItsOwn()
    {
        const NewDiskNotifier notifier;
        QVERIFY(!notifier.parent());
        QCOMPARE(sizeof(NewDiskNotifier), sizeof(QObject));
    }

    void notifier_livesInTheThreadThatMadeIt()
    {
        const NewDiskNotifier notifier;
        QCOMPARE(notifier.thread(), QThread::currentThread());
    }

    void notify_raisesTheSignalOnce_perCall()
    {
        NewDiskNotifier notifier;
        const QSignalSpy spy(&notifier, &NewDiskNotifier::disksChanged);
        notifier.Notify();
        QCOMPARE(spy.count(), 1);
        notifier.Notify();
        notifier.Notify();
        QCOMPARE(spy.count(), 3);
    }

    void notify_isAPlainMethod_notCallableByName()
    {
        QCOMPARE(NewDiskNotifier::staticMetaObject.indexOfMethod("Notify()"), -1);
    }

    void signal_isDeliveredAtOnce_fromTheListenersThread()
    {
        NewDiskNotifier notifier;
        QObject listener;
        int calls = 0;
        connect(&notifier, &NewDiskNotifier::disksChanged, &listener, [&calls] { ++calls; });
        emit notifier.disksChanged();
        QCOMPARE(calls, 1);
    }

    void signal_isQueuedToTheListenersThread_fromAnotherThread()
    {
        NewDiskNotifier notifier;
        QObject listener;
        int calls = 0;
        QThread *calledOn = nullptr;
        connect(&notifier, &NewDiskNotifier::disksChanged, &listener, [&] {
            ++calls;
            calledOn = QThread::currentThread();
        });

        std::thread emitter([&notifier] { emit notifier.disksChanged(); });
        emitter.join();
        QCOMPARE(calls, 0); // it waits for the event loop
        QCoreApplication::processEvents();
        QCOMPARE(calls, 1);
        QCOMPARE(calledOn, QThread::currentThread());
    }

    void signal_isNeitherLostNorDoubled_fromManyThreadsAtOnce()
    {
        constexpr int kThreads = 8;
        constexpr int kSignals = 200;
        NewDiskNotifier notifier;
        QObject listener;
        int calls = 0;
        connect(&notifier, &NewDiskNotifier::disksChanged, &listener, [&calls] { ++calls; });

        std::vector<std::thread> emitters;
        emitters.reserve(kThreads);
        for (int t = 0; t < kThreads; ++t) {
            emitters.emplace_back([&notifier, t] {
                for (int i = 0; i < kSignals; ++i)
                    t % 2 == 0 ? notifier.Notify() : emit notifier.disksChanged();
            });
        }
        for (std::thread &emitter : emitters)
            emitter.join();

        QCOMPARE(calls, 0);
        QCoreApplication::processEvents();
        QCOMPARE(calls, kThreads * kSignals);
    }
};

QTEST_GUILESS_MAIN(TestNewDiskNotifier)
#include "tst_newdisknotifier.moc"
