#pragma once

#include "video/bitstream/bitreader.h"
#include "video/bitstream/hevc_rps.h"
#include "video/bitstream/parametersethistory.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace quorvale::hevc {

/// Sequence parameter set: what slice segment headers and picture order counts need of it.
struct Sps
{
    std::uint32_t maxSubLayersMinus1 = 0;       ///< sps_max_sub_layers_minus1
    bool separateColourPlane = false;           ///< separate_colour_plane_flag
    std::uint32_t chromaArrayType = 1;          ///< ChromaArrayType
    int qpBdOffsetY = 0;                        ///< QpBdOffsetY (7-5)
    int log2MaxPicOrderCntLsb = 4;              ///< log2_max_pic_order_cnt_lsb_minus4 + 4
    std::uint32_t maxDecPicBufferingMinus1 = 0; ///< sps_max_dec_pic_buffering_minus1[HighestTid]
    std::uint32_t picWidthInCtbs = 0;           ///< PicWidthInCtbsY
    std::uint32_t picHeightInCtbs = 0;          ///< PicHeightInCtbsY
    bool sampleAdaptiveOffsetEnabled = false;   ///< sample_adaptive_offset_enabled_flag
    std::vector<ShortTermRps> shortTermRps;     ///< st_ref_pic_set(i)
    bool longTermRefPicsPresent = false;        ///< long_term_ref_pics_present_flag
    std::vector<std::uint32_t> ltRefPicPocLsb;  ///< lt_ref_pic_poc_lsb_sps[i]
    std::vector<bool> usedByCurrPicLt;          ///< used_by_curr_pic_lt_sps_flag[i]
    bool temporalMvpEnabled = false;            ///< sps_temporal_mvp_enabled_flag

    [[nodiscard]] std::uint32_t maxPicOrderCntLsb() const { return std::uint32_t{1} << log2MaxPicOrderCntLsb; }
    [[nodiscard]] std::uint32_t picSizeInCtbs() const { return picWidthInCtbs * picHeightInCtbs; }
};

inline constexpr std::uint32_t kSpsIds = 16; ///< sps_seq_parameter_set_id is below

/// Reads an RBSP from its start; nothing where not even the id can be read.
[[nodiscard]] std::optional<ParameterSet<Sps>> parseSps(BitReader reader);

/// Ceil(Log2(count)): the bits of a number below `count`.
[[nodiscard]] int ceilLog2(std::uint32_t count);

} // namespace quorvale::hevc
