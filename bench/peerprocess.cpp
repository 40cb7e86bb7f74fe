#include "bench/peerprocess.h"

#include "tools/process/runprocess.h"

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

namespace {

double seconds(const timeval &time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

std::int64_t peakBytes(const rusage &usage)
{
#ifdef __APPLE__
    return usage.ru_maxrss;
#else
    return std::int64_t{usage.ru_maxrss} * 1024;
#endif
}

} // namespace

ProcessCost runMeasured(const std::vector<std::string> &command)
{
    const auto begin = std::chrono::steady_clock::now();
    const quorvale::ProcessEnd end = quorvale::runProcess(command);
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - begin;
    if (!end.ok())
        throw std::runtime_error(command.front() + " failed: " + end.errors);
    return {wall.count(), seconds(end.usage.ru_utime) + seconds(end.usage.ru_stime), peakBytes(end.usage)};
}

bool isInstalled(const std::string &program)
{
    const char *path = std::getenv("PATH"); // NOLINT(concurrency-mt-unsafe): nothing here changes it
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        if (access(folder.append(1, '/').append(program).c_str(), X_OK) == 0)
            return true;
    }
    return false;
}
