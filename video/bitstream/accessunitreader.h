#pragma once

#include "video/bitstream/accessunit.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace quorvale {

/// Video codings whose access units can be read, in byte streams with start codes.
enum class VideoCoding : std::uint8_t {
    Mpeg2, ///< ITU-T H.262
    H264,  ///< ITU-T H.264, Annex B
    Hevc,  ///< ITU-T H.265, Annex B
};

/// Reads the access units of one video stream, which are to be shown to it one by one in decode order, from the first.
class AccessUnitReader
{
public:
    AccessUnitReader() = default;
    virtual ~AccessUnitReader() = default;
    AccessUnitReader(const AccessUnitReader &) = delete;
    AccessUnitReader &operator=(const AccessUnitReader &) = delete;

    /// `data`: `size` bytes, borrowed for the call.
    [[nodiscard]] virtual AccessUnit read(const std::uint8_t *data, std::size_t size) = 0;
};

/// What the references of HEVC pictures are: all that a picture itself may refer to by its reference picture set, or of
/// those only what the lists of its slices hold.
enum class HevcReferences { OfSets, OfLists };

/// Null only without memory.
[[nodiscard]] std::unique_ptr<AccessUnitReader>
makeAccessUnitReader(VideoCoding coding, HevcReferences references = HevcReferences::OfLists);

/// How many bytes come before the first slice: parameter sets, and what else is said before a picture.
[[nodiscard]] std::size_t bytesBeforeSlices(VideoCoding coding, const std::uint8_t *data, std::size_t size);

} // namespace quorvale
