#pragma once

#include "video/exact/decodingtask.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <future>
#include <mutex>
#include <thread>
#include <vector>

namespace quorvale {

/// Runs tasks on threads of their own. Of those that wait the longest is next: so all are done soonest.
///
/// All functions are for one thread, the owner. A task belongs to the threads, so that nothing is taken from under them
/// whether or not the owner comes to wait for it. They read no file, so that none of them ever hangs on a disk.
class DecodingThreads
{
public:
    /// `most`: threads at once. They are started as tasks come.
    explicit DecodingThreads(int most);
    /// Ends the threads, each after the picture in hand. Tasks that were not waited for come to nothing.
    ~DecodingThreads();
    DecodingThreads(const DecodingThreads &) = delete;
    DecodingThreads &operator=(const DecodingThreads &) = delete;

    /// Has the task run; what comes of it is for wait(), or dropped.
    [[nodiscard]] std::future<DecodedPicture> add(DecodingTask task);
    /// Returns once the task has run: here, where the system gave no thread. What it threw is thrown.
    [[nodiscard]] DecodedPicture wait(std::future<DecodedPicture> picture);

private:
    struct Job
    {
        std::int64_t pictures; ///< that it decodes, at most
        std::packaged_task<DecodedPicture(const std::atomic<bool> &)> task;
    };

    bool startThread();
    void work();
    void runNext(std::unique_lock<std::mutex> &lock);

    const std::size_t m_most;
    std::vector<std::thread> m_threads; ///< the owner's
    bool m_startsMore = true;           ///< the owner's: false where the system gave no further thread

    std::mutex m_mutex; ///< of what follows
    std::condition_variable m_hasWork;
    std::vector<Job> m_waiting;
    std::atomic<bool> m_isEnding{false}; ///< changed with the mutex, read by running tasks without it
};

} // namespace quorvale
