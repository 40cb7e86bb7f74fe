#include "archive/recordingsindex.h"

#include "archive/archivepaths.h"

#include <climits>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr long kRecordStride = 32768; // The first stride of the file holds no record.

struct FileCloser
{
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// Opens the file `path`; null if it cannot be opened, or is a pipe or a device. Does not wait for a writer of a pipe.
// Looks at the open file and not at the path, which may name another file a moment later. A directory can be opened,
// and has nothing to read.
FilePtr openWithoutWaiting(const std::string &path)
{
    const int descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        return nullptr;
    struct stat facts = {};
    std::FILE *file = nullptr;
    if (fstat(descriptor, &facts) == 0 && (S_ISREG(facts.st_mode) || S_ISDIR(facts.st_mode)))
        file = fdopen(descriptor, "rb");
    if (!file)
        close(descriptor);
    return FilePtr(file);
}

} // namespace

std::optional<std::vector<Programme>> readRecordingsIndex(const std::string &devicePath)
{
    bool failed = false;
    return readRecordingsIndex(devicePath, failed);
}

std::optional<std::vector<Programme>> readRecordingsIndex(const std::string &devicePath, bool &failed)
{
    failed = false;
    const FilePtr file = openWithoutWaiting(indexPath(devicePath));
    if (!file)
        return std::nullopt;
    // A record is read in two pieces, far apart; a buffer would fetch what nobody reads.
    std::setvbuf(file.get(), nullptr, _IONBF, 0);

    // No memory is reserved by the file's size: a damaged file system may claim any.
    std::vector<Programme> programmes;
    std::int32_t playPosition = 0; // A record without one keeps that of the nearest earlier record with one.
    for (long offset = kRecordStride;; offset += kRecordStride) {
        Programme programme;
        programme.playPosition = playPosition;
        if (!programme.read(file.get(), offset))
            break;
        playPosition = programme.playPosition;
        programmes.push_back(std::move(programme));
        if (offset > LONG_MAX - 2 * kRecordStride)
            break; // An index ends here at 2 GiB, if long has 32 bits.
    }
    failed = std::ferror(file.get()) != 0;
    return programmes;
}
