#include "tests/reliability/tracedcalls.h"

#include <QProcess>

#include <algorithm>
#include <array>

namespace tracedcalls {

namespace {

// Calls that only look, or that handle a descriptor without changing its file. Every other call counts as a change, so
// that calls that nobody thought of are found.
constexpr std::array kLooking = {
    "access",   "faccessat", "faccessat2",        "stat",      "lstat",      "fstat",      "newfstatat",
    "statx",    "statfs",    "fstatfs",           "readlink",  "readlinkat", "getdents",   "getdents64",
    "read",     "readv",     "pread64",           "preadv",    "lseek",      "close",      "fadvise64",
    "getxattr", "lgetxattr", "fgetxattr",         "listxattr", "llistxattr", "flistxattr", "poll",
    "ppoll",    "getcwd",    "inotify_add_watch", "execve",
};
constexpr std::array kOpening = {"open", "openat", "openat2"};
constexpr std::array kChangingFlags = {"O_WRONLY", "O_RDWR", "O_CREAT", "O_TRUNC", "O_APPEND", "O_TMPFILE"};

template <typename Names>
bool isAmong(const QByteArray &name, const Names &names)
{
    return std::any_of(names.begin(), names.end(), [&](const char *one) { return name == one; });
}

// "123 openat(AT_FDCWD</tmp>, ..." and "123 <... openat resumed>..." are both about openat.
QByteArray nameOf(const QByteArray &line)
{
    int begin = 0;
    while (begin < line.size() && (line.at(begin) == ' ' || (line.at(begin) >= '0' && line.at(begin) <= '9')))
        ++begin;
    const QByteArray call = line.mid(begin);
    if (call.startsWith("<... "))
        return call.mid(5, call.indexOf(' ', 5) - 5);
    return call.left(call.indexOf('('));
}

bool onlyLooks(const QByteArray &line)
{
    const QByteArray name = nameOf(line);
    if (isAmong(name, kOpening))
        return std::none_of(kChangingFlags.begin(), kChangingFlags.end(),
                            [&](const char *flag) { return line.contains(flag); });
    if (name == "fcntl")
        return line.contains("F_GET") || line.contains("F_SETFD") || line.contains("F_DUPFD");
    if (name == "mmap")
        return line.contains("MAP_PRIVATE") || !line.contains("PROT_WRITE");
    return isAmong(name, kLooking);
}

QList<QByteArray> linesAbout(const QByteArray &log, const QByteArray &folder)
{
    QList<QByteArray> about;
    for (const QByteArray &line : log.split('\n')) {
        // A path in a program's output, or in a message to the desktop, is not a call about that path.
        const QByteArray name = nameOf(line);
        const bool isTalk = (name == "write" || name == "writev" || name == "sendmsg" || name == "sendto") &&
                            !line.contains('<' + folder);
        if (line.contains(folder) && !isTalk)
            about.append(line);
    }
    return about;
}

} // namespace

QStringList command(const QString &log)
{
    // -y names the file of each descriptor; 4096 characters keep the longest path whole.
    return {"strace", "-f", "-qq", "-y", "-s", "4096", "-e", "trace=%file,%desc", "-o", log};
}

QByteArray whyNot()
{
    QProcess strace;
    QStringList words = command("/dev/null") << "true";
    const QString program = words.takeFirst();
    strace.start(program, words);
    if (!strace.waitForStarted())
        return "strace is missing";
    if (!strace.waitForFinished() || strace.exitStatus() != QProcess::NormalExit || strace.exitCode() != 0)
        return "strace may not trace: " + strace.readAllStandardError().trimmed();
    return {};
}

QList<QByteArray> changingCalls(const QByteArray &log, const QByteArray &folder)
{
    QList<QByteArray> changing;
    for (const QByteArray &line : linesAbout(log, folder)) {
        if (!onlyLooks(line))
            changing.append(line);
    }
    return changing;
}

int callsAbout(const QByteArray &log, const QByteArray &folder)
{
    return static_cast<int>(linesAbout(log, folder).size());
}

} // namespace tracedcalls
