#include "video/ffmpeg/mp4references.h"

#include "video/ffmpeg/mp4boxes.h"

extern "C" {
#include <libavformat/avio.h>
}

#include <algorithm>

namespace quorvale::ffmpeg {

namespace {

std::int64_t readNumber(AVIOContext &file, bool isLong)
{
    return isLong ? static_cast<std::int64_t>(avio_rb64(&file) & INT64_MAX) : avio_rb32(&file);
}

} // namespace

// ISO/IEC 14496-12, 8.16.3: version and flags, reference_ID, timescale, earliest_presentation_time, first_offset,
// reserved, reference_count, then referenced_size, subsegment_duration and access points of each segment.
void addSegments(AVIOContext &file, std::int64_t end, std::vector<std::int64_t> &places)
{
    const bool isLong = avio_r8(&file) == 1;
    avio_skip(&file, isLong ? 19 : 15);
    const std::int64_t firstOffset = readNumber(file, isLong);
    const std::int64_t size = avio_size(&file);
    avio_skip(&file, 2);
    const int segments = static_cast<int>(avio_rb16(&file));
    std::int64_t place = end + std::min(firstOffset, size);
    for (int segment = 0; segment < segments && place < size && end - avio_tell(&file) >= 12; ++segment) {
        places.push_back(place);
        place += avio_rb32(&file);
        avio_skip(&file, 8);
    }
}

// 8.8.10: version and flags, track_ID, the lengths of three numbers, number_of_entry, then time, moof_offset and these
// numbers of each fragment.
void addFragments(AVIOContext &file, std::int64_t end, std::vector<std::int64_t> &places)
{
    const bool isLong = avio_r8(&file) == 1;
    avio_skip(&file, 7);
    const unsigned lengths = avio_rb32(&file);
    const int numbers = static_cast<int>((lengths >> 4 & 3) + (lengths >> 2 & 3) + (lengths & 3)) + 3;
    const int entryBytes = (isLong ? 16 : 8) + numbers;
    const std::int64_t entries = std::min<std::int64_t>(avio_rb32(&file), (end - avio_tell(&file)) / entryBytes);
    for (std::int64_t entry = 0; entry < entries && avio_feof(&file) == 0; ++entry) {
        avio_skip(&file, isLong ? 8 : 4);
        places.push_back(readNumber(file, isLong));
        avio_skip(&file, numbers);
    }
}

// 8.8.11
void addFragmentTables(AVIOContext &file, std::vector<std::int64_t> &places)
{
    const std::int64_t size = avio_size(&file);
    if (size < 4 || avio_seek(&file, size - 4, SEEK_SET) < 0)
        return;
    const std::int64_t bytes = avio_rb32(&file);
    if (bytes <= size && avio_seek(&file, size - bytes, SEEK_SET) >= 0 && avio_rb32(&file) == bytes &&
        avio_rb32(&file) == boxType("mfra"))
        places.push_back(size - bytes);
}

} // namespace quorvale::ffmpeg
