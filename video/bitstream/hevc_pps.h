#pragma once

#include "video/bitstream/bitreader.h"
#include "video/bitstream/parametersethistory.h"

#include <cstdint>
#include <optional>

namespace quorvale::hevc {

/// Picture parameter set: what slice segment headers need of it.
struct Pps
{
    std::uint32_t spsId = 0;                          ///< pps_seq_parameter_set_id
    bool dependentSliceSegmentsEnabled = false;       ///< dependent_slice_segments_enabled_flag
    bool outputFlagPresent = false;                   ///< output_flag_present_flag
    int numExtraSliceHeaderBits = 0;                  ///< num_extra_slice_header_bits
    bool cabacInitPresent = false;                    ///< cabac_init_present_flag
    std::uint32_t numRefIdxDefaultActive[2] = {1, 1}; ///< num_ref_idx_l0/l1_default_active_minus1 + 1
    std::int32_t initQp = 26;                         ///< init_qp_minus26 + 26
    bool sliceChromaQpOffsetsPresent = false;         ///< pps_slice_chroma_qp_offsets_present_flag
    bool weightedPred = false;                        ///< weighted_pred_flag
    bool weightedBipred = false;                      ///< weighted_bipred_flag
    bool tilesEnabled = false;                        ///< tiles_enabled_flag
    bool entropyCodingSyncEnabled = false;            ///< entropy_coding_sync_enabled_flag
    std::uint32_t numTileColumns = 1;                 ///< num_tile_columns_minus1 + 1
    std::uint32_t numTileRows = 1;                    ///< num_tile_rows_minus1 + 1
    bool loopFilterAcrossSlicesEnabled = false;       ///< pps_loop_filter_across_slices_enabled_flag
    bool deblockingFilterOverrideEnabled = false;     ///< deblocking_filter_override_enabled_flag
    bool deblockingFilterDisabled = false;            ///< pps_deblocking_filter_disabled_flag
    bool listsModificationPresent = false;            ///< lists_modification_present_flag
    bool sliceSegmentHeaderExtensionPresent = false;  ///< slice_segment_header_extension_present_flag
    bool chromaQpOffsetListEnabled = false;           ///< chroma_qp_offset_list_enabled_flag
};

inline constexpr std::uint32_t kPpsIds = 64; ///< pps_pic_parameter_set_id is below

/// Reads an RBSP from its start; nothing where not even the ids of it and of its SPS can be read.
[[nodiscard]] std::optional<ParameterSet<Pps>> parsePps(BitReader reader);

} // namespace quorvale::hevc
