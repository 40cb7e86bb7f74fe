#include "tests/fakes/fakedisks.h"

#include "tests/fakes/liveobjects.h"

#include <DiskArbitration/DiskArbitration.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

using Callback = void (*)(DADiskRef disk, void *context);

struct FakeQueue
{
};

struct FakeDisk
{
};

struct Registration
{
    Callback callback;
    void *context;
};

struct FakeSession
{
    dispatch_queue_t queue = nullptr;
    std::vector<Registration> onAppeared;
    std::vector<Registration> onDisappeared;
    std::vector<Registration> waitingForQueue;
};

namespace {

// What the arbitration service knows. The mutex is the service's: the callbacks run without it.
struct Service
{
    ~Service()
    {
        for (std::thread &thread : threads)
            thread.join();
    }

    std::mutex mutex;
    FakeQueue defaultQueue;
    FakeDisk disk; // the program looks at no disk, so all of them are this one
    int disksPresent = 0;
    bool refusesSessions = false;
    std::vector<FakeSession *> sessions;
    std::vector<std::thread> threads;
    std::atomic<int> callbacksRun{0};

    void tellAll(std::vector<Registration> FakeSession::*registrations, int newDisks)
    {
        const std::lock_guard lock(mutex);
        disksPresent += newDisks;
        for (FakeSession *session : sessions) {
            for (const Registration &registration : session->*registrations)
                deliver(*session, registration);
        }
    }

    // The caller holds the mutex.
    void deliver(FakeSession &session, const Registration &registration)
    {
        if (!session.queue) {
            session.waitingForQueue.push_back(registration);
            return;
        }
        threads.emplace_back([this, registration] {
            registration.callback(&disk, registration.context);
            ++callbacksRun;
        });
    }
};

Service &service()
{
    static Service theService;
    return theService;
}

} // namespace

dispatch_queue_t dispatch_get_global_queue(long priority, unsigned long flags)
{
    return priority == DISPATCH_QUEUE_PRIORITY_DEFAULT && flags == 0 ? &service().defaultQueue : nullptr;
}

DASessionRef DASessionCreate(CFAllocatorRef)
{
    const std::lock_guard lock(service().mutex);
    if (service().refusesSessions)
        return nullptr;
    auto *session = new FakeSession; // owned by the caller until CFRelease
    service().sessions.push_back(session);
    fakes::enterObject(session, [session] {
        const std::lock_guard guard(service().mutex);
        auto &sessions = service().sessions;
        sessions.erase(std::remove(sessions.begin(), sessions.end(), session), sessions.end());
        delete session;
    });
    return session;
}

void DASessionSetDispatchQueue(DASessionRef session, dispatch_queue_t queue)
{
    std::unique_lock lock(service().mutex);
    const dispatch_queue_t before = std::exchange(session->queue, queue);
    if (!queue) {
        lock.unlock();
        if (before)
            fakes::releaseObject(session);
        return;
    }
    if (!before)
        fakes::retainObject(session);
    for (const Registration &registration : std::exchange(session->waitingForQueue, {}))
        service().deliver(*session, registration);
}

void DARegisterDiskAppearedCallback(DASessionRef session, CFDictionaryRef match, DADiskAppearedCallback callback,
                                    void *context)
{
    const std::lock_guard lock(service().mutex);
    if (match)
        return;
    session->onAppeared.push_back({callback, context});
    for (int i = 0; i < service().disksPresent; ++i)
        service().deliver(*session, {callback, context});
}

void DARegisterDiskDisappearedCallback(DASessionRef session, CFDictionaryRef match, DADiskDisappearedCallback callback,
                                       void *context)
{
    const std::lock_guard lock(service().mutex);
    if (!match)
        session->onDisappeared.push_back({callback, context});
}

namespace fakes {

void insertDisk()
{
    service().tellAll(&FakeSession::onAppeared, 1);
}

void ejectDisk()
{
    service().tellAll(&FakeSession::onDisappeared, -1);
}

void waitForCallbacks()
{
    std::vector<std::thread> threads;
    {
        const std::lock_guard lock(service().mutex);
        threads = std::exchange(service().threads, {});
    }
    for (std::thread &thread : threads)
        thread.join();
}

int callbacksRun()
{
    return service().callbacksRun;
}

int sessionsHeld()
{
    const std::lock_guard lock(service().mutex);
    const auto &sessions = service().sessions;
    return static_cast<int>(std::count_if(sessions.begin(), sessions.end(), [](const FakeSession *session) {
        return references(session) > (session->queue ? 1 : 0);
    }));
}

void endSessions()
{
    std::unique_lock lock(service().mutex);
    const std::vector<FakeSession *> sessions = service().sessions;
    lock.unlock();
    for (FakeSession *session : sessions)
        DASessionSetDispatchQueue(session, nullptr);
}

void refuseSessions(bool refuse)
{
    const std::lock_guard lock(service().mutex);
    service().refusesSessions = refuse;
}

} // namespace fakes
