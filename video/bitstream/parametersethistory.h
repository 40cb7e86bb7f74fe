#pragma once

#include "video/bitstream/accessunit.h"
#include "video/bitstream/bytestream.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace quorvale {

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
    std::map<std::uint32_t, std::vector<std::uint8_t>> m_known;
};

/// What was read of an SPS or a PPS.
template <typename Set>
struct ParameterSet
{
    std::uint32_t id = 0;      ///< its own
    std::optional<Set> parsed; ///< nothing where what follows the ids is out of range, or of a kind that is not read
};

/// Takes a parameter set of this NAL unit type into the table of its kind, and tells the access unit that holds it.
/// `found`: what was read of `bytes`, the NAL unit; nothing where that has not even an id.
template <typename Set, std::size_t kIds>
void takeParameterSet(std::optional<ParameterSet<Set>> found, std::uint8_t nalUnitType, Bytes bytes,
                      std::array<std::optional<Set>, kIds> &table, ParameterSetHistory &history, AccessUnit &unit)
{
    if (!found || !found->parsed)
        unit.parametersChanged = true;
    if (!found)
        return;
    table.at(found->id) = std::move(found->parsed);
    history.note(nalUnitType, found->id, bytes, unit);
}

} // namespace quorvale
