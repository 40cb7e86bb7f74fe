#include "platform/diskwatch_mac.h"

#include "platform/diskwatch.h"
#include "platform/newdisknotifier.h"

#include <dispatch/dispatch.h>

#include <cstdio>
#include <type_traits>

namespace {

struct CFReleaser
{
    void operator()(CFTypeRef object) const { CFRelease(object); }
};

using Session = std::unique_ptr<std::remove_pointer_t<DASessionRef>, CFReleaser>;

} // namespace

void NewDiskhelloDisk(DADiskRef, void *context)
{
    quorvale::notifyIfAlive(context);
}

void NewDiskgoodbyeDisk(DADiskRef, void *context)
{
    quorvale::notifyIfAlive(context);
}

/// A disk arbitration session on the global queue.
///
/// It is released and nothing else: the callbacks stay registered and the session stays on its queue. The system
/// retains a session that has a queue, so the session and its callbacks live until the program ends. Once the notifier
/// is gone the callbacks do nothing.
class DiskWatch::Source
{
public:
    explicit Source(NewDiskNotifier *notifier)
        : m_queue(dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0))
        , m_session(DASessionCreate(kCFAllocatorDefault))
    {
        if (!m_session) {
            std::fputs("DiskWatch: no disk arbitration session, disks that come and go are not noticed\n", stderr);
            return;
        }
        DASessionSetDispatchQueue(m_session.get(), m_queue);
        // No match dictionary: all disks, also those that hold no recordings.
        DARegisterDiskAppearedCallback(m_session.get(), nullptr, NewDiskhelloDisk, notifier);
        DARegisterDiskDisappearedCallback(m_session.get(), nullptr, NewDiskgoodbyeDisk, notifier);
    }

private:
    dispatch_queue_t m_queue; // the system's, not retained
    Session m_session;
};

DiskWatch::DiskWatch(NewDiskNotifier *notifier)
    : m_source(std::make_unique<Source>(notifier))
{
}

DiskWatch::~DiskWatch() = default;
