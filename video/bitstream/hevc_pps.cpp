#include "video/bitstream/hevc_pps.h"

#include "video/bitstream/hevc_scalinglist.h"
#include "video/bitstream/hevc_sps.h"

namespace quorvale::hevc {

namespace {

constexpr std::uint32_t kMostRefIdxActive = 15; // 7.4.3.3.1
constexpr std::uint32_t kMostTileColumns = 20;  // table A.8, of the highest level
constexpr std::uint32_t kMostTileRows = 22;
constexpr std::int32_t kLowestInitQp = -48; // 7.4.3.3.1, with the deepest samples
constexpr std::int32_t kHighestInitQp = 51;

// ITU-T H.265, 7.3.2.3.1, from num_tile_columns_minus1 to loop_filter_across_tiles_enabled_flag
bool parseTiles(BitReader &reader, Pps &pps)
{
    pps.numTileColumns = reader.readUe() + 1; // num_tile_columns_minus1
    pps.numTileRows = reader.readUe() + 1;    // num_tile_rows_minus1
    if (pps.numTileColumns > kMostTileColumns || pps.numTileRows > kMostTileRows)
        return false;
    if (!reader.readFlag()) { // uniform_spacing_flag
        for (std::uint32_t i = 0; i + 1 < pps.numTileColumns; ++i)
            reader.readUe(); // column_width_minus1[i]
        for (std::uint32_t i = 0; i + 1 < pps.numTileRows; ++i)
            reader.readUe(); // row_height_minus1[i]
    }
    reader.readFlag(); // loop_filter_across_tiles_enabled_flag
    return true;
}

// ITU-T H.265, 7.3.2.3.1, from deblocking_filter_control_present_flag to pps_tc_offset_div2
void parseDeblocking(BitReader &reader, Pps &pps)
{
    if (!reader.readFlag()) // deblocking_filter_control_present_flag
        return;
    pps.deblockingFilterOverrideEnabled = reader.readFlag(); // deblocking_filter_override_enabled_flag
    pps.deblockingFilterDisabled = reader.readFlag();        // pps_deblocking_filter_disabled_flag
    if (!pps.deblockingFilterDisabled) {
        reader.readSe(); // pps_beta_offset_div2
        reader.readSe(); // pps_tc_offset_div2
    }
}

// ITU-T H.265, 7.3.2.3.1, from pps_extension_present_flag on, and 7.3.2.3.2
bool parseExtensions(BitReader &reader, Pps &pps, bool transformSkipEnabled)
{
    if (!reader.readFlag()) // pps_extension_present_flag
        return true;
    const bool rangeExtension = reader.readFlag(); // pps_range_extension_flag
    reader.readFlag();                             // pps_multilayer_extension_flag
    reader.readFlag();                             // pps_3d_extension_flag
    const bool sccExtension = reader.readFlag();   // pps_scc_extension_flag
    reader.skipBits(4);                            // pps_extension_4bits
    if (rangeExtension) {
        if (transformSkipEnabled)
            reader.readUe();                               // log2_max_transform_skip_block_size_minus2
        reader.readFlag();                                 // cross_component_prediction_enabled_flag
        pps.chromaQpOffsetListEnabled = reader.readFlag(); // chroma_qp_offset_list_enabled_flag
    }
    return !sccExtension;
}

// ITU-T H.265, 7.3.2.3.1, after pps_seq_parameter_set_id
std::optional<Pps> parsePpsContents(BitReader &reader, std::uint32_t spsId)
{
    Pps pps;
    pps.spsId = spsId;
    pps.dependentSliceSegmentsEnabled = reader.readFlag();              // dependent_slice_segments_enabled_flag
    pps.outputFlagPresent = reader.readFlag();                          // output_flag_present_flag
    pps.numExtraSliceHeaderBits = static_cast<int>(reader.readBits(3)); // num_extra_slice_header_bits
    reader.readFlag();                                                  // sign_data_hiding_enabled_flag
    pps.cabacInitPresent = reader.readFlag();                           // cabac_init_present_flag
    // num_ref_idx_l0_default_active_minus1, num_ref_idx_l1_default_active_minus1
    for (std::uint32_t &count : pps.numRefIdxDefaultActive) {
        count = reader.readUe() + 1;
        if (count > kMostRefIdxActive)
            return std::nullopt;
    }
    const std::int32_t initQpMinus26 = reader.readSe(); // init_qp_minus26
    if (initQpMinus26 < kLowestInitQp - 26 || initQpMinus26 > kHighestInitQp - 26)
        return std::nullopt;
    pps.initQp = 26 + initQpMinus26;
    reader.readFlag();                                   // constrained_intra_pred_flag
    const bool transformSkipEnabled = reader.readFlag(); // transform_skip_enabled_flag
    if (reader.readFlag())                               // cu_qp_delta_enabled_flag
        reader.readUe();                                 // diff_cu_qp_delta_depth
    reader.readSe();                                     // pps_cb_qp_offset
    reader.readSe();                                     // pps_cr_qp_offset
    pps.sliceChromaQpOffsetsPresent = reader.readFlag(); // pps_slice_chroma_qp_offsets_present_flag
    pps.weightedPred = reader.readFlag();                // weighted_pred_flag
    pps.weightedBipred = reader.readFlag();              // weighted_bipred_flag
    reader.readFlag();                                   // transquant_bypass_enabled_flag
    pps.tilesEnabled = reader.readFlag();                // tiles_enabled_flag
    pps.entropyCodingSyncEnabled = reader.readFlag();    // entropy_coding_sync_enabled_flag
    if (pps.tilesEnabled && !parseTiles(reader, pps))
        return std::nullopt;
    pps.loopFilterAcrossSlicesEnabled = reader.readFlag(); // pps_loop_filter_across_slices_enabled_flag
    parseDeblocking(reader, pps);
    if (reader.readFlag()) // pps_scaling_list_data_present_flag
        skipScalingListData(reader);
    pps.listsModificationPresent = reader.readFlag();           // lists_modification_present_flag
    reader.readUe();                                            // log2_parallel_merge_level_minus2
    pps.sliceSegmentHeaderExtensionPresent = reader.readFlag(); // slice_segment_header_extension_present_flag
    if (!parseExtensions(reader, pps, transformSkipEnabled) || reader.failed())
        return std::nullopt;
    return pps;
}

} // namespace

// ITU-T H.265, 7.3.2.3.1, pic_parameter_set_rbsp()
std::optional<ParameterSet<Pps>> parsePps(BitReader reader)
{
    ParameterSet<Pps> found;
    found.id = reader.readUe();                  // pps_pic_parameter_set_id
    const std::uint32_t spsId = reader.readUe(); // pps_seq_parameter_set_id
    if (reader.failed() || found.id >= kPpsIds || spsId >= kSpsIds)
        return std::nullopt;
    found.parsed = parsePpsContents(reader, spsId);
    return found;
}

} // namespace quorvale::hevc
