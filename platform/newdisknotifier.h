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

    /// Raises disksChanged() by hand.
    void Notify();

signals:
    /// A disk, any disk, appeared or disappeared. One change may raise it more than once: a disk with two volumes does.
    void disksChanged();
};
