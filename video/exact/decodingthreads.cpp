#include "video/exact/decodingthreads.h"

#include <algorithm>
#include <system_error>

namespace quorvale {

DecodingThreads::DecodingThreads(int most)
    : m_most(static_cast<std::size_t>(std::max(most, 1)))
{
}

DecodingThreads::~DecodingThreads()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
    }
    m_hasWork.notify_all();
    for (std::thread &thread : m_threads)
        thread.join();
}

void DecodingThreads::add(DecodingTask &task)
{
    {
        const std::lock_guard lock(m_mutex);
        m_waiting.push_back(&task);
    }
    m_hasWork.notify_one();
    m_startsMore = m_startsMore && m_threads.size() < m_most && startThread();
}

// The library tells by an exception that the system gives no further thread; there it stays.
bool DecodingThreads::startThread()
{
    try {
        m_threads.emplace_back(&DecodingThreads::work, this);
    } catch (const std::system_error &) {
        return false;
    }
    return true;
}

void DecodingThreads::wait(const DecodingTask &task)
{
    std::unique_lock lock(m_mutex);
    const auto isDone = [&] { return std::find(m_done.begin(), m_done.end(), &task) != m_done.end(); };
    while (m_threads.empty() && !isDone() && !m_waiting.empty())
        runNext(lock);
    m_hasRun.wait(lock, isDone);
    m_done.erase(std::find(m_done.begin(), m_done.end(), &task));
}

void DecodingThreads::work()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_hasWork.wait(lock, [this] { return m_isEnding || !m_waiting.empty(); });
        if (m_isEnding)
            return;
        runNext(lock);
    }
}

// `lock` is held before and after it.
void DecodingThreads::runNext(std::unique_lock<std::mutex> &lock)
{
    DecodingTask &task = *m_waiting.front();
    m_waiting.pop_front();
    lock.unlock();
    task.run(m_isEnding);
    lock.lock();
    m_done.push_back(&task);
    m_hasRun.notify_one();
}

} // namespace quorvale
