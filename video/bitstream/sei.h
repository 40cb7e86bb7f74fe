#pragma once

#include "video/bitstream/bitreader.h"

#include <cstdint>
#include <optional>

namespace quorvale {

/// payloadType of film_grain_characteristics() (ITU-T H.264, D.1.1; ITU-T H.265, D.2.1).
inline constexpr std::int64_t kFilmGrainPayload = 19;

/// Reads a SEI RBSP up to the payload of its first message of type `payloadType` (ITU-T H.264, 7.3.2.3; ITU-T H.265,
/// 7.3.2.4); nothing where there is none.
[[nodiscard]] std::optional<BitReader> findSeiPayload(BitReader reader, std::int64_t payloadType);

} // namespace quorvale
