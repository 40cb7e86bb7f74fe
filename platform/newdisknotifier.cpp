#include "platform/newdisknotifier.h"

#include <mutex>
#include <set>

namespace {

struct LivingNotifiers
{
    // Held while the system's event is raised, so that the notifier lives until then. Recursive: a slot that is called
    // directly may make a notifier or delete one, even this one.
    std::recursive_mutex mutex;
    std::set<const void *> addresses;
};

LivingNotifiers &living()
{
    static LivingNotifiers &notifiers = *new LivingNotifiers; // never deleted: the system's threads may call to the end
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
