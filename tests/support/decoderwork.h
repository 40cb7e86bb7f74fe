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

} // namespace decoderwork
