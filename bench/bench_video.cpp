// The video reader against its peers. Each row runs both in turn on the same recording and prints how many times the
// peer's time ours is ("ratio" by the clock, "cpu_ratio" by the processor; below 1 is faster). Both use one thread.

#include "bench/recordings.h"
#include "tools/testpicture/ffmpegprocess.h"
#include "tools/testpicture/numberedpicture.h"
#include "video/colour/yuv2rgbrow.h"
#include "video/ffvideo.h"

extern "C" {
#include <libswscale/swscale.h>
}
#ifdef QUORVALE_HAS_FFMS2
#include "bench/ffms2source.h"
#endif

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/time.h>
#include <vector>

using namespace quorvale;

namespace {

constexpr int kMostHeldBack = 4; // pictures that the decoder may keep at the end, which is not drained

/// What a piece of work took. On a machine that others use, too, the processor's time says more than the clock's.
struct Seconds
{
    double clock = 0;
    double processor = 0; // of this process and of the programs it has run
};

double processorSeconds()
{
    double seconds = 0;
    for (const int whose : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage = {};
        if (getrusage(whose, &usage) == 0) {
            for (const timeval &time : {usage.ru_utime, usage.ru_stime})
                seconds += double(time.tv_sec) + double(time.tv_usec) / 1e6;
        }
    }
    return seconds;
}

Seconds secondsOf(const std::function<void()> &work)
{
    const auto start = std::chrono::steady_clock::now();
    const double processorStart = processorSeconds();
    work();
    return {std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(),
            processorSeconds() - processorStart};
}

void require(bool holds, const char *what)
{
    if (!holds)
        throw std::runtime_error(what);
}

void open(FFVideo &video, const std::string &path, bool quick)
{
    require(video.Open(path.c_str(), quick, FFVideo::FF_ACCESS_READ), "the recording does not open");
}

void readPicture(FFVideo &video, int number)
{
    BridgeImage image;
    require(video.Read(number, image), "a picture is refused");
    benchmark::DoNotOptimize(image.data[0]);
    for (const std::uint8_t *plane : image.data)
        delete[] plane;
}

Seconds decodeWithProgram(const std::string &path)
{
    return secondsOf([&] {
        require(runFFmpeg({"-v", "quiet", "-nostdin", "-threads", "1", "-i", path, "-map", "0:v:0", "-f", "null", "-"})
                    .ok(),
                "the ffmpeg program fails");
    });
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// The times of both sides over the iterations of a row.
class Comparison
{
public:
    explicit Comparison(benchmark::State &state)
        : m_state(state)
    {
    }
    Comparison(const Comparison &) = delete;
    Comparison &operator=(const Comparison &) = delete;
    ~Comparison()
    {
        if (m_ratios.empty())
            return;
        m_state.counters["ours_s"] = median(m_ours);
        m_state.counters["peer_s"] = median(m_peer);
        m_state.counters["ratio"] = median(m_ratios);
        m_state.counters["cpu_ratio"] = median(m_processorRatios);
    }

    void add(const Seconds &ours, const Seconds &peer)
    {
        m_state.SetIterationTime(ours.clock);
        m_ours.push_back(ours.clock);
        m_peer.push_back(peer.clock);
        m_ratios.push_back(ours.clock / peer.clock);
        m_processorRatios.push_back(ours.processor / std::max(peer.processor, 1e-9));
    }

private:
    benchmark::State &m_state;
    std::vector<double> m_ours;
    std::vector<double> m_peer;
    std::vector<double> m_ratios;
    std::vector<double> m_processorRatios;
};

// Rows that take seconds bring their own number of repetitions.
void seldom(benchmark::internal::Benchmark *row)
{
    row->UseManualTime()->Iterations(1)->Repetitions(3)->Unit(benchmark::kMillisecond);
}

/// All pictures of an HD recording in order, copied out, against `ffmpeg -f null`.
void allPicturesInOrder(benchmark::State &state)
{
    const std::string path = highDefinitionMinute();
    Comparison comparison(state);
    for (auto _ : state) {
        const Seconds peer = decodeWithProgram(path);
        const Seconds ours = secondsOf([&] {
            FFVideo video;
            open(video, path, true);
            for (int number = 0; number < kPicturesAMinute - kMostHeldBack; ++number)
                readPicture(video, number);
        });
        comparison.add(ours, peer);
    }
}
BENCHMARK(allPicturesInOrder)->Apply(seldom);

/// The full table of a recording, against decoding it with `ffmpeg -f null`.
void fullTable(benchmark::State &state, std::string (*recording)())
{
    const std::string path = recording();
    Comparison comparison(state);
    for (auto _ : state) {
        const Seconds peer = decodeWithProgram(path);
        const Seconds ours = secondsOf([&] {
            FFVideo video;
            open(video, path, false);
        });
        comparison.add(ours, peer);
    }
}
BENCHMARK_CAPTURE(fullTable, withoutBPictures, tenMinutesWithoutBPictures)->Apply(seldom);
BENCHMARK_CAPTURE(fullTable, withBPictures, tenMinutesWithBPictures)->Apply(seldom);

#ifdef QUORVALE_HAS_FFMS2
/// Random pictures of an indexed recording, against FFMS2. Indexing is not counted.
void randomPictures(benchmark::State &state, std::string (*recording)(), int pictures)
{
    const std::string path = recording();
    // Indexed once for all repetitions.
    static std::map<std::string, KeyFrameTable> tables;
    FFVideo video;
    if (const auto known = tables.find(path); known != tables.end()) {
        require(video.SetKeyTable(&known->second), "the table is refused");
        open(video, path, true);
    } else {
        open(video, path, false);
        CopyKFT(&tables[path], &video.keyFrames); // kept until the process ends
    }
    const Source source = indexedSource(path);
    std::minstd_rand random(4711);
    std::vector<int> numbers;
    for (int i = 0; i < pictures; ++i)
        numbers.push_back(static_cast<int>(random() % unsigned(video.frameCount)));
    Comparison comparison(state);
    for (auto _ : state) {
        const Seconds peer = secondsOf([&] {
            FFMS_ErrorInfo error = {};
            for (const int number : numbers)
                require(FFMS_GetFrame(source.get(), number, &error) != nullptr, "the peer refuses a picture");
        });
        const Seconds ours = secondsOf([&] {
            for (const int number : numbers)
                readPicture(video, number);
        });
        comparison.add(ours, peer);
    }
}
BENCHMARK_CAPTURE(randomPictures, withoutBPictures, tenMinutesWithoutBPictures, 200)->Apply(seldom);
// Every one of them is reached from the recording's beginning.
BENCHMARK_CAPTURE(randomPictures, withBPictures, tenMinutesWithBPictures, 5)->Apply(seldom)->Repetitions(1);
#endif

struct ContextFree
{
    void operator()(SwsContext *context) const { sws_freeContext(context); }
};

/// One HD picture to red, green and blue, against libswscale.
void colourConversion(benchmark::State &state)
{
    constexpr int kWidth = 1920;
    constexpr int kHeight = 1080;
    PictureFormat format{kWidth, kHeight, ChromaFormat::Yuv420, false};
    std::vector<std::uint8_t> picture(format.size());
    drawNumberedPicture(picture.data(), format, 1);
    const std::uint8_t *planes[] = {picture.data(), picture.data() + format.lumaSize(),
                                    picture.data() + format.lumaSize() + format.chromaSize()};
    const int strides[] = {kWidth, kWidth / 2, kWidth / 2};
    std::vector<std::uint8_t> rgb(std::size_t{3} * kWidth * kHeight);
    const std::unique_ptr<SwsContext, ContextFree> context(sws_getContext(kWidth, kHeight, AV_PIX_FMT_YUV420P, kWidth,
                                                                          kHeight, AV_PIX_FMT_RGB24, SWS_BILINEAR,
                                                                          nullptr, nullptr, nullptr));
    require(context != nullptr, "the peer does not convert");

    Comparison comparison(state);
    for (auto _ : state) {
        const Seconds peer = secondsOf([&] {
            std::uint8_t *out[] = {rgb.data()};
            const int outStrides[] = {3 * kWidth};
            require(sws_scale(context.get(), planes, strides, 0, kHeight, out, outStrides) == kHeight,
                    "the peer does not convert");
        });
        const Seconds ours = secondsOf([&] {
            quorvale::ChromaRow chroma;
            for (int row = 0; row < kHeight; ++row) {
                const std::size_t chromaOffset = std::size_t(row / 2) * strides[1];
                if (row % 2 == 0)
                    chroma.assign(planes[1] + chromaOffset, planes[2] + chromaOffset, kWidth / 2);
                const std::size_t pixels = std::size_t(row) * kWidth;
                chroma.toRgb(planes[0] + pixels, kWidth, rgb.data() + 3 * pixels);
            }
        });
        benchmark::DoNotOptimize(rgb.data());
        comparison.add(ours, peer);
    }
}
BENCHMARK(colourConversion)->UseManualTime()->Iterations(50)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
