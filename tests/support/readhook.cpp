#include "tests/support/readhook.h"

#include <QFile>

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace {

struct Hook
{
    dev_t device = 0;
    ino_t file = 0;
    qint64 begin = 0;
    qint64 end = 0;
    std::function<int()> act;
    bool hasActed = false; // touched by the reading thread alone, as is the error
    int error = 0;

    [[nodiscard]] bool isItsFile(int descriptor) const
    {
        struct stat info = {};
        return ::fstat(descriptor, &info) == 0 && info.st_dev == device && info.st_ino == file;
    }

    // Gives the error number with which this read fails, or 0.
    int before(int descriptor)
    {
        if (!isItsFile(descriptor))
            return 0;
        const off_t position = ::lseek(descriptor, 0, SEEK_CUR);
        if (!hasActed && begin <= position && position < end) {
            hasActed = true;
            error = act();
        }
        return error;
    }
};

Hook theHook;
std::atomic<Hook *> active{nullptr};

} // namespace

ReadHook::ReadHook(const QString &path, qint64 begin, qint64 end, std::function<int()> act)
{
    struct stat info = {};
    if (active || ::stat(QFile::encodeName(path).constData(), &info) != 0)
        qFatal("there is a hook already, or no such file");
    theHook = {info.st_dev, info.st_ino, begin, end, std::move(act)};
    active = &theHook;
}

ReadHook::~ReadHook()
{
    active = nullptr;
}

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" ssize_t read(int descriptor, void *buffer, std::size_t size)
{
    Hook *hook = active;
    if (const int error = hook ? hook->before(descriptor) : 0) {
        errno = error;
        return -1;
    }
    return ::syscall(SYS_read, descriptor, buffer, size);
}
