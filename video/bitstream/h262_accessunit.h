#pragma once

#include "video/bitstream/accessunitreader.h"
#include "video/bitstream/parametersethistory.h"

#include <cstdint>

namespace quorvale::h262 {

/// Coded pictures of ITU-T H.262, each with the headers before it (6.1.1).
class AccessUnitReader final : public quorvale::AccessUnitReader
{
public:
    [[nodiscard]] AccessUnit read(const std::uint8_t *data, std::size_t size) override;

private:
    std::int64_t countOutput(bool isReference);

    ParameterSetHistory m_parameterSets;
    std::int64_t m_references = 0;             ///< I and P pictures so far
    std::int64_t m_picturesSinceReference = 0; ///< B pictures after the last of them
};

} // namespace quorvale::h262
