#include "tests/fakes/liveobjects.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <utility>

namespace {

struct Book
{
    std::mutex mutex;
    std::map<const void *, std::function<void()>> objects;
};

Book &book()
{
    static Book theBook;
    return theBook;
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
    book().objects.emplace(object, std::move(destroy));
}

void releaseObject(const void *object)
{
    std::function<void()> destroy;
    {
        const std::lock_guard lock(book().mutex);
        const auto entry = book().objects.find(object);
        if (entry == book().objects.end()) {
            std::fprintf(stderr, "fakes: released %p, which is not alive\n", object);
            std::abort();
        }
        destroy = std::move(entry->second);
        book().objects.erase(entry);
    }
    destroy();
}

bool isAlive(const void *object)
{
    const std::lock_guard lock(book().mutex);
    return book().objects.count(object) > 0;
}

} // namespace fakes

const CFAllocatorRef kCFAllocatorDefault = nullptr;

void CFRelease(CFTypeRef object)
{
    fakes::releaseObject(object);
}
