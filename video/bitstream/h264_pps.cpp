#include "video/bitstream/h264_pps.h"

#include "video/bitstream/h264_sps.h"

namespace quorvale::h264 {

namespace {

constexpr std::uint32_t kMostSliceGroups = 8;   // A.2.1, A.2.3
constexpr std::uint32_t kMostRefIdxActive = 32; // 7.4.2.2
constexpr std::int32_t kLowestPicInitQp = -36;  // 7.4.2.2, with the deepest samples
constexpr std::int32_t kHighestPicInitQp = 51;

// Bits of slice_group_id[i]: Ceil(Log2(num_slice_groups_minus1 + 1)).
int sliceGroupIdBits(std::uint32_t numSliceGroups)
{
    return numSliceGroups > 4 ? 3 : numSliceGroups > 2 ? 2 : 1;
}

// ITU-T H.264, 7.3.2.2, from slice_group_map_type on
bool parseSliceGroups(BitReader &reader, Pps &pps)
{
    pps.sliceGroupMapType = reader.readUe(); // slice_group_map_type
    switch (pps.sliceGroupMapType) {
    case 0:
        for (std::uint32_t group = 0; group < pps.numSliceGroups; ++group)
            reader.readUe(); // run_length_minus1[iGroup]
        break;
    case 1:
        break;
    case 2:
        for (std::uint32_t group = 0; group + 1 < pps.numSliceGroups; ++group) {
            reader.readUe(); // top_left[iGroup]
            reader.readUe(); // bottom_right[iGroup]
        }
        break;
    case 3:
    case 4:
    case 5:
        reader.readFlag();                              // slice_group_change_direction_flag
        pps.sliceGroupChangeRate = reader.readUe() + 1; // slice_group_change_rate_minus1
        break;
    case 6: {
        const std::uint32_t picSizeInMapUnitsMinus1 = reader.readUe(); // pic_size_in_map_units_minus1
        // slice_group_id[i]
        reader.skipBits((std::int64_t{picSizeInMapUnitsMinus1} + 1) * sliceGroupIdBits(pps.numSliceGroups));
        break;
    }
    default:
        return false;
    }
    return true;
}

// ITU-T H.264, 7.3.2.2, after seq_parameter_set_id
std::optional<Pps> parsePpsContents(BitReader &reader, std::uint32_t spsId)
{
    Pps pps;
    pps.spsId = spsId;
    pps.entropyCodingMode = reader.readFlag();                 // entropy_coding_mode_flag
    pps.bottomFieldPicOrderInFramePresent = reader.readFlag(); // bottom_field_pic_order_in_frame_present_flag
    pps.numSliceGroups = reader.readUe() + 1;                  // num_slice_groups_minus1
    if (pps.numSliceGroups > kMostSliceGroups || (pps.numSliceGroups > 1 && !parseSliceGroups(reader, pps)))
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
