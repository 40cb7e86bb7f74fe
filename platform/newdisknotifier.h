#pragma once

#include <QObject>

/// Says that a disk came or went. It does not say which: whoever listens looks for itself.
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

/// Raises disksChanged() on the notifier at this address, if one lives there; otherwise nothing happens. For events of
/// the system that come with a notifier's address, and may come when it has gone. Any thread; a notifier that is being
/// destroyed waits for the signal's end. If the address belongs to a new notifier by now, that one raises its signal: a
/// look at the disks too many.
void notifyIfAlive(void *notifier);

} // namespace quorvale
