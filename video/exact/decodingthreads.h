#pragma once

#include "video/exact/decodingtask.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace quorvale {

/// Runs tasks on threads of their own, in the order in which they come.
///
/// All functions are for one thread, the owner. A task is the owner's until add() and again after wait(); in between
/// it is the threads', and must live. The threads read no file, so that none of them ever hangs on a disk.
class DecodingThreads
{
public:
    /// `most`: threads at once. They are started as tasks come.
    explicit DecodingThreads(int most);
    /// Ends the threads, each after the picture in hand. Tasks that were added and not waited for come to nothing.
    ~DecodingThreads();
    DecodingThreads(const DecodingThreads &) = delete;
    DecodingThreads &operator=(const DecodingThreads &) = delete;

    void add(DecodingTask &task);
    /// Returns once `task`, which was added, has run: here, where the system gave no thread.
    void wait(const DecodingTask &task);

private:
    bool startThread();
    void work();
    void runNext(std::unique_lock<std::mutex> &lock);

    const std::size_t m_most;
    std::vector<std::thread> m_threads; ///< the owner's
    bool m_startsMore = true;           ///< the owner's: false where the system gave no further thread

    std::mutex m_mutex; ///< of what follows
    std::condition_variable m_hasWork;
    std::condition_variable m_hasRun;
    std::deque<DecodingTask *> m_waiting;
    std::vector<const DecodingTask *> m_done; ///< and not waited for yet
    std::atomic<bool> m_isEnding{false};      ///< changed with the mutex, read by running tasks without it
};

} // namespace quorvale
