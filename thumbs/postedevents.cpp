#include "thumbs/postedevents.h"

#include <QCoreApplication>

#include <utility>

namespace quorvale {

bool PostedEvents::processEvents(QEventLoop::ProcessEventsFlags flags)
{
    emit awake();
    QCoreApplication::sendPostedEvents();
    std::unique_lock lock(m_mutex);
    if (flags.testFlag(QEventLoop::WaitForMoreEvents) && !m_isAwake) {
        lock.unlock();
        emit aboutToBlock();
        lock.lock();
        m_woken.wait(lock, [this] { return m_isAwake; });
    }
    // The next round, which follows at once, delivers what was posted.
    return std::exchange(m_isAwake, false);
}

void PostedEvents::wakeUp()
{
    const std::lock_guard lock(m_mutex);
    m_isAwake = true;
    m_woken.notify_one();
}

void PostedEvents::interrupt()
{
    wakeUp();
}

void PostedEvents::registerSocketNotifier(QSocketNotifier *)
{
    qWarning("This thread has no sockets");
}

void PostedEvents::unregisterSocketNotifier(QSocketNotifier *)
{
}

void PostedEvents::registerTimer(int, Interval, Qt::TimerType, QObject *)
{
    qWarning("This thread has no timers");
}

bool PostedEvents::unregisterTimer(int)
{
    return false;
}

bool PostedEvents::unregisterTimers(QObject *)
{
    return false;
}

QList<QAbstractEventDispatcher::TimerInfo> PostedEvents::registeredTimers(QObject *) const
{
    return {};
}

int PostedEvents::remainingTime(int)
{
    return -1;
}

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
bool PostedEvents::hasPendingEvents()
{
    const std::lock_guard lock(m_mutex);
    return m_isAwake;
}

void PostedEvents::flush()
{
}
#endif

} // namespace quorvale
