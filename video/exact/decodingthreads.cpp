#include "video/exact/decodingthreads.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <utility>

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

std::future<DecodedPicture> DecodingThreads::add(DecodingTask task)
{
    const std::int64_t pictures = task.pictureCount();
    Job job{pictures, decltype(Job::task)(std::move(task))};
    std::future<DecodedPicture> picture = job.task.get_future();
    {
        const std::lock_guard lock(m_mutex);
        m_waiting.push_back(std::move(job));
    }
    m_hasWork.notify_one();
    m_startsMore = m_startsMore && m_threads.size() < m_most && startThread();
    return picture;
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

DecodedPicture DecodingThreads::wait(std::future<DecodedPicture> picture)
{
    const auto hasRun = [&] { return picture.wait_for(std::chrono::seconds(0)) == std::future_status::ready; };
    std::unique_lock lock(m_mutex);
    while (m_threads.empty() && !m_waiting.empty() && !hasRun())
        runNext(lock);
    lock.unlock();
    return picture.get();
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
    const auto longest = std::max_element(m_waiting.begin(), m_waiting.end(), [](const Job &left, const Job &right) {
        return left.pictures < right.pictures;
    });
    Job job = std::move(*longest);
    m_waiting.erase(longest);
    lock.unlock();
    job.task(m_isEnding);
    lock.lock();
}

} // namespace quorvale
