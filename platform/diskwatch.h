#pragma once

#include <memory>

class NewDiskNotifier;

/// The system's source of disk events: while it lives, every disk that comes or goes raises
/// NewDiskNotifier::disksChanged() on the notifier it was given.
///
/// What watches is the system's own, one file each:
/// - macOS: the disk arbitration service. Events are raised from its threads, and one burst of them follows at once for
///   the disks that are already there.
/// - Linux: the kernel's mount table. Events are raised on the thread that made the watch, from its event loop, one for
///   each change.
/// - elsewhere nothing is watched, which a line on stderr says.
///
/// Made and destroyed on one thread, the main one, while the application object lives. A system that refuses to be
/// watched is no failure: the program runs on without events (a line on stderr tells so).
class DiskWatch
{
public:
    /// Starts watching. `notifier` is not owned. It may be deleted before the watch, as the window does at the end:
    /// events after that do nothing.
    explicit DiskWatch(NewDiskNotifier *notifier);

    /// Releases what the system lent. On macOS that alone ends no events: the system goes on with them until the
    /// program ends, and it is the notifier's end that silences them.
    ~DiskWatch();

    DiskWatch(const DiskWatch &) = delete;
    DiskWatch &operator=(const DiskWatch &) = delete;

private:
    class Source;
    std::unique_ptr<Source> m_source;
};
