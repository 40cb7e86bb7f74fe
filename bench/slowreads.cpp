// Loaded before the C library: a disk that delivers QUORVALE_BYTES_PER_SECOND and remembers what it has read, as the
// system does. What is announced (posix_fadvise) is read at once, in the background. Linux only. At the end, the number
// of bytes that came from the disk goes to the file QUORVALE_READ_REPORT.

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr off_t kBlock = 64 * 1024;
constexpr off_t kSmallest = 256 * 1024; // Smaller files are programs' own: libraries, fonts.

class SlowDisk
{
public:
    SlowDisk()
    {
        const char *rate = std::getenv("QUORVALE_BYTES_PER_SECOND"); // NOLINT(concurrency-mt-unsafe): nobody sets it
        m_secondsABlock = rate ? double(kBlock) / std::atof(rate) : 0;
    }
    ~SlowDisk()
    {
        const char *path = std::getenv("QUORVALE_READ_REPORT"); // NOLINT(concurrency-mt-unsafe): nobody sets it
        std::FILE *report = path ? std::fopen(path, "w") : nullptr;
        if (!report)
            return;
        std::fprintf(report, "%lld\n", static_cast<long long>(m_ready.size()) * kBlock);
        std::fclose(report);
    }
    SlowDisk(const SlowDisk &) = delete;
    SlowDisk &operator=(const SlowDisk &) = delete;

    // When the last of these bytes is there.
    Clock::time_point ask(int descriptor, off_t from, off_t bytes)
    {
        struct stat facts = {};
        Clock::time_point ready = Clock::now();
        if (m_secondsABlock <= 0 || bytes <= 0 || fstat(descriptor, &facts) != 0 || !S_ISREG(facts.st_mode) ||
            facts.st_size < kSmallest)
            return ready;
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (off_t block = from / kBlock; block * kBlock < from + bytes && block * kBlock < facts.st_size; ++block) {
            const auto [found, isNew] = m_ready.try_emplace({facts.st_ino, block});
            if (isNew) {
                const auto duration = std::chrono::duration<double>(m_secondsABlock);
                m_free = std::max(m_free, Clock::now()) + std::chrono::duration_cast<Clock::duration>(duration);
                found->second = m_free;
            }
            ready = std::max(ready, found->second);
        }
        return ready;
    }

private:
    std::mutex m_mutex;
    double m_secondsABlock = 0;
    Clock::time_point m_free{}; // the disk has nothing to do from then on
    std::map<std::pair<ino_t, off_t>, Clock::time_point> m_ready;
};

SlowDisk &disk()
{
    static SlowDisk theDisk;
    return theDisk;
}

template <typename Function>
Function *real(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

ssize_t read(int descriptor, void *buffer, size_t size)
{
    static const auto function = real<ssize_t(int, void *, size_t)>("read");
    const off_t from = lseek(descriptor, 0, SEEK_CUR);
    const ssize_t bytes = function(descriptor, buffer, size);
    if (from >= 0)
        std::this_thread::sleep_until(disk().ask(descriptor, from, bytes));
    return bytes;
}

int posix_fadvise(int descriptor, off_t from, off_t size, int advice)
{
    static const auto function = real<int(int, off_t, off_t, int)>("posix_fadvise");
    if (advice == POSIX_FADV_WILLNEED)
        disk().ask(descriptor, from, size);
    return function(descriptor, from, size, advice);
}

int posix_fadvise64(int descriptor, off64_t from, off64_t size, int advice)
{
    return posix_fadvise(descriptor, from, size, advice);
}

} // extern "C"
