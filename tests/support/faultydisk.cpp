#include "tests/support/faultydisk.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <mutex>
#include <thread>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace faultydisk {

namespace {

struct State
{
    std::string folder;
    std::thread::id mainThread;
    Verdict verdict;
    Content content;
    std::map<int, std::string> files; // descriptors of files below the folder
    Counts main;
    Counts elsewhere;
};

// Calls come before anything here is constructed and after it would be destroyed, so these are plain or never deleted.
std::atomic<State *> active{nullptr};
std::mutex &guard()
{
    static auto *mutex = new std::mutex; // kept on purpose
    return *mutex;
}

template <typename Function>
Function *real(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

// A path below the watched folder; empty otherwise.
std::string watched(const char *path)
{
    if (!active || !path)
        return {};
    const std::lock_guard lock(guard());
    const State *state = active;
    const std::string text(path);
    return state && text.compare(0, state->folder.size(), state->folder) == 0 ? text : std::string();
}

std::string watched(int descriptor)
{
    if (!active)
        return {};
    const std::lock_guard lock(guard());
    const State *state = active;
    if (!state)
        return {};
    const auto file = state->files.find(descriptor);
    return file == state->files.end() ? std::string() : file->second;
}

long &countOf(Counts &counts, What what)
{
    switch (what) {
    case What::Open:
        return counts.opens;
    case What::Read:
        return counts.reads;
    case What::Seek:
        return counts.seeks;
    case What::Look:
        return counts.looks;
    case What::Tell:
        return counts.tells;
    case What::List:
        break;
    }
    return counts.lists;
}

// Counts a call and asks for its verdict: false, with errno set, if it fails.
bool mayPass(What what, const std::string &path, std::int64_t offset = -1, std::int64_t bytes = -1)
{
    Verdict verdict;
    Call call{what, path, false, offset, bytes};
    {
        const std::lock_guard lock(guard());
        State *state = active;
        if (!state)
            return true;
        call.onMainThread = std::this_thread::get_id() == state->mainThread;
        ++countOf(call.onMainThread ? state->main : state->elsewhere, what);
        verdict = state->verdict;
    }
    const int error = verdict ? verdict(call) : 0; // without the lock: it may wait
    if (error != 0)
        errno = error;
    return error == 0;
}

// Whether a call about this path or descriptor fails; never where it is not below the folder.
template <typename Subject>
bool fails(What what, Subject subject, std::int64_t offset = -1, std::int64_t bytes = -1)
{
    const std::string known = watched(subject);
    return !known.empty() && !mayPass(what, known, offset, bytes);
}

void noteOpened(int descriptor, const std::string &path)
{
    const std::lock_guard lock(guard());
    if (State *state = active; state && descriptor >= 0)
        state->files[descriptor] = path;
}

void noteClosed(int descriptor)
{
    if (!active)
        return;
    const std::lock_guard lock(guard());
    if (State *state = active)
        state->files.erase(descriptor);
}

void noteRead(ssize_t bytes)
{
    const std::lock_guard lock(guard());
    State *state = active;
    if (!state || bytes <= 0)
        return;
    Counts &counts = std::this_thread::get_id() == state->mainThread ? state->main : state->elsewhere;
    counts.bytesRead += bytes;
}

int openWatched(const char *name, const char *path, int flags, va_list more)
{
    const bool takesMode = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    const mode_t mode = takesMode ? va_arg(more, mode_t) : 0; // NOLINT(clang-analyzer-valist.*)
    const std::string known = watched(path);
    if (!known.empty() && !mayPass(What::Open, known))
        return -1;
    const int descriptor = real<int(const char *, int, ...)>(name)(path, flags, mode);
    if (!known.empty())
        noteOpened(descriptor, known);
    return descriptor;
}

template <typename Facts>
int look(const char *name, const char *path, Facts *facts)
{
    if (fails(What::Look, path))
        return -1;
    return real<int(const char *, Facts *)>(name)(path, facts);
}

template <typename Offset>
Offset seek(const char *name, int descriptor, Offset offset, int whence)
{
    if (fails(What::Seek, descriptor))
        return -1;
    return real<Offset(int, Offset, int)>(name)(descriptor, offset, whence);
}

template <typename Offset>
ssize_t readAt(const char *name, int descriptor, void *buffer, size_t size, Offset offset)
{
    const std::string known = watched(descriptor);
    if (!known.empty() && !mayPass(What::Read, known, offset, static_cast<std::int64_t>(size)))
        return -1;
    const ssize_t bytes = real<ssize_t(int, void *, size_t, Offset)>(name)(descriptor, buffer, size, offset);
    if (!known.empty())
        noteRead(bytes);
    return bytes;
}

// Nothing can come between a FILE and the calls that the C library makes for it: the calls on the FILE are watched.
FILE *openStream(const char *name, const char *path, const char *mode)
{
    const std::string known = watched(path);
    if (!known.empty() && !mayPass(What::Open, known))
        return nullptr;
    FILE *file = real<FILE *(const char *, const char *)>(name)(path, mode);
    if (!known.empty() && file)
        noteOpened(::fileno(file), known);
    return file;
}

size_t readStream(void *buffer, size_t size, size_t count, FILE *file)
{
    const auto function = real<size_t(void *, size_t, size_t, FILE *)>("fread");
    const std::string known = watched(::fileno(file));
    if (known.empty())
        return function(buffer, size, count, file);
    const long offset = std::ftell(file);
    if (!mayPass(What::Read, known, offset)) {
        file->_flags |= _IO_ERR_SEEN; // as the C library notes a read that failed
        return 0;
    }
    const size_t got = function(buffer, size, count, file);
    noteRead(static_cast<ssize_t>(got * size));
    Content content;
    {
        const std::lock_guard lock(guard());
        if (const State *state = active)
            content = state->content;
    }
    if (content)
        content({What::Read, known, false, offset, -1}, static_cast<unsigned char *>(buffer), got * size);
    return got;
}

} // namespace

Watch::Watch(const std::string &folder, Verdict verdict)
{
    const std::lock_guard lock(guard());
    active = new State{folder, std::this_thread::get_id(), std::move(verdict), {}, {}, {}, {}};
}

Watch::~Watch()
{
    const std::lock_guard lock(guard());
    delete active.exchange(nullptr);
}

void Watch::setVerdict(Verdict verdict)
{
    const std::lock_guard lock(guard());
    active.load()->verdict = std::move(verdict);
}

void Watch::setContent(Content content)
{
    const std::lock_guard lock(guard());
    active.load()->content = std::move(content);
}

Counts Watch::onMainThread() const
{
    const std::lock_guard lock(guard());
    return active.load()->main;
}

Counts Watch::elsewhere() const
{
    const std::lock_guard lock(guard());
    return active.load()->elsewhere;
}

void Watch::resetCounts()
{
    const std::lock_guard lock(guard());
    active.load()->main = active.load()->elsewhere = {};
}

int Watch::openFiles() const
{
    const std::lock_guard lock(guard());
    return static_cast<int>(active.load()->files.size());
}

} // namespace faultydisk

// The calls themselves, as the rest of the process sees them.
extern "C" {

int open(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int descriptor = faultydisk::openWatched("open", path, flags, arguments);
    va_end(arguments);
    return descriptor;
}

int open64(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int descriptor = faultydisk::openWatched("open64", path, flags, arguments);
    va_end(arguments);
    return descriptor;
}

FILE *fopen(const char *path, const char *mode)
{
    return faultydisk::openStream("fopen", path, mode);
}

FILE *fopen64(const char *path, const char *mode)
{
    return faultydisk::openStream("fopen64", path, mode);
}

int fclose(FILE *file)
{
    faultydisk::noteClosed(::fileno(file));
    return faultydisk::real<int(FILE *)>("fclose")(file);
}

size_t fread(void *buffer, size_t size, size_t count, FILE *file)
{
    return faultydisk::readStream(buffer, size, count, file);
}

// What the compiler calls instead if it checks the buffer's size.
size_t __fread_chk(void *buffer, size_t, size_t size, size_t count, FILE *file) // NOLINT(bugprone-reserved-identifier)
{
    return fread(buffer, size, count, file);
}

int fseek(FILE *file, long offset, int whence)
{
    if (faultydisk::fails(faultydisk::What::Seek, ::fileno(file)))
        return -1;
    return faultydisk::real<int(FILE *, long, int)>("fseek")(file, offset, whence);
}

int close(int descriptor)
{
    faultydisk::noteClosed(descriptor);
    return faultydisk::real<int(int)>("close")(descriptor);
}

ssize_t read(int descriptor, void *buffer, size_t size)
{
    const auto function = faultydisk::real<ssize_t(int, void *, size_t)>("read");
    const std::string known = faultydisk::watched(descriptor);
    if (known.empty())
        return function(descriptor, buffer, size);
    const auto tell = faultydisk::real<off64_t(int, off64_t, int)>("lseek64");
    if (!faultydisk::mayPass(faultydisk::What::Read, known, tell(descriptor, 0, SEEK_CUR),
                             static_cast<std::int64_t>(size)))
        return -1;
    const ssize_t bytes = function(descriptor, buffer, size);
    faultydisk::noteRead(bytes);
    return bytes;
}

ssize_t pread(int descriptor, void *buffer, size_t size, off_t offset)
{
    return faultydisk::readAt("pread", descriptor, buffer, size, offset);
}

ssize_t pread64(int descriptor, void *buffer, size_t size, off64_t offset)
{
    return faultydisk::readAt("pread64", descriptor, buffer, size, offset);
}

off_t lseek(int descriptor, off_t offset, int whence) noexcept
{
    return faultydisk::seek("lseek", descriptor, offset, whence);
}

off64_t lseek64(int descriptor, off64_t offset, int whence) noexcept
{
    return faultydisk::seek("lseek64", descriptor, offset, whence);
}

int posix_fadvise(int descriptor, off_t begin, off_t bytes, int advice) noexcept
{
    if (faultydisk::fails(faultydisk::What::Tell, descriptor, begin, bytes))
        return errno;
    return faultydisk::real<int(int, off_t, off_t, int)>("posix_fadvise")(descriptor, begin, bytes, advice);
}

int posix_fadvise64(int descriptor, off64_t begin, off64_t bytes, int advice) noexcept
{
    if (faultydisk::fails(faultydisk::What::Tell, descriptor, begin, bytes))
        return errno;
    return faultydisk::real<int(int, off64_t, off64_t, int)>("posix_fadvise64")(descriptor, begin, bytes, advice);
}

int stat(const char *path, struct stat *facts) noexcept
{
    return faultydisk::look("stat", path, facts);
}

int stat64(const char *path, struct stat64 *facts) noexcept
{
    return faultydisk::look("stat64", path, facts);
}

int lstat(const char *path, struct stat *facts) noexcept
{
    return faultydisk::look("lstat", path, facts);
}

int lstat64(const char *path, struct stat64 *facts) noexcept
{
    return faultydisk::look("lstat64", path, facts);
}

int statx(int folder, const char *path, int flags, unsigned mask, struct statx *facts) noexcept
{
    if (faultydisk::fails(faultydisk::What::Look, path))
        return -1;
    return faultydisk::real<int(int, const char *, int, unsigned, struct statx *)>("statx")(folder, path, flags, mask,
                                                                                            facts);
}

int access(const char *path, int mode) noexcept
{
    if (faultydisk::fails(faultydisk::What::Look, path))
        return -1;
    return faultydisk::real<int(const char *, int)>("access")(path, mode);
}

DIR *opendir(const char *path)
{
    if (faultydisk::fails(faultydisk::What::List, path))
        return nullptr;
    return faultydisk::real<DIR *(const char *)>("opendir")(path);
}

} // extern "C"
