#include "platform/desktopopener.h"

#include "platform/descriptorlimit.h"
#include "platform/filemanager_linux.h"

#include <QDeadlineTimer>
#include <QObject>
#include <QSocketNotifier>

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorvale {

namespace {

constexpr int kEarlyMs = 10000; // A program that ends with an error after that has opened the file.

/// Waits at the reading end of a pipe for a report of failure, or for the other end to close without one.
class FailureReport : public QObject
{
public:
    FailureReport(int descriptor, QObject *context, std::function<void()> failed)
        : QObject(context)
        , m_descriptor(descriptor)
        , m_notifier(descriptor, QSocketNotifier::Read)
    {
        connect(&m_notifier, &QSocketNotifier::activated, this, [this, failed = std::move(failed)] {
            m_notifier.setEnabled(false);
            deleteLater();
            char word = 0;
            if (read(m_descriptor, &word, 1) == 1 && !m_early.hasExpired() && failed)
                failed();
        });
    }
    ~FailureReport() override { close(m_descriptor); }

private:
    int m_descriptor;
    QSocketNotifier m_notifier;
    QDeadlineTimer m_early{kEarlyMs};
};

// The shell's own command for the limit that programs expect which wait with select().
QByteArray lowerLimit()
{
    const std::uint64_t limit = descriptorLimitAtStart();
    return limit > 0 ? "ulimit -S -n " + QByteArray::number(qulonglong{limit}) + "; " : QByteArray();
}

// Spawned, not forked: other threads may be anywhere, and a fork of this process would have to get on with what they
// hold. True when the shell has done its work.
bool runShell(QByteArray command, QByteArray argument, int output)
{
    QByteArray shell("sh");
    QByteArray option("-c");
    char *const arguments[] = {shell.data(), option.data(), command.data(), argument.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t pid = 0;
    const int error = posix_spawn(&pid, "/bin/sh", &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        return false;
    while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
    return true;
}

} // namespace

/// The desktop's opener is started as a program: Qt's own function needs the main thread, may wait for the bus, does
/// nothing on some window systems, and never reports failure. A shell puts the opener into the background and ends at
/// once, because some openers live as long as their window. The opener's codes 2 to 4 mean that the file or a program
/// for it is missing or failed, 126 and 127 that there is no opener; others are the program's own.
void openWithDesktop(const QByteArray &path, QObject *context, std::function<void()> failed)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        if (failed)
            failed();
        return;
    }
    new FailureReport(ends[0], context, failed); // owned by the context; deletes itself
    const QByteArray command =
        lowerLimit() + "{ xdg-open \"$0\" >/dev/null 2>&1; case $? in 2|3|4|126|127) printf x;; esac; } &";
    if (!runShell(command, fileUri(path).toLatin1(), ends[1]) && failed)
        failed();
    close(ends[1]);
}

} // namespace quorvale
