#pragma once

#include <QAbstractEventDispatcher>

#include <condition_variable>
#include <mutex>

namespace quorvale {

/// The event loop of a thread that waits for posted events only. Qt's own loop keeps a descriptor for each idle thread;
/// this one needs none. It refuses timers and sockets with a warning (a single shot of 0 ms is a posted call, not a
/// timer). Give it to a thread before that starts; the thread then owns it. Any thread may call wakeUp() and
/// interrupt().
class PostedEvents : public QAbstractEventDispatcher
{
public:
    using QAbstractEventDispatcher::QAbstractEventDispatcher;

    bool processEvents(QEventLoop::ProcessEventsFlags flags) override;
    void wakeUp() override;
    void interrupt() override;

    void registerSocketNotifier(QSocketNotifier *notifier) override;
    void unregisterSocketNotifier(QSocketNotifier *notifier) override;

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    using Interval = int;
    bool hasPendingEvents() override;
    void flush() override;
#else
    using Interval = qint64;
#endif
    void registerTimer(int timerId, Interval interval, Qt::TimerType timerType, QObject *object) override;
    bool unregisterTimer(int timerId) override;
    bool unregisterTimers(QObject *object) override;
    QList<TimerInfo> registeredTimers(QObject *object) const override;
    int remainingTime(int timerId) override;

private:
    std::mutex m_mutex;
    std::condition_variable m_woken;
    bool m_isAwake = false; // something was posted, or the loop is to end, since the last wait
};

} // namespace quorvale
