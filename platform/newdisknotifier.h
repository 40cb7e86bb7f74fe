#pragma once

#include <QObject>

/// Says that a disk came or went, but not which one: the listener looks for itself.
///
/// Lives in the main thread. The signal may be raised from any thread; an automatic connection brings it to the
/// listener's own thread as a queued call, so a listener needs no lock.
class NewDiskNotifier : public QObject
{
    Q_OBJECT

public:
    explicit NewDiskNotifier(QObject *parent = nullptr);
    ~NewDiskNotifier() override;

    /// Raises disksChanged() by hand.
    void Notify();

signals:
    /// A disk, any disk, appeared or disappeared. One change may raise it more than once: a disk with two volumes does.
    void disksChanged();
};

namespace quorvale {

/// Raises disksChanged() on the notifier at this address, if one lives there; otherwise does nothing. For events of the
/// system that hold a notifier's address and may come after it has gone. Any thread; a notifier that is being destroyed
/// waits until the signal has been raised. If a new notifier has the address by now, that one raises its signal, which
/// costs one needless look at the disks.
void notifyIfAlive(void *notifier);

} // namespace quorvale
