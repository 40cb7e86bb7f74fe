// The scan of a disk of 20 recordings, on one processor and on two, in turn: as fast as the system's memory of the disk
// delivers, and as from a disk that reads 30 MB/s. What a scan makes of a second processor is up to the program.

#include "bench/cost.h"
#include "bench/peerprocess.h"
#include "tools/sampledisk/sampledisk.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

using namespace quorvale;

namespace {

namespace fs = std::filesystem;

constexpr int kRounds = 3;
constexpr double kBytesPerSecond = 30e6;

std::vector<std::string> recordingPaths(const fs::path &disk)
{
    std::vector<std::string> paths;
    for (const auto &entry : fs::directory_iterator(disk / "RECORDER/DVR/RECS")) {
        if (entry.path().extension() == ".ts")
            paths.push_back(entry.path().string());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

struct Way
{
    const char *processors;
    double bytesPerSecond; ///< 0: as fast as can be
};

// By a program of its own.
Cost scan(const fs::path &folder, const std::vector<std::string> &paths, const Way &way)
{
    std::vector<std::string> command{"env", "QT_QPA_PLATFORM=offscreen"};
    if (way.bytesPerSecond > 0) {
        command.push_back(std::string("LD_PRELOAD=") + QUORVALE_SLOW_READS);
        command.push_back("QUORVALE_BYTES_PER_SECOND=" + std::to_string(way.bytesPerSecond));
        command.push_back("QUORVALE_READ_REPORT=" + (folder / "bytes").string());
    }
    command.insert(command.end(),
                   {"taskset", "-c", way.processors, QUORVALE_SCAN_RECORDINGS, (folder / "report").string()});
    command.insert(command.end(), paths.begin(), paths.end());
    const ProcessCost cost = runMeasured(command);
    return {cost.wallSeconds, cost.cpuSeconds};
}

} // namespace

int main()
{
    const fs::path folder = fs::path(QUORVALE_BENCH_FOLDER) / "disk-of-20";
    Options options;
    options.recordings = 20;
    options.directory = folder;
    std::ostringstream progress;
    std::printf("making the sample disk, or finding it: %s\n", folder.c_str());
    std::fflush(stdout);
    makeSampleDisk(options, progress);
    const std::vector<std::string> paths = recordingPaths(folder);
    (void)scan(folder, paths, {"0", 0}); // brings them into the system's memory
    constexpr std::array<Way, 4> kWays{{{"0", 0}, {"0", kBytesPerSecond}, {"0,1", 0}, {"0,1", kBytesPerSecond}}};
    std::array<std::vector<Cost>, kWays.size()> costs;
    for (int round = 0; round < kRounds; ++round) {
        for (std::size_t i = 0; i < kWays.size(); ++i)
            costs[i].push_back(scan(folder, paths, kWays[i]));
    }
    double bytes = 0;
    std::ifstream(folder / "bytes") >> bytes;
    const double reading = bytes / kBytesPerSecond;
    std::printf("%zu recordings, %.0f MB read; reading alone at 30 MB/s %.2f s\n", paths.size(), bytes / 1e6, reading);
    std::printf("| processors | processor | wall | wall at 30 MB/s | of the larger of reading and decoding |\n");
    for (std::size_t i = 0; i < kWays.size(); i += 2) {
        const Cost quick = median(costs[i]);
        const Cost slow = median(costs[i + 1]);
        std::printf("| %s | %.2f s | %.2f s | %.2f s | %.2f |\n", kWays[i].processors, quick.processor, quick.wall,
                    slow.wall, slow.wall / std::max(reading, quick.wall));
    }
    return 0;
}
