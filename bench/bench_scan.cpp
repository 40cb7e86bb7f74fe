// The scan of a whole disk against two programs that get the same pictures: the ffmpeg program, which counts pictures
// as we do, and ffmpegthumbnailer, which goes to the key picture next to a time. All run as processes, in turn.

#include "bench/peerprocess.h"
#include "tools/sampledisk/sampledisk.h"
#include "tools/testpicture/ffmpegprocess.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

using namespace quorvale;

namespace {

namespace fs = std::filesystem;

constexpr int kStep = 150; // from one picture to the next; the first has this number, too
constexpr int kMostPictures = 5;
constexpr int kPicturesPerSecond = 25;

struct Recording
{
    int pictures = 0;
    int smallWidth = 0;
    int smallHeight = 0;
    int largeWidth = 0;
    int largeHeight = 0;
    std::string path{};
};

fs::path folder()
{
    return fs::path(QUORVALE_BENCH_FOLDER);
}

fs::path reportPath()
{
    return folder() / "report";
}

std::vector<std::string> recordingPaths()
{
    std::vector<std::string> paths;
    for (const auto &entry : fs::directory_iterator(folder() / "RECORDER/DVR/RECS")) {
        if (entry.path().extension() == ".ts")
            paths.push_back(entry.path().string());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

ProcessCost scan(const std::vector<std::string> &paths)
{
    std::vector<std::string> command{QUORVALE_SCAN_RECORDINGS, reportPath().string()};
    command.insert(command.end(), paths.begin(), paths.end());
    return runMeasured(command);
}

// The recordings that have pictures, as a first scan reports them.
const std::vector<Recording> &recordings()
{
    static const std::vector<Recording> found = [] {
        Options options;
        options.directory = folder();
        std::ostringstream progress;
        std::printf("making the sample disk, or finding it: %s\n", folder().c_str());
        std::fflush(stdout);
        makeSampleDisk(options, progress);
        (void)scan(recordingPaths());
        std::vector<Recording> list;
        std::ifstream report(reportPath());
        Recording recording;
        while (report >> recording.pictures >> recording.smallWidth >> recording.smallHeight >> recording.largeWidth >>
                   recording.largeHeight &&
               std::getline(report >> std::ws, recording.path))
            list.push_back(recording);
        if (list.empty())
            throw std::runtime_error("the scan brought no pictures");
        return list;
    }();
    return found;
}

std::string scaleTo(int width, int height)
{
    return "scale=" + std::to_string(width) + ':' + std::to_string(height);
}

/// The same pictures, by number, in the same two sizes. Like a scan it does not know how many there are.
std::vector<std::string> ffmpegCommand(const Recording &recording)
{
    std::string wanted;
    for (int i = 1; i <= kMostPictures; ++i)
        wanted += (i > 1 ? "+eq(n\\," : "eq(n\\,") + std::to_string(i * kStep) + ')';
    const std::string filters = "[0:v:0]select=" + wanted + ",split[a][b];[a]" +
                                scaleTo(recording.smallWidth, recording.smallHeight) + "[small];[b]" +
                                scaleTo(recording.largeWidth, recording.largeHeight) + "[large]";
    std::vector<std::string> command{"ffmpeg", "-v", "quiet",        "-nostdin",        "-threads",
                                     "1",      "-i", recording.path, "-filter_complex", filters};
    for (const char *output : {"[small]", "[large]"}) {
        for (const std::string &word :
             {std::string("-map"), std::string(output), std::string(passthroughOption()), std::string("passthrough"),
              std::string("-frames:v"), std::to_string(kMostPictures), std::string("-pix_fmt"), std::string("rgb24"),
              std::string("-f"), std::string("rawvideo"), std::string("-y"), std::string("/dev/null")})
            command.push_back(word);
    }
    return command;
}

std::vector<std::string> thumbnailerCommand(const Recording &recording, int picture)
{
    const int seconds = picture * kStep / kPicturesPerSecond;
    char time[16];
    std::snprintf(time, sizeof time, "%02d:%02d:%02d", seconds / 3600, seconds / 60 % 60, seconds % 60);
    return {"ffmpegthumbnailer",
            "-i",
            recording.path,
            "-t",
            time,
            "-s",
            std::to_string(recording.largeWidth),
            "-c",
            "jpeg",
            "-o",
            "/dev/null"};
}

void add(ProcessCost &sum, const ProcessCost &cost)
{
    sum.wallSeconds += cost.wallSeconds;
    sum.cpuSeconds += cost.cpuSeconds;
    sum.peakBytes = std::max(sum.peakBytes, cost.peakBytes);
}

ProcessCost withFFmpeg()
{
    ProcessCost sum;
    for (const Recording &recording : recordings())
        add(sum, runMeasured(ffmpegCommand(recording)));
    return sum;
}

ProcessCost withThumbnailer()
{
    ProcessCost sum;
    for (const Recording &recording : recordings()) {
        for (int picture = 1; picture <= recording.pictures; ++picture)
            add(sum, runMeasured(thumbnailerCommand(recording, picture)));
    }
    return sum;
}

void sampleDisk(benchmark::State &state, const char *peerProgram, ProcessCost (*peer)())
{
    if (!isInstalled(peerProgram)) {
        state.SkipWithError("the peer is not installed");
        return;
    }
    constexpr double kMiB = 1024 * 1024;
    const std::vector<std::string> paths = recordingPaths();
    const auto withPictures = static_cast<double>(recordings().size());
    for (auto _ : state) {
        ProcessCost theirs;
        ProcessCost ours;
        try {
            theirs = peer();
            ours = scan(paths);
        } catch (const std::exception &error) {
            state.SkipWithError(error.what());
            return;
        }
        state.SetIterationTime(ours.wallSeconds);
        state.counters["s_per_recording"] = ours.wallSeconds / withPictures;
        state.counters["ratio"] = ours.wallSeconds / theirs.wallSeconds;
        state.counters["cpu_ratio"] = ours.cpuSeconds / theirs.cpuSeconds;
        state.counters["peak_MiB"] = static_cast<double>(ours.peakBytes) / kMiB;
        state.counters["peak_ratio"] = static_cast<double>(ours.peakBytes) / static_cast<double>(theirs.peakBytes);
    }
}

} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    try {
        (void)recordings(); // also brings them into the system's cache
    } catch (const std::exception &error) {
        std::fprintf(stderr, "bench_scan: %s\n", error.what());
        return 1;
    }
    const auto compare = [](const char *name, const char *program, ProcessCost (*peer)()) {
        // Each takes a while: fewer repetitions than the command line asks for.
        benchmark::RegisterBenchmark(name, sampleDisk, program, peer)
            ->UseManualTime()
            ->Iterations(1)
            ->Repetitions(3)
            ->Unit(benchmark::kSecond);
    };
    compare("sampleDisk/ffmpeg", "ffmpeg", withFFmpeg);
    compare("sampleDisk/ffmpegthumbnailer", "ffmpegthumbnailer", withThumbnailer);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
