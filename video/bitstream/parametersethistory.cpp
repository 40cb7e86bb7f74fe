#include "video/bitstream/parametersethistory.h"

#include <algorithm>

namespace quorvale {

ParameterSetHistory::Novelty ParameterSetHistory::note(std::uint32_t key, Bytes set)
{
    if (set.size > kLargestSet) {
        m_known.erase(key);
        return Novelty::Changed;
    }
    const std::uint8_t *end = set.data + set.size;
    const auto found = m_known.find(key);
    if (found == m_known.end()) {
        m_known.emplace(key, std::vector<std::uint8_t>(set.data, end));
        return Novelty::New;
    }
    if (std::equal(found->second.begin(), found->second.end(), set.data, end))
        return Novelty::Repeated;
    found->second.assign(set.data, end);
    return Novelty::Changed;
}

void ParameterSetHistory::note(std::uint8_t nalUnitType, std::uint32_t id, Bytes set, AccessUnit &unit)
{
    const Novelty novelty = note(std::uint32_t{nalUnitType} << 16 | id, set);
    unit.newParameters = unit.newParameters || novelty == Novelty::New;
    unit.parametersChanged = unit.parametersChanged || novelty == Novelty::Changed;
}

} // namespace quorvale
