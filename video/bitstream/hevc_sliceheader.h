#pragma once

#include "video/bitstream/hevc_nalunit.h"
#include "video/bitstream/hevc_pps.h"
#include "video/bitstream/hevc_sps.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace quorvale::hevc {

/// slice_type (ITU-T H.265, table 7-7)
enum class SliceType : std::uint8_t { B = 0, P = 1, I = 2 };

/// A long-term reference picture of a slice header (ITU-T H.265, 7.4.7.1).
struct LongTermPicture
{
    std::uint32_t pocLsb = 0;          ///< pocLsbLt[i]
    bool usedByCurr = false;           ///< UsedByCurrPicLt[i]
    bool deltaPocMsbPresent = false;   ///< delta_poc_msb_present_flag[i]
    std::int64_t deltaPocMsbCycle = 0; ///< DeltaPocMsbCycleLt[i]

    [[nodiscard]] bool operator==(const LongTermPicture &other) const
    {
        return pocLsb == other.pocLsb && usedByCurr == other.usedByCurr &&
               deltaPocMsbPresent == other.deltaPocMsbPresent && deltaPocMsbCycle == other.deltaPocMsbCycle;
    }
};

/// How many of `pictures`, of a reference picture set, the picture itself may refer to.
template <typename Pictures>
[[nodiscard]] std::uint32_t countUsed(const Pictures &pictures)
{
    const auto isUsed = [](const auto &picture) { return picture.usedByCurr; };
    return static_cast<std::uint32_t>(std::count_if(pictures.begin(), pictures.end(), isUsed));
}

/// Slice segment header (ITU-T H.265, 7.3.6.1).
struct SliceHeader
{
    NalUnitType nalUnitType{};             ///< nal_unit_type
    std::uint8_t temporalId = 0;           ///< TemporalId
    bool firstSliceSegmentInPic = false;   ///< first_slice_segment_in_pic_flag
    bool noOutputOfPriorPics = false;      ///< no_output_of_prior_pics_flag
    std::uint32_t ppsId = 0;               ///< slice_pic_parameter_set_id
    std::uint32_t spsId = 0;               ///< pps_seq_parameter_set_id of that PPS
    bool dependentSliceSegment = false;    ///< dependent_slice_segment_flag; then the rest is as in the slice before
    std::uint32_t sliceSegmentAddress = 0; ///< slice_segment_address
    SliceType sliceType = SliceType::I;    ///< slice_type
    bool picOutput = true;                 ///< pic_output_flag
    std::uint32_t picOrderCntLsb = 0;      ///< slice_pic_order_cnt_lsb
    ShortTermRps shortTermRps;             ///< st_ref_pic_set(), the slice's own or the one chosen of the SPS
    std::vector<LongTermPicture> longTermPics;
    bool temporalMvpEnabled = false;                ///< slice_temporal_mvp_enabled_flag
    std::array<std::uint32_t, 2> numRefIdxActive{}; ///< num_ref_idx_l0/l1_active_minus1 + 1
    /// Bit i: RefPicList0 or RefPicList1 (8.3.4) holds the i-th of the pictures that `usedByCurr` are, in the order of
    /// shortTermRps.negative, shortTermRps.positive, longTermPics.
    std::uint32_t refPicLists = 0;

    /// NumPicTotalCurr (7-55)
    [[nodiscard]] std::uint32_t numPicTotalCurr() const;
    /// Whether both belong to one picture: what 7.4.7.1 wants to be the same in its slice segments.
    [[nodiscard]] bool isOfSamePicture(const SliceHeader &other) const;
};

using SpsTable = std::array<std::optional<Sps>, kSpsIds>;
using PpsTable = std::array<std::optional<Pps>, kPpsIds>;

/// The header of a slice segment, `nal`. Nothing if a parameter set is missing or anything is out of its range.
[[nodiscard]] std::optional<SliceHeader> parseSliceHeader(const NalUnit &nal, const SpsTable &spsTable,
                                                          const PpsTable &ppsTable);

} // namespace quorvale::hevc
