#pragma once

#include <cstdint>

struct AVCodecParameters;

namespace quorvale {

/// Processors of this machine, as far as the system says; 1 at least.
[[nodiscard]] int processorCount();

/// Bytes of one decoded picture of the stream; 0 where that is not known before decoding.
[[nodiscard]] std::int64_t pictureBytesOf(const AVCodecParameters &parameters);

/// How much is decoded before it is asked for.
struct AheadLimits
{
    int pictures; ///< that wait for a decoder, are with one, or wait to be asked for; the same on any machine
    int decoders; ///< that run at once
};

/// For pictures of `pictureBytes`: as many decoders as `processors`, and as there is memory for. At least one picture
/// and one decoder, and no more where the size is not known.
[[nodiscard]] AheadLimits aheadLimits(std::int64_t pictureBytes, int processors);

} // namespace quorvale
