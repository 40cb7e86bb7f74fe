#include "bench/peerprocess.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ; // NOLINT(readability-redundant-declaration): only some systems declare it

namespace {

using Clock = std::chrono::steady_clock;

struct FileCloser
{
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

class FileActions
{
public:
    FileActions() { posix_spawn_file_actions_init(&m_actions); }
    FileActions(const FileActions &) = delete;
    FileActions &operator=(const FileActions &) = delete;
    ~FileActions() { posix_spawn_file_actions_destroy(&m_actions); }

    posix_spawn_file_actions_t *get() { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

[[noreturn]] void fail(const std::string &program, const std::string &what)
{
    throw std::runtime_error(program + ": " + what);
}

pid_t start(const std::vector<std::string> &command, int errors)
{
    FileActions actions;
    int status = posix_spawn_file_actions_addopen(actions.get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (status == 0)
        status = posix_spawn_file_actions_addopen(actions.get(), STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    if (status == 0)
        status = posix_spawn_file_actions_adddup2(actions.get(), errors, STDERR_FILENO);

    std::vector<std::string> words = command;
    std::vector<char *> argv;
    argv.reserve(words.size() + 1);
    for (std::string &word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    if (status == 0)
        status = posix_spawnp(&pid, argv.front(), actions.get(), nullptr, argv.data(), environ);
    if (status != 0)
        fail(command.front(), std::strerror(status)); // NOLINT(concurrency-mt-unsafe)
    return pid;
}

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

std::string textOf(std::FILE *file)
{
    std::string text;
    std::array<char, 4096> piece{};
    std::rewind(file);
    while (const std::size_t size = std::fread(piece.data(), 1, piece.size(), file))
        text.append(piece.data(), size);
    return text;
}

} // namespace

ProcessCost runMeasured(const std::vector<std::string> &command)
{
    if (command.empty())
        throw std::invalid_argument("no program to run");
    const File errors(std::tmpfile());
    if (!errors)
        fail(command.front(), "no temporary file for what it says");

    const auto begin = Clock::now();
    const pid_t pid = start(command, fileno(errors.get()));
    int status = 0;
    rusage usage{};
    while (wait4(pid, &status, 0, &usage) < 0) {
        if (errno != EINTR)
            fail(command.front(), "its end was missed");
    }
    const std::chrono::duration<double> wall = Clock::now() - begin;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        fail(command.front(), "failed: " + textOf(errors.get()));
    return {wall.count(), seconds(usage.ru_utime) + seconds(usage.ru_stime), peakBytes(usage)};
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
