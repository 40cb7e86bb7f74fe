// The scan of a disk of 20 recordings, on one processor and on two: as fast as the system's memory of the disk
// delivers, and as from a disk that reads 30 MB/s. What a scan makes of a second processor is up to the program.

#include "bench/cost.h"
#include "bench/peerprocess.h"
#include "tools/sampledisk/sampledisk.h"

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

// By a program of its own: on `processors`, and with these reads.
Cost scan(const fs::path &folder, const std::vector<std::string> &paths, const char *processors, double bytesPerSecond)
{
    std::vector<std::string> command{"env", "QT_QPA_PLATFORM=offscreen"};
    if (bytesPerSecond > 0) {
        command.push_back(std::string("LD_PRELOAD=") + QUORVALE_SLOW_READS);
        command.push_back("QUORVALE_BYTES_PER_SECOND=" + std::to_string(bytesPerSecond));
        command.push_back("QUORVALE_READ_REPORT=" + (folder / "bytes").string());
    }
    command.insert(command.end(),
                   {"taskset", "-c", processors, QUORVALE_SCAN_RECORDINGS, (folder / "report").string()});
    command.insert(command.end(), paths.begin(), paths.end());
    std::vector<Cost> costs;
    for (int round = 0; round < kRounds; ++round) {
        const ProcessCost cost = runMeasured(command);
        costs.push_back({cost.wallSeconds, cost.cpuSeconds});
    }
    return median(costs);
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
    (void)scan(folder, paths, "0", 0); // also brings them into the system's memory
    std::printf("| scan of %d recordings | processor | wall | |\n", static_cast<int>(paths.size()));
    for (const char *processors : {"0", "0,1"}) {
        const Cost quick = scan(folder, paths, processors, 0);
        const Cost slow = scan(folder, paths, processors, kBytesPerSecond);
        double bytes = 0;
        std::ifstream(folder / "bytes") >> bytes;
        const double reading = bytes / kBytesPerSecond;
        std::printf("|   processors %s | %.2f s | %.2f s | |\n", processors, quick.processor, quick.wall);
        std::printf("|   the same, at 30 MB/s | %.2f s | %.2f s | %.0f MB, reading alone %.2f s; %.2f of the larger of "
                    "reading and decoding |\n",
                    slow.processor, slow.wall, bytes / 1e6, reading, slow.wall / std::max(reading, quick.wall));
        std::fflush(stdout);
    }
    return 0;
}
