#include "video/ffmpeg/mxfindex.h"

#include "video/ffmpeg/filebytes.h"

#include <algorithm>

namespace quorvale::ffmpeg {

namespace {

constexpr std::int64_t kBytesAnEntry = 34;     // FFmpeg's entry, its time, offset and flags
constexpr std::int64_t kBytesAnItem = 8;       // none; but to look at one takes time
constexpr std::int64_t kBytesASet = 16 * 1024; // much less; but FFmpeg compares each with all before it
constexpr int kKeyBytes = 16;

// SMPTE ST 298: each key begins with these.
constexpr std::uint32_t kKeyBeginnings[] = {0x060E2B34};
// SMPTE ST 377-1, 11.2.1. The eighth byte is a version.
constexpr std::uint32_t kSegment[] = {0x02530100, 0x0D010201, 0x01100100};

constexpr std::uint64_t kIndexEntryArray = 0x3F0A;
constexpr std::uint64_t kIndexDuration = 0x3F0D;

bool isSet(FileBytes &file, std::int64_t key)
{
    return file.number(key + 4, 2) == kSegment[0] >> 16;
}

bool isSegment(FileBytes &file, std::int64_t key)
{
    return (file.number(key + 4, 4) & 0xFFFFFF00) == kSegment[0] && file.number(key + 8, 4) == kSegment[1] &&
           file.number(key + 12, 4) == kSegment[2];
}

// SMPTE ST 377-1, 11.2. The length is written in one byte, or in as many as the first says.
std::int64_t segmentBytes(FileBytes &file, std::int64_t key, std::int64_t most)
{
    if (!isSegment(file, key))
        return isSet(file, key) ? kBytesASet : 0;
    std::int64_t position = key + kKeyBytes + 1;
    std::uint64_t length = file.number(position - 1, 1);
    if ((length & 0x80) != 0) {
        const int bytes = static_cast<int>(std::min<std::uint64_t>(length & 0x7F, 8));
        length = file.number(position, bytes);
        position += bytes;
    }
    bool hasEntries = false;
    std::uint64_t duration = 0;
    std::int64_t items = 0;
    const std::int64_t end = position + static_cast<std::int64_t>(std::min<std::uint64_t>(length, INT64_MAX / 2));
    for (; end - position >= 4 && !file.failed() && items <= most;
         ++items) { // 2 bytes of a tag, 2 bytes of a length, the value
        const std::uint64_t tag = file.number(position, 2);
        const auto bytes = static_cast<std::int64_t>(file.number(position + 2, 2));
        if (tag == kIndexEntryArray) // which begins with the count
            hasEntries = hasEntries || file.number(position + 4, 4) > 0;
        else if (tag == kIndexDuration)
            duration = std::max(duration, file.number(position + 4, 8));
        position += 4 + bytes;
    }
    const std::uint64_t entries = std::min<std::uint64_t>(duration, static_cast<std::uint64_t>(most) + 1);
    return items * kBytesAnItem + (hasEntries ? static_cast<std::int64_t>(entries) * kBytesAnEntry : 0);
}

} // namespace

const ClaimWatch::Structures kMxfIndexTables{std::begin(kKeyBeginnings), std::end(kKeyBeginnings), segmentBytes};

} // namespace quorvale::ffmpeg
