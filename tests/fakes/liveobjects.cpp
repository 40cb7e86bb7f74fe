#include "tests/fakes/liveobjects.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <utility>

namespace {

struct Entry
{
    std::function<void()> destroy;
    int references = 1;
};

struct Book
{
    std::mutex mutex;
    std::map<const void *, Entry> objects;
};

Book &book()
{
    static Book theBook;
    return theBook;
}

// The caller holds the mutex.
std::map<const void *, Entry>::iterator entryOf(const void *object, const char *attempt)
{
    const auto entry = book().objects.find(object);
    if (entry == book().objects.end()) {
        std::fprintf(stderr, "fakes: %s %p, which is not alive\n", attempt, object);
        std::abort();
    }
    return entry;
}

} // namespace

namespace fakes {

int liveObjects()
{
    const std::lock_guard lock(book().mutex);
    return static_cast<int>(book().objects.size());
}

void enterObject(const void *object, std::function<void()> destroy)
{
    const std::lock_guard lock(book().mutex);
    book().objects.emplace(object, Entry{std::move(destroy)});
}

void retainObject(const void *object)
{
    const std::lock_guard lock(book().mutex);
    ++entryOf(object, "retained")->second.references;
}

void releaseObject(const void *object)
{
    std::function<void()> destroy;
    {
        const std::lock_guard lock(book().mutex);
        const auto entry = entryOf(object, "released");
        if (--entry->second.references > 0)
            return;
        destroy = std::move(entry->second.destroy);
        book().objects.erase(entry);
    }
    destroy();
}

int references(const void *object)
{
    const std::lock_guard lock(book().mutex);
    const auto entry = book().objects.find(object);
    return entry == book().objects.end() ? 0 : entry->second.references;
}

} // namespace fakes

const CFAllocatorRef kCFAllocatorDefault = nullptr;

void CFRelease(CFTypeRef object)
{
    fakes::releaseObject(object);
}
