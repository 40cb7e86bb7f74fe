// Loading an index of 10,000 records (320 MiB) against a bare loop that reads the same bytes of each record.

#include "archive/archivepaths.h"
#include "archive/recordingsindex.h"

#include "bench/ratioreporter.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>

#include <fcntl.h>
#ifdef __APPLE__
#include <malloc/malloc.h>
#else
#include <malloc.h>
#endif
#include <unistd.h>

namespace {

std::size_t allocatedSize(const void *memory)
{
#ifdef __APPLE__
    return malloc_size(memory);
#else
    return malloc_usable_size(const_cast<void *>(memory));
#endif
}

// What the program allocates, while it is counted. One thread allocates here.
bool counting = false;
std::size_t liveBytes = 0;
std::size_t peakBytes = 0;

} // namespace

void *operator new(std::size_t size)
{
    void *memory = std::malloc(size);
    if (!memory)
        throw std::bad_alloc();
    if (counting) {
        liveBytes += allocatedSize(memory);
        peakBytes = std::max(peakBytes, liveBytes);
    }
    return memory;
}

void operator delete(void *memory) noexcept
{
    if (counting)
        liveBytes -= allocatedSize(memory);
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    operator delete(memory);
}

namespace {

namespace fs = std::filesystem;

constexpr int kRecords = 10000;
constexpr int kStride = 32768;
constexpr std::size_t kHead = 3115; // everything up to the end of the description
constexpr int kMarker = 16390;
constexpr std::size_t kTail = 3; // the play position's marker and bytes

/// A device with such an index, removed at the end.
class Device
{
public:
    Device()
        : m_path(fs::temp_directory_path() / ("quorvale-bench-" + std::to_string(::getpid())))
    {
        fs::create_directories(m_path / "DVR/RECSINFO");
        std::ofstream index(indexPath(path()), std::ios::binary);
        for (int i = 1; i <= kRecords; ++i) {
            std::array<char, kHead> head{};
            head[0] = 0x52;
            head[1] = 0x01;
            head[2] = 0x07;
            head[3] = static_cast<char>(0xDF + i % 10);
            put(head, 13, "rec" + std::to_string(i));
            put(head, 43, "Channel " + std::to_string(i % 40));
            put(head, 1067, "The title of programme number " + std::to_string(i));
            put(head, 2091, std::string(static_cast<std::size_t>(100 + i % 700), 'd'));
            index.seekp(static_cast<std::streamoff>(i) * kStride);
            index.write(head.data(), head.size());
            index.seekp(static_cast<std::streamoff>(i) * kStride + kMarker);
            index.write("\x6A\x10\x0E", 3);
        }
        index.seekp(static_cast<std::streamoff>(kRecords + 1) * kStride - 1);
        index.put('\0');
    }
    ~Device() { fs::remove_all(m_path); }
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    [[nodiscard]] std::string path() const { return m_path.string(); }

private:
    static void put(std::array<char, kHead> &head, std::size_t offset, const std::string &text)
    {
        std::copy(text.begin(), text.end(), head.begin() + static_cast<std::ptrdiff_t>(offset));
    }

    fs::path m_path;
};

const Device &device()
{
    static const Device made;
    return made;
}

void loadIndex(benchmark::State &state)
{
    const std::string path = device().path();
    for (auto _ : state) {
        auto programmes = readRecordingsIndex(path);
        if (!programmes || programmes->size() != kRecords)
            state.SkipWithError("the index was not read");
        state.PauseTiming();
        programmes.reset();
        state.ResumeTiming();
    }

    liveBytes = peakBytes = 0;
    counting = true;
    const auto programmes = readRecordingsIndex(path);
    counting = false;
    state.counters["records_MiB"] = static_cast<double>(liveBytes) / (1 << 20);
    state.counters["peak_per_records"] = static_cast<double>(peakBytes) / static_cast<double>(liveBytes);
}

void bareLoop(benchmark::State &state)
{
    const std::string path = indexPath(device().path());
    for (auto _ : state) {
        const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        std::array<char, kHead> head;
        std::array<char, kTail> tail;
        for (int i = 1;; ++i) {
            const off_t offset = static_cast<off_t>(i) * kStride;
            if (::pread(file, head.data(), head.size(), offset) != static_cast<ssize_t>(head.size()) || head[0] != 0x52)
                break;
            if (::pread(file, tail.data(), tail.size(), offset + kMarker) != static_cast<ssize_t>(tail.size()))
                break;
            benchmark::DoNotOptimize(head);
            benchmark::DoNotOptimize(tail);
        }
        ::close(file);
    }
}

BENCHMARK(loadIndex)->Unit(benchmark::kMillisecond);
BENCHMARK(bareLoop)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv)
{
    return runAndCompare(argc, argv, {{"10,000-record index, load / bare loop", "loadIndex", "bareLoop"}});
}
