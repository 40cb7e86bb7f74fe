#pragma once

#include "video/bitstream/bitreader.h"

#include <cstdint>
#include <optional>

namespace quorvale::h264 {

/// ITU-T H.264, D.1.8 and D.2.8, recovery_point()
struct RecoveryPoint
{
    std::uint32_t recoveryFrameCnt = 0; ///< recovery_frame_cnt: frames until the output is right
    bool exactMatch = false;            ///< exact_match_flag: and then as if decoding had begun earlier
    bool brokenLink = false;            ///< broken_link_flag: pictures after it may refer to others than in the stream
};

/// The first recovery point among the messages of a SEI RBSP.
[[nodiscard]] std::optional<RecoveryPoint> findRecoveryPoint(BitReader reader);

} // namespace quorvale::h264
