#include "video/bitstream/hevc_sps.h"

#include "video/bitstream/hevc_scalinglist.h"

#include <utility>

namespace quorvale::hevc {

namespace {

constexpr std::uint32_t kMostSamplesInADimension = 1U << 16; // beyond every level; keeps products within 32 bits
constexpr std::uint32_t kMostShortTermRps = 64;              // 7.4.3.2.1
constexpr std::uint32_t kMostLongTermPics = 32;              // 7.4.3.2.1
constexpr std::uint32_t kLargestLog2Minus4 = 12;             // 7.4.3.2.1
constexpr std::uint32_t kLargestBitDepthMinus8 = 8;          // 7.4.3.2.1

// general_profile_idc of screen content coding, which adds to slice headers what is not read here (A.3.7, A.3.8).
constexpr std::uint32_t kScreenExtendedMain = 9;
constexpr std::uint32_t kScreenExtendedHighThroughput = 11;

// ITU-T H.265, 7.3.3, profile_tier_level(1, maxNumSubLayersMinus1); false for a profile that is not read
bool parseProfileTierLevel(BitReader &reader, std::uint32_t maxNumSubLayersMinus1)
{
    reader.skipBits(2);                                  // general_profile_space
    reader.skipBits(1);                                  // general_tier_flag
    const std::uint32_t profileIdc = reader.readBits(5); // general_profile_idc
    reader.skipBits(32);                                 // general_profile_compatibility_flag[j]
    reader.skipBits(4);  // general_progressive_source_flag, general_interlaced_source_flag,
                         // general_non_packed_constraint_flag, general_frame_only_constraint_flag
    reader.skipBits(43); // general_reserved_zero_43bits, or constraint flags of the profile
    reader.skipBits(1);  // general_inbld_flag
    reader.skipBits(8);  // general_level_idc
    std::int64_t subLayerBits = 0;
    for (std::uint32_t i = 0; i < maxNumSubLayersMinus1; ++i) {
        if (reader.readFlag())  // sub_layer_profile_present_flag[i]
            subLayerBits += 88; // sub_layer_profile_space[i] to sub_layer_inbld_flag[i]
        if (reader.readFlag())  // sub_layer_level_present_flag[i]
            subLayerBits += 8;  // sub_layer_level_idc[i]
    }
    if (maxNumSubLayersMinus1 > 0)
        reader.skipBits(2 * (8 - std::int64_t{maxNumSubLayersMinus1})); // reserved_zero_2bits[i]
    reader.skipBits(subLayerBits);
    return profileIdc != kScreenExtendedMain && profileIdc != kScreenExtendedHighThroughput;
}

// ITU-T H.265, 7.3.2.2.1, from chroma_format_idc to bit_depth_chroma_minus8
bool parseFormat(BitReader &reader, Sps &sps, std::uint32_t &width, std::uint32_t &height)
{
    const std::uint32_t chromaFormatIdc = reader.readUe(); // chroma_format_idc
    if (chromaFormatIdc == 3)
        sps.separateColourPlane = reader.readFlag(); // separate_colour_plane_flag
    sps.chromaArrayType = sps.separateColourPlane ? 0 : chromaFormatIdc;
    width = reader.readUe();  // pic_width_in_luma_samples
    height = reader.readUe(); // pic_height_in_luma_samples
    if (reader.readFlag()) {  // conformance_window_flag
        for (int side = 0; side < 4; ++side)
            reader.readUe(); // conf_win_left_offset, conf_win_right_offset, conf_win_top_offset, conf_win_bottom_offset
    }
    const std::uint32_t bitDepthLumaMinus8 = reader.readUe();   // bit_depth_luma_minus8
    const std::uint32_t bitDepthChromaMinus8 = reader.readUe(); // bit_depth_chroma_minus8
    if (chromaFormatIdc > 3 || width == 0 || height == 0 || width > kMostSamplesInADimension ||
        height > kMostSamplesInADimension || bitDepthLumaMinus8 > kLargestBitDepthMinus8 ||
        bitDepthChromaMinus8 > kLargestBitDepthMinus8)
        return false;
    sps.qpBdOffsetY = static_cast<int>(6 * bitDepthLumaMinus8);
    return true;
}

// ITU-T H.265, 7.3.2.2.1, from log2_min_luma_coding_block_size_minus3 to log2_diff_max_min_luma_coding_block_size
bool parseCodingBlockSizes(BitReader &reader, Sps &sps, std::uint32_t width, std::uint32_t height)
{
    const std::uint32_t log2MinCbSizeMinus3 = reader.readUe(); // log2_min_luma_coding_block_size_minus3
    const std::uint32_t log2DiffMaxMin = reader.readUe();      // log2_diff_max_min_luma_coding_block_size
    if (log2MinCbSizeMinus3 > 3 || log2DiffMaxMin > 3)
        return false;
    const std::uint32_t ctbSize = 1U << (3 + log2MinCbSizeMinus3 + log2DiffMaxMin); // CtbSizeY
    sps.picWidthInCtbs = (width + ctbSize - 1) / ctbSize;
    sps.picHeightInCtbs = (height + ctbSize - 1) / ctbSize;
    return true;
}

// ITU-T H.265, 7.3.2.2.1, pcm_enabled_flag and what it announces
void skipPcm(BitReader &reader)
{
    if (!reader.readFlag()) // pcm_enabled_flag
        return;
    reader.skipBits(4); // pcm_sample_bit_depth_luma_minus1
    reader.skipBits(4); // pcm_sample_bit_depth_chroma_minus1
    reader.readUe();    // log2_min_pcm_luma_coding_block_size_minus3
    reader.readUe();    // log2_diff_max_min_pcm_luma_coding_block_size
    reader.readFlag();  // pcm_loop_filter_disabled_flag
}

// ITU-T H.265, 7.3.2.2.1, from num_short_term_ref_pic_sets to sps_temporal_mvp_enabled_flag
bool parseReferencePictures(BitReader &reader, Sps &sps)
{
    const std::uint32_t numShortTermRefPicSets = reader.readUe(); // num_short_term_ref_pic_sets
    if (numShortTermRefPicSets > kMostShortTermRps)
        return false;
    for (std::uint32_t i = 0; i < numShortTermRefPicSets; ++i) {
        std::optional<ShortTermRps> rps = parseShortTermRps(reader, sps.shortTermRps, false); // st_ref_pic_set(i)
        if (!rps)
            return false;
        sps.shortTermRps.push_back(std::move(*rps));
    }
    sps.longTermRefPicsPresent = reader.readFlag(); // long_term_ref_pics_present_flag
    if (sps.longTermRefPicsPresent) {
        const std::uint32_t numLongTermRefPics = reader.readUe(); // num_long_term_ref_pics_sps
        if (numLongTermRefPics > kMostLongTermPics)
            return false;
        for (std::uint32_t i = 0; i < numLongTermRefPics; ++i) {
            sps.ltRefPicPocLsb.push_back(reader.readBits(sps.log2MaxPicOrderCntLsb)); // lt_ref_pic_poc_lsb_sps[i]
            sps.usedByCurrPicLt.push_back(reader.readFlag());                         // used_by_curr_pic_lt_sps_flag[i]
        }
    }
    sps.temporalMvpEnabled = reader.readFlag(); // sps_temporal_mvp_enabled_flag
    return true;
}

// ITU-T H.265, 7.3.2.2.1, after sps_seq_parameter_set_id
std::optional<Sps> parseSpsContents(BitReader &reader, std::uint32_t maxSubLayersMinus1)
{
    Sps sps;
    sps.maxSubLayersMinus1 = maxSubLayersMinus1;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    if (!parseFormat(reader, sps, width, height))
        return std::nullopt;
    const std::uint32_t log2MaxPicOrderCntLsbMinus4 = reader.readUe(); // log2_max_pic_order_cnt_lsb_minus4
    if (log2MaxPicOrderCntLsbMinus4 > kLargestLog2Minus4)
        return std::nullopt;
    sps.log2MaxPicOrderCntLsb = static_cast<int>(log2MaxPicOrderCntLsbMinus4) + 4;
    const bool subLayerOrderingInfoPresent = reader.readFlag(); // sps_sub_layer_ordering_info_present_flag
    for (std::uint32_t i = subLayerOrderingInfoPresent ? 0 : maxSubLayersMinus1; i <= maxSubLayersMinus1; ++i) {
        sps.maxDecPicBufferingMinus1 = reader.readUe(); // sps_max_dec_pic_buffering_minus1[i]
        reader.readUe();                                // sps_max_num_reorder_pics[i]
        reader.readUe();                                // sps_max_latency_increase_plus1[i]
    }
    if (!parseCodingBlockSizes(reader, sps, width, height))
        return std::nullopt;
    reader.readUe();                            // log2_min_luma_transform_block_size_minus2
    reader.readUe();                            // log2_diff_max_min_luma_transform_block_size
    reader.readUe();                            // max_transform_hierarchy_depth_inter
    reader.readUe();                            // max_transform_hierarchy_depth_intra
    if (reader.readFlag() && reader.readFlag()) // scaling_list_enabled_flag, sps_scaling_list_data_present_flag
        skipScalingListData(reader);
    reader.readFlag();                                   // amp_enabled_flag
    sps.sampleAdaptiveOffsetEnabled = reader.readFlag(); // sample_adaptive_offset_enabled_flag
    skipPcm(reader);
    if (!parseReferencePictures(reader, sps) || reader.failed() || sps.maxDecPicBufferingMinus1 >= kMaxDpbSize)
        return std::nullopt;
    // strong_intra_smoothing_enabled_flag, VUI and extensions are of no use here.
    return sps;
}

} // namespace

int ceilLog2(std::uint32_t count)
{
    int bits = 0;
    while (std::uint64_t{1} << bits < count)
        ++bits;
    return bits;
}

// ITU-T H.265, 7.3.2.2.1, seq_parameter_set_rbsp()
std::optional<ParameterSet<Sps>> parseSps(BitReader reader)
{
    reader.skipBits(4);                                          // sps_video_parameter_set_id
    const std::uint32_t maxSubLayersMinus1 = reader.readBits(3); // sps_max_sub_layers_minus1
    reader.readFlag();                                           // sps_temporal_id_nesting_flag
    const bool profileIsRead = parseProfileTierLevel(reader, maxSubLayersMinus1);
    ParameterSet<Sps> found;
    found.id = reader.readUe(); // sps_seq_parameter_set_id
    if (reader.failed() || found.id >= kSpsIds)
        return std::nullopt;
    if (profileIsRead && maxSubLayersMinus1 < 7)
        found.parsed = parseSpsContents(reader, maxSubLayersMinus1);
    return found;
}

} // namespace quorvale::hevc
