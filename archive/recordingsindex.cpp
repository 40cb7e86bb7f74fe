#include "archive/recordingsindex.h"

#include "archive/archivepaths.h"

#include <climits>
#include <memory>
#include <utility>

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
    // A record is fetched in two pieces, far apart; a buffer would only fetch what nobody reads.
    std::setvbuf(file.get(), nullptr, _IONBF, 0);

    // No memory is set aside for as many records as the file's size promises: a damaged file system promises anything.
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
            break; // Where long has 32 bits, an index of 2 GiB ends here.
    }
    return programmes;
}
