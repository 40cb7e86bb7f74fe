#pragma once

#include "video/bitstream/bitreader.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace quorvale::hevc {

inline constexpr std::uint32_t kMaxDpbSize = 16; ///< MaxDpbSize, of all levels (A.4.2)

/// Short-term reference picture set (ITU-T H.265, 7.4.8).
struct ShortTermRps
{
    struct Picture
    {
        std::int32_t deltaPoc = 0; ///< DeltaPocS0[][i], DeltaPocS1[][i]
        bool usedByCurr = false;   ///< UsedByCurrPicS0[][i], UsedByCurrPicS1[][i]: the picture itself may refer to it

        [[nodiscard]] bool operator==(const Picture &other) const
        {
            return deltaPoc == other.deltaPoc && usedByCurr == other.usedByCurr;
        }
    };

    std::vector<Picture> negative; ///< NumNegativePics of them, at most kMaxDpbSize, as all together
    std::vector<Picture> positive; ///< NumPositivePics of them

    [[nodiscard]] std::size_t numDeltaPocs() const { return negative.size() + positive.size(); }
    [[nodiscard]] bool operator==(const ShortTermRps &other) const
    {
        return negative == other.negative && positive == other.positive;
    }
};

/// Reads st_ref_pic_set(stRpsIdx): of an SPS, where `previous` are the sets before it, or of a slice header, where they
/// are all those of the SPS. Nothing if anything is out of range.
[[nodiscard]] std::optional<ShortTermRps>
parseShortTermRps(BitReader &reader, const std::vector<ShortTermRps> &previous, bool inSliceHeader);

} // namespace quorvale::hevc
