#pragma once

#include "video/bitstream/bitreader.h"
#include "video/bitstream/parametersethistory.h"

#include <cstdint>
#include <optional>

namespace quorvale::h264 {

/// Picture parameter set: what slice headers need of it.
struct Pps
{
    std::uint32_t spsId = 0;                          ///< seq_parameter_set_id
    bool entropyCodingMode = false;                   ///< entropy_coding_mode_flag: CABAC
    bool bottomFieldPicOrderInFramePresent = false;   ///< bottom_field_pic_order_in_frame_present_flag
    std::uint32_t numRefIdxDefaultActive[2] = {1, 1}; ///< num_ref_idx_l0/l1_default_active_minus1 + 1
    bool weightedPred = false;                        ///< weighted_pred_flag
    std::uint32_t weightedBipredIdc = 0;              ///< weighted_bipred_idc
    std::int32_t picInitQp = 26;                      ///< pic_init_qp_minus26 + 26
    bool deblockingFilterControlPresent = false;      ///< deblocking_filter_control_present_flag
    bool redundantPicCntPresent = false;              ///< redundant_pic_cnt_present_flag
};

inline constexpr std::uint32_t kPpsIds = 256; ///< pic_parameter_set_id is below

/// Reads an RBSP from its start; nothing where not even the ids of it and of its SPS can be read.
[[nodiscard]] std::optional<ParameterSet<Pps>> parsePps(BitReader reader);

} // namespace quorvale::h264
