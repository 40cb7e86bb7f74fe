#include "tools/process/runprocess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ; // NOLINT(readability-redundant-declaration): only some systems declare it

namespace quorvale {

namespace {

constexpr int kCannotStart = 127; // as shells say it

class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int fd)
        : m_fd(fd)
    {
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor() { reset(-1); }

    [[nodiscard]] int get() const { return m_fd; }
    void reset(int fd)
    {
        if (m_fd >= 0)
            close(m_fd);
        m_fd = fd;
    }

private:
    int m_fd = -1;
};

struct FileCloser
{
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

#ifdef __APPLE__

// On macOS the signal of a broken pipe goes to the process, and no thread can block it; but a descriptor can be set to
// raise none.
class NoSigPipe
{
public:
    explicit NoSigPipe(int fd) { fcntl(fd, F_SETNOSIGPIPE, 1); }
};

#else

/// Blocks SIGPIPE on this thread while it lives. The signal of a broken pipe goes to the thread that wrote, so other
/// threads and the process keep their own handling.
class NoSigPipe
{
public:
    explicit NoSigPipe(int)
    {
        sigemptyset(&m_sigPipe);
        sigaddset(&m_sigPipe, SIGPIPE);
        m_wasPending = isPending();
        pthread_sigmask(SIG_BLOCK, &m_sigPipe, &m_before);
    }
    NoSigPipe(const NoSigPipe &) = delete;
    NoSigPipe &operator=(const NoSigPipe &) = delete;
    ~NoSigPipe()
    {
        if (!m_wasPending && isPending()) {
            int received = 0;
            sigwait(&m_sigPipe, &received);
        }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }

private:
    static bool isPending()
    {
        sigset_t pending;
        sigemptyset(&pending);
        sigpending(&pending);
        return sigismember(&pending, SIGPIPE) == 1;
    }

    sigset_t m_sigPipe{};
    sigset_t m_before{};
    bool m_wasPending = false;
};

#endif

// A program that another thread starts must not inherit the ends: it would keep the pipe open, and our program would
// never see the end of its input.
bool makePipe(Descriptor &readEnd, Descriptor &writeEnd)
{
    std::array<int, 2> ends{};
#ifdef __APPLE__
    // No pipe2() here; programs are started with POSIX_SPAWN_CLOEXEC_DEFAULT instead.
    if (pipe(ends.data()) != 0)
        return false;
#else
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        return false;
#endif
    readEnd.reset(ends[0]);
    writeEnd.reset(ends[1]);
    return true;
}

class SpawnSettings
{
public:
    SpawnSettings()
    {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawnattr_init(&m_attributes);
        sigset_t defaults;
        sigemptyset(&defaults);
        sigaddset(&defaults, SIGPIPE);
        posix_spawnattr_setsigdefault(&m_attributes, &defaults);
        short flags = POSIX_SPAWN_SETSIGDEF;
#ifdef __APPLE__
        flags |= POSIX_SPAWN_CLOEXEC_DEFAULT;
#endif
        posix_spawnattr_setflags(&m_attributes, flags);
    }
    SpawnSettings(const SpawnSettings &) = delete;
    SpawnSettings &operator=(const SpawnSettings &) = delete;
    ~SpawnSettings()
    {
        posix_spawnattr_destroy(&m_attributes);
        posix_spawn_file_actions_destroy(&m_actions);
    }

    posix_spawn_file_actions_t *actions()
    {
        return &m_actions;
    }
    [[nodiscard]] const posix_spawnattr_t *attributes() const
    {
        return &m_attributes;
    }

private:
    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

/// Returns 0 or the error number.
int start(const std::vector<std::string> &command, int input, int errors, pid_t &pid)
{
    SpawnSettings settings;
    int status = posix_spawn_file_actions_adddup2(settings.actions(), input, STDIN_FILENO);
    if (status == 0)
        status = posix_spawn_file_actions_addopen(settings.actions(), STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    if (status == 0)
        status = posix_spawn_file_actions_adddup2(settings.actions(), errors, STDERR_FILENO);
    if (status != 0)
        return status;

    std::vector<std::string> words = command;
    std::vector<char *> argv;
    argv.reserve(words.size() + 1);
    for (std::string &word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    return posix_spawnp(&pid, argv.front(), settings.actions(), settings.attributes(), argv.data(), environ);
}

/// Returns 0 or the error number.
int writeAll(int fd, const std::vector<std::uint8_t> &bytes)
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written = write(fd, bytes.data() + done, bytes.size() - done);
        if (written >= 0)
            done += static_cast<std::size_t>(written);
        else if (errno != EINTR)
            return errno;
    }
    return 0;
}

/// Returns 0 or the error number; a reader that has gone is no error here.
int feed(int fd, const ProcessInput &input)
{
    const NoSigPipe guard(fd);
    std::vector<std::uint8_t> bytes;
    while (input(bytes)) {
        const int error = writeAll(fd, bytes);
        if (error != 0)
            return error == EPIPE ? 0 : error;
    }
    return 0;
}

int waitForEnd(pid_t pid, rusage &usage)
{
    int status = 0;
    while (wait4(pid, &status, 0, &usage) < 0)
        if (errno != EINTR)
            return kCannotStart;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string readFromStart(std::FILE *file)
{
    std::string text;
    std::array<char, 4096> piece{};
    std::rewind(file);
    while (const std::size_t size = std::fread(piece.data(), 1, piece.size(), file))
        text.append(piece.data(), size);
    return text;
}

ProcessEnd failure(const std::string &what, int error)
{
    return {kCannotStart, what + ": " + std::strerror(error), {}}; // NOLINT(concurrency-mt-unsafe)
}

} // namespace

ProcessEnd runProcess(const std::vector<std::string> &command, const ProcessInput &input)
{
    // The messages go to a file, not to a second pipe, which somebody would have to read while input is written.
    const File errors(std::tmpfile());
    if (!errors)
        return failure("cannot make a temporary file", errno);
    Descriptor readEnd;
    Descriptor writeEnd;
    if (!makePipe(readEnd, writeEnd))
        return failure("cannot make a pipe", errno);

    const std::string &program = command.front();
    pid_t pid = 0;
    if (const int error = start(command, readEnd.get(), fileno(errors.get()), pid))
        return failure("cannot start the " + program + " program", error);
    readEnd.reset(-1);

    const int feedError = input ? feed(writeEnd.get(), input) : 0;
    writeEnd.reset(-1); // the end of the input
    ProcessEnd end;
    end.exitStatus = waitForEnd(pid, end.usage);
    end.errors = readFromStart(errors.get());
    if (end.ok() && feedError != 0)
        return failure("cannot feed the " + program + " program", feedError);
    return end;
}

} // namespace quorvale
