#pragma once

#include "video/bitstream/startcodes.h"

#include <cstdint>
#include <map>
#include <vector>

/// Remembers the parameter sets of a stream, to tell a repeated one from one that changes something.
/// Holds at most as many sets as there are keys, of at most kLargestSet bytes each.
class ParameterSets
{
public:
    enum class Novelty { Repeated, New, Changed };

    static constexpr std::int64_t kLargestSet = 4096; ///< bytes; larger ones count as changed and are not kept

    /// Takes note of `set`, the current one of `key` from now on.
    Novelty note(std::uint32_t key, Bytes set);

private:
    std::map<std::uint32_t, std::vector<std::uint8_t>> known;
};
