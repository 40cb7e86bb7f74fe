// The video reader against its peers. Each row runs both in turn on the same recording and prints how many times the
// peer's time ours is ("ratio": below 1 is faster); both use one thread.

#include "tools/testpicture/numberedstream.h"
#include "video/ffvideo.h"
#include "video/yuv2rgbrow.h"

extern "C" {
#include <libswscale/swscale.h>
}
#ifdef QUORVALE_HAS_FFMS2
#include <ffms.h>
#endif

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <stdexcept>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

double secondsOf(const std::function<void()> &work)
{
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void require(bool holds, const char *what)
{
    if (!holds)
        throw std::runtime_error(what);
}

/// Recordings that are made when they are first asked for, in a folder that goes with the process.
class Recordings
{
public:
    Recordings()
        : folder(std::filesystem::temp_directory_path() / ("quorvale-bench-" + std::to_string(getpid())))
    {
        std::filesystem::create_directories(folder);
    }
    ~Recordings()
    {
        std::error_code ignored; // Nothing can be done about a temporary folder that stays.
        std::filesystem::remove_all(folder, ignored);
    }
    Recordings(const Recordings &) = delete;
    Recordings &operator=(const Recordings &) = delete;

    std::string path(const std::string &name, int width, int height, int frames, std::vector<std::string> encoder)
    {
        NumberedStream stream;
        stream.path = (folder / name).string();
        if (std::filesystem::exists(stream.path))
            return stream.path;
        stream.picture = {width, height, ChromaFormat::Yuv420, false};
        stream.frames = frames;
        stream.encoderArguments = std::move(encoder);
        require(encodeNumberedStream(stream).ok(), "the recording could not be made");
        return stream.path;
    }

private:
    std::filesystem::path folder;
};

Recordings &recordings()
{
    static Recordings made;
    return made;
}

std::string highDefinition()
{
    return recordings().path("hd.ts", 1920, 1080, 150, {"-c:v", "libx264", "-preset", "veryfast", "-g", "24"});
}

std::string withoutBPictures()
{
    return recordings().path("ip.ts", 720, 576, 1500,
                             {"-c:v", "libx264", "-preset", "ultrafast", "-g", "12", "-bf", "0", "-sc_threshold", "0"});
}

std::string withBPictures()
{
    return recordings().path("ipb.ts", 720, 576, 250,
                             {"-c:v", "libx264", "-preset", "veryfast", "-g", "12", "-bf", "2"});
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

double decodeWithProgram(const std::string &path)
{
    return secondsOf([&] {
        require(runFFmpeg({"-v", "quiet", "-nostdin", "-threads", "1", "-i", path, "-map", "0:v:0", "-f", "null", "-"})
                    .ok(),
                "the ffmpeg program fails");
    });
}

void report(benchmark::State &state, double ours, double peer)
{
    state.SetIterationTime(ours);
    state.counters["ours_s"] = ours;
    state.counters["peer_s"] = peer;
    state.counters["ratio"] = ours / peer;
}

/// All pictures of an HD recording in order, copied out, against `ffmpeg -f null`.
void allPicturesInOrder(benchmark::State &state)
{
    const std::string path = highDefinition();
    for (auto _ : state) {
        const double peer = decodeWithProgram(path);
        const double ours = secondsOf([&] {
            FFVideo video;
            open(video, path, true);
            for (int number = 0; number < 145; ++number)
                readPicture(video, number);
        });
        report(state, ours, peer);
    }
}
BENCHMARK(allPicturesInOrder)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

/// The full table of a recording, against decoding it with `ffmpeg -f null`.
void fullTable(benchmark::State &state)
{
    const std::string path = withoutBPictures();
    for (auto _ : state) {
        const double peer = decodeWithProgram(path);
        const double ours = secondsOf([&] {
            FFVideo video;
            open(video, path, false);
        });
        report(state, ours, peer);
    }
}
BENCHMARK(fullTable)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);

#ifdef QUORVALE_HAS_FFMS2
struct SourceCloser
{
    void operator()(FFMS_VideoSource *source) const { FFMS_DestroyVideoSource(source); }
};
using Source = std::unique_ptr<FFMS_VideoSource, SourceCloser>;

Source indexedSource(const std::string &path)
{
    FFMS_Init(0, 0);
    FFMS_ErrorInfo error = {};
    FFMS_Indexer *indexer = FFMS_CreateIndexer(path.c_str(), &error);
    require(indexer != nullptr, "the peer does not open the recording");
    FFMS_Index *index = FFMS_DoIndexing2(indexer, FFMS_IEH_ABORT, &error);
    require(index != nullptr, "the peer does not index the recording");
    const int track = FFMS_GetFirstTrackOfType(index, FFMS_TYPE_VIDEO, &error);
    Source source(FFMS_CreateVideoSource(path.c_str(), track, index, 1, FFMS_SEEK_NORMAL, &error));
    FFMS_DestroyIndex(index);
    require(source != nullptr, "the peer does not decode the recording");
    return source;
}

/// Random pictures of an indexed recording, against FFMS2. Indexing is not counted.
void randomPictures(benchmark::State &state, std::string (*recording)(), int pictures)
{
    const std::string path = recording();
    FFVideo video;
    open(video, path, false);
    const Source source = indexedSource(path);
    std::minstd_rand random(4711);
    std::vector<int> numbers;
    for (int i = 0; i < pictures; ++i)
        numbers.push_back(static_cast<int>(random() % unsigned(video.frameCount - 5)));
    for (auto _ : state) {
        const double peer = secondsOf([&] {
            FFMS_ErrorInfo error = {};
            for (const int number : numbers)
                require(FFMS_GetFrame(source.get(), number, &error) != nullptr, "the peer refuses a picture");
        });
        const double ours = secondsOf([&] {
            for (const int number : numbers)
                readPicture(video, number);
        });
        report(state, ours, peer);
    }
}
BENCHMARK_CAPTURE(randomPictures, withoutBPictures, withoutBPictures, 200)
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(randomPictures, withBPictures, withBPictures, 20)
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);
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

    for (auto _ : state) {
        const double peer = secondsOf([&] {
            std::uint8_t *out[] = {rgb.data()};
            const int outStrides[] = {3 * kWidth};
            require(sws_scale(context.get(), planes, strides, 0, kHeight, out, outStrides) == kHeight,
                    "the peer does not convert");
        });
        const double ours = secondsOf([&] {
            ChromaRow chroma;
            for (int row = 0; row < kHeight; ++row) {
                const std::size_t chromaOffset = std::size_t(row / 2) * strides[1];
                if (row % 2 == 0)
                    chroma.assign(planes[1] + chromaOffset, planes[2] + chromaOffset, kWidth / 2);
                const std::size_t pixels = std::size_t(row) * kWidth;
                chroma.toRgb(planes[0] + pixels, kWidth, rgb.data() + 3 * pixels);
            }
        });
        benchmark::DoNotOptimize(rgb.data());
        report(state, ours, peer);
    }
}
BENCHMARK(colourConversion)->UseManualTime()->Iterations(50)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
