#include "video/bitstream/h264_pps.h"

#include "video/bitstream/h264_sps.h"

namespace quorvale::h264 {

namespace {

constexpr std::uint32_t kMostRefIdxActive = 32; // 7.4.2.2
constexpr std::int32_t kLowestPicInitQp = -36;  // 7.4.2.2, with the deepest samples
constexpr std::int32_t kHighestPicInitQp = 51;

// ITU-T H.264, 7.3.2.2, after seq_parameter_set_id
std::optional<Pps> parsePpsContents(BitReader &reader, std::uint32_t spsId)
{
    Pps pps;
    pps.spsId = spsId;
    pps.entropyCodingMode = reader.readFlag();                 // entropy_coding_mode_flag
    pps.bottomFieldPicOrderInFramePresent = reader.readFlag(); // bottom_field_pic_order_in_frame_present_flag
    if (reader.readUe() != 0) // num_slice_groups_minus1: FFmpeg has no decoder for several of them
        return std::nullopt;
    // num_ref_idx_l0_default_active_minus1, num_ref_idx_l1_default_active_minus1
    for (std::uint32_t &count : pps.numRefIdxDefaultActive) {
        count = reader.readUe() + 1;
        if (count > kMostRefIdxActive)
            return std::nullopt;
    }
    pps.weightedPred = reader.readFlag();                   // weighted_pred_flag
    pps.weightedBipredIdc = reader.readBits(2);             // weighted_bipred_idc
    const std::int32_t picInitQpMinus26 = reader.readSe();  // pic_init_qp_minus26
    reader.readSe();                                        // pic_init_qs_minus26
    reader.readSe();                                        // chroma_qp_index_offset
    pps.deblockingFilterControlPresent = reader.readFlag(); // deblocking_filter_control_present_flag
    reader.readFlag();                                      // constrained_intra_pred_flag
    pps.redundantPicCntPresent = reader.readFlag();         // redundant_pic_cnt_present_flag
    if (reader.failed() || picInitQpMinus26 < kLowestPicInitQp - 26 || picInitQpMinus26 > kHighestPicInitQp - 26)
        return std::nullopt;
    pps.picInitQp = 26 + picInitQpMinus26;
    // transform_8x8_mode_flag, scaling lists and second_chroma_qp_index_offset are of no use here.
    return pps;
}

} // namespace

// ITU-T H.264, 7.3.2.2, pic_parameter_set_rbsp()
std::optional<ParameterSet<Pps>> parsePps(BitReader reader)
{
    ParameterSet<Pps> found;
    found.id = reader.readUe();                  // pic_parameter_set_id
    const std::uint32_t spsId = reader.readUe(); // seq_parameter_set_id
    if (reader.failed() || found.id >= kPpsIds || spsId >= kSpsIds)
        return std::nullopt;
    found.parsed = parsePpsContents(reader, spsId);
    return found;
}

} // namespace quorvale::h264
