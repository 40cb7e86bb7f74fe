#pragma once

#include <memory>

class NewDiskNotifier;

/// The system's source of disk events: while it lives, every disk that comes or goes raises
/// NewDiskNotifier::disksChanged() on the notifier it was given.
///
/// Each system has a file of its own:
/// - macOS: the disk arbitration service. Events are raised from its threads, and one burst of them follows at once for
///   the disks that are already there.
/// - Linux: the kernel's mount table. Events are raised on the thread that made the watch, from its event loop, one for
///   each change.
/// - other systems: nothing is watched; a line on stderr says so.
///
/// Made and destroyed on the main thread, while the application object lives. If the system refuses to be watched, the
/// program runs without events (a line on stderr says so).
class DiskWatch
{
public:
    /// Starts watching. `notifier` is not owned. It may be deleted before the watch, as the window does at the end:
    /// events after that do nothing.
    explicit DiskWatch(NewDiskNotifier *notifier);

    /// Releases what the system lent. On macOS that does not end the events: the system raises them until the program
    /// ends, and they do nothing once the notifier is gone.
    ~DiskWatch();

    DiskWatch(const DiskWatch &) = delete;
    DiskWatch &operator=(const DiskWatch &) = delete;

private:
    class Source;
    std::unique_ptr<Source> m_source;
};
