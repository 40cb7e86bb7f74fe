#pragma once

#include "video/bitstream/bitreader.h"
#include "video/bitstream/parametersethistory.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace quorvale::h264 {

/// Sequence parameter set: what slice headers and picture order counts need of it.
struct Sps
{
    bool separateColourPlane = false;            ///< separate_colour_plane_flag
    std::uint32_t chromaArrayType = 1;           ///< ChromaArrayType (7.4.2.1.1)
    int qpBdOffsetY = 0;                         ///< QpBdOffsetY (7-4)
    int log2MaxFrameNum = 0;                     ///< log2_max_frame_num_minus4 + 4
    std::uint32_t picOrderCntType = 0;           ///< pic_order_cnt_type
    int log2MaxPicOrderCntLsb = 0;               ///< log2_max_pic_order_cnt_lsb_minus4 + 4; with type 0
    bool deltaPicOrderAlwaysZero = false;        ///< delta_pic_order_always_zero_flag; with type 1, as the next four
    std::int32_t offsetForNonRefPic = 0;         ///< offset_for_non_ref_pic
    std::int32_t offsetForTopToBottomField = 0;  ///< offset_for_top_to_bottom_field
    std::vector<std::int32_t> offsetForRefFrame; ///< offset_for_ref_frame[i]
    std::int64_t expectedDeltaPerPicOrderCntCycle = 0; ///< ExpectedDeltaPerPicOrderCntCycle (7-12)
    std::uint32_t maxNumRefFrames = 0;                 ///< max_num_ref_frames
    std::uint32_t picWidthInMbs = 0;                   ///< pic_width_in_mbs_minus1 + 1
    std::uint32_t picHeightInMapUnits = 0;             ///< pic_height_in_map_units_minus1 + 1
    bool frameMbsOnly = true;                          ///< frame_mbs_only_flag
    bool mbAdaptiveFrameField = false;                 ///< mb_adaptive_frame_field_flag

    [[nodiscard]] std::uint32_t maxFrameNum() const { return std::uint32_t{1} << log2MaxFrameNum; }
    [[nodiscard]] std::uint32_t maxPicOrderCntLsb() const { return std::uint32_t{1} << log2MaxPicOrderCntLsb; }
    [[nodiscard]] std::uint32_t picSizeInMapUnits() const { return picWidthInMbs * picHeightInMapUnits; }
};

inline constexpr std::uint32_t kSpsIds = 32;                   ///< seq_parameter_set_id is below
inline constexpr std::uint32_t kMaxDpbFrames = 16;             ///< MaxDpbFrames, of all levels (A.3.1)
inline constexpr std::int64_t kLargestPicOrderCnt = INT32_MAX; ///< 8.2.1

/// Reads an RBSP from its start; nothing where not even the id can be read.
[[nodiscard]] std::optional<ParameterSet<Sps>> parseSps(BitReader reader);

} // namespace quorvale::h264
