#include "video/bitstream/h264_sps.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace quorvale::h264 {

namespace {

constexpr std::uint32_t kMostMbsInADimension = 4096; // far beyond every level; keeps products within 32 bits
constexpr std::uint32_t kMostRefFramesInCycle = 255; // 7.4.2.1.1
constexpr std::uint32_t kLargestLog2Minus4 = 12;     // 7.4.2.1.1, of both kinds of numbers
constexpr std::uint32_t kLargestBitDepthMinus8 = 6;  // 7.4.2.1.1

// The profiles of 7.3.2.1.1 that have chroma_format_idc.
bool hasChromaFormat(std::uint32_t profileIdc)
{
    constexpr std::uint32_t kProfiles[] = {100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134, 135};
    return std::find(std::begin(kProfiles), std::end(kProfiles), profileIdc) != std::end(kProfiles);
}

// ITU-T H.264, 7.3.2.1.1.1, scaling_list()
void skipScalingList(BitReader &reader, int sizeOfScalingList)
{
    int lastScale = 8;
    int nextScale = 8;
    for (int j = 0; j < sizeOfScalingList && !reader.failed(); ++j) {
        if (nextScale != 0) {
            const std::int32_t deltaScale = reader.readSe(); // delta_scale
            nextScale = (lastScale + deltaScale % 256 + 256) % 256;
        }
        lastScale = nextScale == 0 ? lastScale : nextScale;
    }
}

// ITU-T H.264, 7.3.2.1.1, from chroma_format_idc on
bool parseChromaFormat(BitReader &reader, Sps &sps)
{
    const std::uint32_t chromaFormatIdc = reader.readUe(); // chroma_format_idc
    if (chromaFormatIdc > 3)
        return false;
    if (chromaFormatIdc == 3)
        sps.separateColourPlane = reader.readFlag(); // separate_colour_plane_flag
    sps.chromaArrayType = sps.separateColourPlane ? 0 : chromaFormatIdc;
    const std::uint32_t bitDepthLumaMinus8 = reader.readUe();   // bit_depth_luma_minus8
    const std::uint32_t bitDepthChromaMinus8 = reader.readUe(); // bit_depth_chroma_minus8
    if (bitDepthLumaMinus8 > kLargestBitDepthMinus8 || bitDepthChromaMinus8 > kLargestBitDepthMinus8)
        return false;
    sps.qpBdOffsetY = static_cast<int>(6 * bitDepthLumaMinus8);
    reader.readFlag();       // qpprime_y_zero_transform_bypass_flag
    if (reader.readFlag()) { // seq_scaling_matrix_present_flag
        const int lists = chromaFormatIdc != 3 ? 8 : 12;
        for (int i = 0; i < lists; ++i) {
            if (reader.readFlag()) // seq_scaling_list_present_flag[i]
                skipScalingList(reader, i < 6 ? 16 : 64);
        }
    }
    return true;
}

// ITU-T H.264, 7.3.2.1.1, from pic_order_cnt_type on
bool parsePicOrderCnt(BitReader &reader, Sps &sps)
{
    sps.picOrderCntType = reader.readUe(); // pic_order_cnt_type
    if (sps.picOrderCntType == 0) {
        const std::uint32_t log2Minus4 = reader.readUe(); // log2_max_pic_order_cnt_lsb_minus4
        sps.log2MaxPicOrderCntLsb = static_cast<int>(std::min(log2Minus4, kLargestLog2Minus4)) + 4;
        return log2Minus4 <= kLargestLog2Minus4;
    }
    if (sps.picOrderCntType == 1) {
        sps.deltaPicOrderAlwaysZero = reader.readFlag();   // delta_pic_order_always_zero_flag
        sps.offsetForNonRefPic = reader.readSe();          // offset_for_non_ref_pic
        sps.offsetForTopToBottomField = reader.readSe();   // offset_for_top_to_bottom_field
        const std::uint32_t cycleLength = reader.readUe(); // num_ref_frames_in_pic_order_cnt_cycle
        if (cycleLength > kMostRefFramesInCycle)
            return false;
        sps.offsetForRefFrame.resize(cycleLength);
        for (std::int32_t &offset : sps.offsetForRefFrame) {
            offset = reader.readSe(); // offset_for_ref_frame[i]
            sps.expectedDeltaPerPicOrderCntCycle += offset;
        }
        return std::abs(sps.expectedDeltaPerPicOrderCntCycle) <= kLargestPicOrderCnt;
    }
    return sps.picOrderCntType == 2;
}

// ITU-T H.264, 7.3.2.1.1, after seq_parameter_set_id
std::optional<Sps> parseSpsContents(BitReader &reader, std::uint32_t profileIdc)
{
    Sps sps;
    if (hasChromaFormat(profileIdc) && !parseChromaFormat(reader, sps))
        return std::nullopt;
    const std::uint32_t log2MaxFrameNumMinus4 = reader.readUe(); // log2_max_frame_num_minus4
    if (log2MaxFrameNumMinus4 > kLargestLog2Minus4)
        return std::nullopt;
    sps.log2MaxFrameNum = static_cast<int>(log2MaxFrameNumMinus4) + 4;
    if (!parsePicOrderCnt(reader, sps))
        return std::nullopt;
    sps.maxNumRefFrames = reader.readUe();                           // max_num_ref_frames
    reader.readFlag();                                               // gaps_in_frame_num_value_allowed_flag
    const std::uint32_t picWidthInMbsMinus1 = reader.readUe();       // pic_width_in_mbs_minus1
    const std::uint32_t picHeightInMapUnitsMinus1 = reader.readUe(); // pic_height_in_map_units_minus1
    sps.frameMbsOnly = reader.readFlag();                            // frame_mbs_only_flag
    if (!sps.frameMbsOnly)
        sps.mbAdaptiveFrameField = reader.readFlag(); // mb_adaptive_frame_field_flag
    if (reader.failed() || sps.maxNumRefFrames > kMaxDpbFrames || picWidthInMbsMinus1 >= kMostMbsInADimension ||
        picHeightInMapUnitsMinus1 >= kMostMbsInADimension)
        return std::nullopt;
    sps.picWidthInMbs = picWidthInMbsMinus1 + 1;
    sps.picHeightInMapUnits = picHeightInMapUnitsMinus1 + 1;
    // direct_8x8_inference_flag, cropping and VUI are of no use here.
    return sps;
}

} // namespace

// ITU-T H.264, 7.3.2.1.1, seq_parameter_set_data()
std::optional<ParameterSet<Sps>> parseSps(BitReader reader)
{
    const std::uint32_t profileIdc = reader.readBits(8); // profile_idc
    reader.skipBits(6);                                  // constraint_set0_flag to constraint_set5_flag
    reader.skipBits(2);                                  // reserved_zero_2bits
    reader.skipBits(8);                                  // level_idc
    ParameterSet<Sps> found;
    found.id = reader.readUe(); // seq_parameter_set_id
    if (reader.failed() || found.id >= kSpsIds)
        return std::nullopt;
    found.parsed = parseSpsContents(reader, profileIdc);
    return found;
}

} // namespace quorvale::h264
