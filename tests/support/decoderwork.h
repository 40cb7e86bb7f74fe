#pragma once

namespace decoderwork {

/// What this process has asked of the decoders since the last reset, probing included.
struct Counts
{
    long packets = 0;  ///< handed to a decoder
    long pictures = 0; ///< and pieces of sound that came out of one
};

[[nodiscard]] Counts counts();
void reset();

/// While true, no decoder of sound opens. (In which files none opens by itself depends on FFmpeg's version.)
void refuseSound(bool refuse);

} // namespace decoderwork
