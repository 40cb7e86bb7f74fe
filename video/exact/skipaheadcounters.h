#pragma once

#include <cstdint>

/// What was spent on the pictures of one file.
struct SkipAheadCounters
{
    std::int64_t packetsSent = 0;     ///< to the decoder
    std::int64_t picturesDecoded = 0; ///< pictures whose packets were sent; both fields of a frame are one
    std::int64_t picturesSkipped = 0; ///< counted from their packets alone
    std::int64_t flushes = 0;         ///< restarts of the decoder at a later key picture
    std::int64_t fullFallbacks = 0;   ///< times the file was read again from its start
};
