#include "video/bitstream/h264_slicedata.h"

#include "video/bitstream/h264_nalunit.h"

#include <array>

namespace quorvale::h264 {

namespace {

constexpr std::array<std::uint8_t, 3> kStartCodePrefix = {0, 0, 1};
// codIOffset, the first 9 bits, must be less than 510 (ITU-T H.264, 9.3.1.2).
constexpr std::array<std::uint8_t, 4> kNoSliceData = {0xFF, 0xFF, 0xFF, 0xFF};

} // namespace

std::vector<std::uint8_t> withoutSliceData(const std::uint8_t *data, std::size_t size, std::uint16_t headerBytes)
{
    std::vector<std::uint8_t> kept;
    ByteStream stream(data, static_cast<std::int64_t>(size));
    Bytes unit;
    while (stream.next(unit)) {
        const bool isCut = unit.size > headerBytes && isVcl(parseNalUnit(unit).type);
        kept.insert(kept.end(), kStartCodePrefix.begin(), kStartCodePrefix.end());
        kept.insert(kept.end(), unit.data, unit.data + (isCut ? headerBytes : unit.size));
        if (isCut)
            kept.insert(kept.end(), kNoSliceData.begin(), kNoSliceData.end());
    }
    return kept;
}

} // namespace quorvale::h264
