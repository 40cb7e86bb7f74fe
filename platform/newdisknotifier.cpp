#include "platform/newdisknotifier.h"

#include <mutex>
#include <set>

namespace {

struct LivingNotifiers
{
    // Held while the system's event is raised, so that its notifier stays as long as that. Recursive: who is called
    // directly may make a notifier or delete one, even this one.
    std::recursive_mutex mutex;
    std::set<const void *> addresses;
};

LivingNotifiers &living()
{
    static LivingNotifiers &notifiers = *new LivingNotifiers; // stays: the system's threads may call to the very end
    return notifiers;
}

} // namespace

NewDiskNotifier::NewDiskNotifier(QObject *parent)
    : QObject(parent)
{
    const std::lock_guard lock(living().mutex);
    living().addresses.insert(this);
}

NewDiskNotifier::~NewDiskNotifier()
{
    const std::lock_guard lock(living().mutex);
    living().addresses.erase(this);
}

void NewDiskNotifier::Notify()
{
    emit disksChanged();
}

void quorvale::notifyIfAlive(void *notifier)
{
    const std::lock_guard lock(living().mutex);
    if (living().addresses.count(notifier) != 0)
        emit static_cast<NewDiskNotifier *>(notifier)->disksChanged();
}
