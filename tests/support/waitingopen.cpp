// A disk that does not answer: opening a recording that is a pipe waits for a writer, although the program asks the
// system not to wait. Compiled into a test, or loaded before a program's libraries.

#include <cstdarg>
#include <cstring>

#include <fcntl.h>

namespace {

int openAndWait(const char *path, int flags, mode_t mode)
{
    const std::size_t length = std::strlen(path);
    const bool isRecording = length > 3 && std::strcmp(path + length - 3, ".ts") == 0;
    return ::openat(AT_FDCWD, path, isRecording ? flags & ~O_NONBLOCK : flags, mode);
}

} // namespace

extern "C" int open(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    // NOLINTNEXTLINE(clang-analyzer-valist.*): where mode_t is shorter, it comes as an int
    const auto mode = static_cast<mode_t>((flags & O_CREAT) != 0 ? va_arg(arguments, int) : 0);
    va_end(arguments);
    return openAndWait(path, flags, mode);
}
