#pragma once

#include "video/bitstream/bytestream.h"

#include <cstdint>
#include <map>
#include <vector>

namespace quorvale {

struct AccessUnit;

/// Remembers the parameter sets of a stream as they were sent, to tell a repeated one from one that changes something.
/// Holds at most as many sets as there are keys, of at most kLargestSet bytes each.
class ParameterSetHistory
{
public:
    enum class Novelty { Repeated, New, Changed };

    static constexpr std::int64_t kLargestSet = 4096; ///< bytes; larger ones count as changed and are not kept

    /// Makes `set` the current one of `key`.
    Novelty note(std::uint32_t key, Bytes set);
    /// The same for the set with an id in a NAL unit of this type; sets the flags of the access unit that holds it.
    void note(std::uint8_t nalUnitType, std::uint32_t id, Bytes set, AccessUnit &unit);

private:
    std::map<std::uint32_t, std::vector<std::uint8_t>> known;
};

} // namespace quorvale
