#pragma once

#include <cstdint>

namespace quorvale {

/// What reading exactly has cost.
struct ExactCounters
{
    std::int64_t packetsScanned = 0;  ///< read and looked at
    std::int64_t picturesDecoded = 0; ///< begun by a decoder
    std::int64_t runs = 0;            ///< begun at a random access point
    std::int64_t refusals = 0;        ///< answers that were not proven

    ExactCounters &operator+=(const ExactCounters &other)
    {
        packetsScanned += other.packetsScanned;
        picturesDecoded += other.picturesDecoded;
        runs += other.runs;
        refusals += other.refusals;
        return *this;
    }
};

} // namespace quorvale
