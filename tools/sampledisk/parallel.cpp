#include "tools/sampledisk/parallel.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>

namespace quorvale {

void runParallel(const std::vector<std::function<void()>> &jobs)
{
    std::atomic<std::size_t> next{0};
    std::mutex failureMutex;
    std::exception_ptr failure;
    const auto work = [&] {
        for (std::size_t job = next++; job < jobs.size(); job = next++) {
            try {
                jobs[job]();
            } catch (...) {
                next = jobs.size();
                const std::lock_guard lock(failureMutex);
                if (!failure)
                    failure = std::current_exception();
            }
        }
    };

    std::vector<std::thread> threads;
    const std::size_t processors = std::max(1u, std::thread::hardware_concurrency());
    for (std::size_t i = 0; i < std::min(processors, jobs.size()); ++i)
        threads.emplace_back(work);
    for (std::thread &thread : threads)
        thread.join();
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace quorvale
