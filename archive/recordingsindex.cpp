#include "archive/recordingsindex.h"

#include "archive/archivepaths.h"

#include <climits>
#include <memory>

namespace {

constexpr long kRecordStride = 32768; // The first stride of the file holds no record.

struct FileCloser
{
    void operator()(std::FILE *file) const { std::fclose(file); }
};

} // namespace

std::optional<std::vector<Programme>> readRecordingsIndex(const std::string &devicePath)
{
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(indexPath(devicePath).c_str(), "rb"));
    if (!file)
        return std::nullopt;

    std::vector<Programme> programmes;
    // One object for all records: a record without a play position keeps that of the nearest earlier record with one.
    Programme programme;
    for (long offset = kRecordStride; programme.read(file.get(), offset); offset += kRecordStride) {
        programmes.push_back(programme);
        if (offset > LONG_MAX - 2 * kRecordStride)
            break; // Where long has 32 bits, an index of 2 GiB ends here.
    }
    return programmes;
}
