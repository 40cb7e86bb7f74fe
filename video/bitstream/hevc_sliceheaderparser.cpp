#include "video/bitstream/hevc_sliceheaderparser.h"

namespace quorvale::hevc {

namespace {

constexpr std::uint32_t kMostSliceTypes = 3;            // table 7-7
constexpr std::uint32_t kMostRefIdxActiveOfASlice = 15; // 7.4.7.1
constexpr std::uint32_t kLargestHeaderExtension = 256;  // 7.4.7.1, in bytes
constexpr std::uint32_t kLargestLog2WeightDenom = 7;    // 7.4.7.3

bool isInRange(std::int64_t value, std::int64_t lowest, std::int64_t highest)
{
    return value >= lowest && value <= highest;
}

} // namespace

// ITU-T H.265, 7.3.6.1, after slice_pic_parameter_set_id
bool SliceHeaderParser::parse()
{
    return parseAddress() && (slice.dependentSliceSegment || parseIndependent()) && parseEntryPoints() && parseEnd();
}

// ITU-T H.265, 7.3.6.1, dependent_slice_segment_flag, slice_segment_address
bool SliceHeaderParser::parseAddress()
{
    if (slice.firstSliceSegmentInPic)
        return true;
    if (pps.dependentSliceSegmentsEnabled)
        slice.dependentSliceSegment = reader.readFlag();                        // dependent_slice_segment_flag
    slice.sliceSegmentAddress = reader.readBits(ceilLog2(sps.picSizeInCtbs())); // slice_segment_address
    return slice.sliceSegmentAddress > 0 && slice.sliceSegmentAddress < sps.picSizeInCtbs();
}

// ITU-T H.265, 7.3.6.1, from slice_reserved_flag to slice_loop_filter_across_slices_enabled_flag
bool SliceHeaderParser::parseIndependent()
{
    reader.skipBits(pps.numExtraSliceHeaderBits);    // slice_reserved_flag[i]
    const std::uint32_t sliceType = reader.readUe(); // slice_type
    if (sliceType >= kMostSliceTypes)
        return false;
    slice.sliceType = static_cast<SliceType>(sliceType);
    if (isIrap(slice.nalUnitType) && slice.sliceType != SliceType::I)
        return false;
    if (pps.outputFlagPresent)
        slice.picOutput = reader.readFlag();               // pic_output_flag
    if (sps.separateColourPlane && reader.readBits(2) > 2) // colour_plane_id
        return false;
    if (!isIdr(slice.nalUnitType) && !parsePictureOrderCountAndReferences())
        return false;
    bool saoIsOn = false;
    if (sps.sampleAdaptiveOffsetEnabled) {
        saoIsOn = reader.readFlag(); // slice_sao_luma_flag
        if (sps.chromaArrayType != 0)
            saoIsOn = reader.readFlag() || saoIsOn; // slice_sao_chroma_flag
    }
    if (slice.sliceType != SliceType::I && !parsePrediction())
        return false;
    return parseQp() && parseLoopFilters(saoIsOn);
}

// ITU-T H.265, 7.3.6.1, slice_pic_order_cnt_lsb to slice_temporal_mvp_enabled_flag
bool SliceHeaderParser::parsePictureOrderCountAndReferences()
{
    slice.picOrderCntLsb = reader.readBits(sps.log2MaxPicOrderCntLsb); // slice_pic_order_cnt_lsb
    if (!parseShortTermReferences() || (sps.longTermRefPicsPresent && !parseLongTermReferences()))
        return false;
    if (slice.shortTermRps.numDeltaPocs() + slice.longTermPics.size() > sps.maxDecPicBufferingMinus1)
        return false;
    if (sps.temporalMvpEnabled)
        slice.temporalMvpEnabled = reader.readFlag(); // slice_temporal_mvp_enabled_flag
    return true;
}

// ITU-T H.265, 7.3.6.1, short_term_ref_pic_set_sps_flag, st_ref_pic_set(num_short_term_ref_pic_sets),
// short_term_ref_pic_set_idx
bool SliceHeaderParser::parseShortTermReferences()
{
    const auto numShortTermRefPicSets = static_cast<std::uint32_t>(sps.shortTermRps.size());
    if (!reader.readFlag()) { // short_term_ref_pic_set_sps_flag
        std::optional<ShortTermRps> rps = parseShortTermRps(reader, sps.shortTermRps, true);
        if (rps)
            slice.shortTermRps = std::move(*rps);
        return rps.has_value();
    }
    const std::uint32_t index = reader.readBits(ceilLog2(numShortTermRefPicSets)); // short_term_ref_pic_set_idx
    if (index >= numShortTermRefPicSets)
        return false;
    slice.shortTermRps = sps.shortTermRps[index];
    return true;
}

// ITU-T H.265, 7.3.6.1, num_long_term_sps to delta_poc_msb_cycle_lt[i]
bool SliceHeaderParser::parseLongTermReferences()
{
    const auto numLongTermRefPicsSps = static_cast<std::uint32_t>(sps.ltRefPicPocLsb.size());
    const std::uint32_t numLongTermSps = numLongTermRefPicsSps > 0 ? reader.readUe() : 0; // num_long_term_sps
    const std::uint32_t numLongTermPics = reader.readUe();                                // num_long_term_pics
    if (numLongTermSps > numLongTermRefPicsSps || numLongTermSps > kMaxDpbSize || numLongTermPics > kMaxDpbSize)
        return false;
    for (std::uint32_t i = 0; i < numLongTermSps + numLongTermPics; ++i) {
        if (!parseLongTermPicture(i, numLongTermSps))
            return false;
    }
    return !reader.failed();
}

// ITU-T H.265, 7.3.6.1, lt_idx_sps[i] to delta_poc_msb_cycle_lt[i]
bool SliceHeaderParser::parseLongTermPicture(std::uint32_t i, std::uint32_t numLongTermSps)
{
    LongTermPicture picture;
    if (i < numLongTermSps) {
        const auto numLongTermRefPicsSps = static_cast<std::uint32_t>(sps.ltRefPicPocLsb.size());
        const std::uint32_t index = reader.readBits(ceilLog2(numLongTermRefPicsSps)); // lt_idx_sps[i]
        if (index >= numLongTermRefPicsSps)
            return false;
        picture.pocLsb = sps.ltRefPicPocLsb[index];
        picture.usedByCurr = sps.usedByCurrPicLt[index];
    } else {
        picture.pocLsb = reader.readBits(sps.log2MaxPicOrderCntLsb); // poc_lsb_lt[i]
        picture.usedByCurr = reader.readFlag();                      // used_by_curr_pic_lt_flag[i]
    }
    picture.deltaPocMsbPresent = reader.readFlag(); // delta_poc_msb_present_flag[i]
    if (picture.deltaPocMsbPresent)
        picture.deltaPocMsbCycle = reader.readUe(); // delta_poc_msb_cycle_lt[i]
    if (i != 0 && i != numLongTermSps)
        picture.deltaPocMsbCycle += slice.longTermPics.back().deltaPocMsbCycle; // (7-52)
    slice.longTermPics.push_back(picture);
    return true;
}

// ITU-T H.265, 7.3.6.1, num_ref_idx_active_override_flag to five_minus_max_num_merge_cand
bool SliceHeaderParser::parsePrediction()
{
    const bool overrides = reader.readFlag(); // num_ref_idx_active_override_flag
    for (std::size_t list = 0; list < lists(); ++list) {
        // num_ref_idx_l0_active_minus1, num_ref_idx_l1_active_minus1
        const std::uint32_t count = overrides ? reader.readUe() + 1 : pps.numRefIdxDefaultActive[list];
        if (count > kMostRefIdxActiveOfASlice)
            return false;
        slice.numRefIdxActive.at(list) = count;
    }
    if (slice.numPicTotalCurr() == 0 || !parseLists())
        return false;
    if (slice.sliceType == SliceType::B)
        reader.readFlag(); // mvd_l1_zero_flag
    if (pps.cabacInitPresent)
        reader.readFlag(); // cabac_init_flag
    if (slice.temporalMvpEnabled && !parseCollocatedPicture())
        return false;
    const bool weighted = slice.sliceType == SliceType::P ? pps.weightedPred : pps.weightedBipred;
    if (weighted && !parsePredWeightTable())
        return false;
    return reader.readUe() <= 4; // five_minus_max_num_merge_cand
}

// ITU-T H.265, 7.3.6.2, ref_pic_lists_modification(), and what the lists then hold (8.3.4): without it all pictures of
// the set in turn, over and over, the first list those that are output before this one first, the second one those
// after.
bool SliceHeaderParser::parseLists()
{
    const std::uint32_t total = slice.numPicTotalCurr();
    const std::uint32_t before = countUsed(slice.shortTermRps.negative);
    const std::uint32_t after = countUsed(slice.shortTermRps.positive);
    for (std::size_t list = 0; list < lists(); ++list) {
        // ref_pic_list_modification_flag_l0, ref_pic_list_modification_flag_l1
        const bool isModified = pps.listsModificationPresent && total > 1 && reader.readFlag();
        for (std::uint32_t i = 0; i < slice.numRefIdxActive.at(list); ++i) {
            std::uint32_t entry = isModified ? reader.readBits(ceilLog2(total)) : i % total; // list_entry_l0[i], ...
            if (entry >= total)
                return false;
            if (list == 1 && entry < before + after)
                entry = entry < after ? before + entry : entry - after;
            slice.refPicLists |= 1U << entry;
        }
    }
    return true;
}

// ITU-T H.265, 7.3.6.1, collocated_from_l0_flag, collocated_ref_idx
bool SliceHeaderParser::parseCollocatedPicture()
{
    const bool fromL0 = slice.sliceType != SliceType::B || reader.readFlag(); // collocated_from_l0_flag
    const std::uint32_t count = slice.numRefIdxActive.at(fromL0 ? 0 : 1);
    return count <= 1 || reader.readUe() < count; // collocated_ref_idx
}

// ITU-T H.265, 7.3.6.3, pred_weight_table(). No reference picture is the picture itself, so that each has its flags.
bool SliceHeaderParser::parsePredWeightTable()
{
    const bool chroma = sps.chromaArrayType != 0;
    const std::uint32_t lumaLog2WeightDenom = reader.readUe(); // luma_log2_weight_denom
    if (lumaLog2WeightDenom > kLargestLog2WeightDenom)
        return false;
    if (chroma && !isInRange(std::int64_t{lumaLog2WeightDenom} + reader.readSe(), 0, // delta_chroma_log2_weight_denom
                             kLargestLog2WeightDenom))
        return false;
    for (std::size_t list = 0; list < lists(); ++list) {
        const std::uint32_t count = slice.numRefIdxActive.at(list);
        const std::uint32_t lumaFlags = reader.readBits(static_cast<int>(count)); // luma_weight_l0_flag[i], ...
        const std::uint32_t chromaFlags =
            chroma ? reader.readBits(static_cast<int>(count)) : 0; // chroma_weight_l0_flag[i]
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint32_t bit = 1U << (count - 1 - i);
            if ((lumaFlags & bit) != 0) {
                if (!isInRange(reader.readSe(), -128, 127)) // delta_luma_weight_l0[i], delta_luma_weight_l1[i]
                    return false;
                reader.readSe(); // luma_offset_l0[i], luma_offset_l1[i]
            }
            for (int component = 0; component < 2 && (chromaFlags & bit) != 0; ++component) {
                if (!isInRange(reader.readSe(), -128,
                               127)) // delta_chroma_weight_l0[i][j], delta_chroma_weight_l1[i][j]
                    return false;
                reader.readSe(); // delta_chroma_offset_l0[i][j], delta_chroma_offset_l1[i][j]
            }
        }
    }
    return true;
}

// ITU-T H.265, 7.3.6.1, slice_qp_delta to cu_chroma_qp_offset_enabled_flag
bool SliceHeaderParser::parseQp()
{
    const std::int64_t sliceQp = std::int64_t{pps.initQp} + reader.readSe(); // slice_qp_delta
    if (!isInRange(sliceQp, -sps.qpBdOffsetY, 51))
        return false;
    if (pps.sliceChromaQpOffsetsPresent) {
        if (!isInRange(reader.readSe(), -12, 12)) // slice_cb_qp_offset
            return false;
        if (!isInRange(reader.readSe(), -12, 12)) // slice_cr_qp_offset
            return false;
    }
    if (pps.chromaQpOffsetListEnabled)
        reader.readFlag(); // cu_chroma_qp_offset_enabled_flag
    return true;
}

// ITU-T H.265, 7.3.6.1, deblocking_filter_override_flag to slice_loop_filter_across_slices_enabled_flag
bool SliceHeaderParser::parseLoopFilters(bool saoIsOn)
{
    bool disabled = pps.deblockingFilterDisabled;
    if (pps.deblockingFilterOverrideEnabled && reader.readFlag()) { // deblocking_filter_override_flag
        disabled = reader.readFlag();                               // slice_deblocking_filter_disabled_flag
        if (!disabled) {
            if (!isInRange(reader.readSe(), -6, 6)) // slice_beta_offset_div2
                return false;
            if (!isInRange(reader.readSe(), -6, 6)) // slice_tc_offset_div2
                return false;
        }
    }
    if (pps.loopFilterAcrossSlicesEnabled && (saoIsOn || !disabled))
        reader.readFlag(); // slice_loop_filter_across_slices_enabled_flag
    return true;
}

// ITU-T H.265, 7.3.6.1, num_entry_point_offsets to entry_point_offset_minus1[i]
bool SliceHeaderParser::parseEntryPoints()
{
    if (!pps.tilesEnabled && !pps.entropyCodingSyncEnabled)
        return true;
    const std::uint32_t rows = pps.entropyCodingSyncEnabled ? sps.picHeightInCtbs : pps.numTileRows;
    const std::uint32_t numEntryPointOffsets = reader.readUe(); // num_entry_point_offsets
    if (numEntryPointOffsets >= pps.numTileColumns * rows)
        return false;
    if (numEntryPointOffsets > 0) {
        const std::uint32_t offsetLenMinus1 = reader.readUe(); // offset_len_minus1
        if (offsetLenMinus1 > 31)
            return false;
        // entry_point_offset_minus1[i]
        reader.skipBits(std::int64_t{numEntryPointOffsets} * (std::int64_t{offsetLenMinus1} + 1));
    }
    return true;
}

// ITU-T H.265, 7.3.6.1, slice_segment_header_extension_length to byte_alignment() (7.3.2.12)
bool SliceHeaderParser::parseEnd()
{
    if (pps.sliceSegmentHeaderExtensionPresent) {
        const std::uint32_t length = reader.readUe(); // slice_segment_header_extension_length
        if (length > kLargestHeaderExtension)
            return false;
        reader.skipBits(8 * std::int64_t{length}); // slice_segment_header_extension_data_byte[i]
    }
    if (!reader.readFlag()) // alignment_bit_equal_to_one
        return false;
    while (!reader.isByteAligned() && !reader.failed()) {
        if (reader.readFlag()) // alignment_bit_equal_to_zero
            return false;
    }
    return !reader.failed();
}

} // namespace quorvale::hevc
