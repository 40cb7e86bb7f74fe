#include "video/bitstream/h264_sliceheader.h"

#include <utility>

namespace quorvale::h264 {

namespace {

constexpr std::uint32_t kMostSliceTypes = 10;             // table 7-6
constexpr std::uint32_t kMostRefIdxActiveOfAFrame = 16;   // 7.4.3; twice as many of a field
constexpr std::uint32_t kLargestLog2WeightDenom = 7;      // 7.4.3.2
constexpr std::size_t kMostMemoryManagement = 2 * 32 + 2; // every field once or twice, and a few of the picture itself

bool isWithin(std::int64_t value, std::int64_t lowest, std::int64_t highest)
{
    return value >= lowest && value <= highest;
}

// What the parts of one header have in common while it is read.
struct Parser
{
    BitReader reader;
    const Sps &sps;
    const Pps &pps;
    SliceHeader &slice;

    [[nodiscard]] std::size_t lists() const
    {
        return slice.sliceType == SliceType::I ? 0 : slice.sliceType == SliceType::P ? 1 : 2;
    }
    [[nodiscard]] std::uint32_t maxPicNum() const { return sps.maxFrameNum() << (slice.isField() ? 1 : 0); }
    [[nodiscard]] std::uint32_t mostLongTermPics() const { return kMaxDpbFrames << (slice.isField() ? 1 : 0); }

    bool parsePictureIdentity();
    bool parseNumRefIdxActive();
    bool parseRefPicListModification(std::size_t list);
    bool parsePredWeightTable();
    bool parseDecRefPicMarking();
    bool parseMemoryManagement();
    bool parseRest();
};

// ITU-T H.264, 7.3.3, from colour_plane_id to redundant_pic_cnt
bool Parser::parsePictureIdentity()
{
    if (sps.separateColourPlane && reader.readBits(2) > 2) // colour_plane_id
        return false;
    slice.frameNum = reader.readBits(sps.log2MaxFrameNum); // frame_num
    if (!sps.frameMbsOnly && reader.readFlag())            // field_pic_flag
        slice.structure =
            reader.readFlag() ? PictureStructure::BottomField : PictureStructure::TopField; // bottom_field_flag
    if (slice.idrPicFlag) {
        slice.idrPicId = reader.readUe(); // idr_pic_id
        if (slice.idrPicId > 0xFFFF || slice.frameNum != 0)
            return false;
    }
    const bool bottomOfFrame = pps.bottomFieldPicOrderInFramePresent && !slice.isField();
    if (sps.picOrderCntType == 0) {
        slice.picOrderCntLsb = reader.readBits(sps.log2MaxPicOrderCntLsb); // pic_order_cnt_lsb
        if (bottomOfFrame)
            slice.deltaPicOrderCntBottom = reader.readSe(); // delta_pic_order_cnt_bottom
    } else if (sps.picOrderCntType == 1 && !sps.deltaPicOrderAlwaysZero) {
        slice.deltaPicOrderCnt[0] = reader.readSe(); // delta_pic_order_cnt[0]
        if (bottomOfFrame)
            slice.deltaPicOrderCnt[1] = reader.readSe(); // delta_pic_order_cnt[1]
    }
    // redundant_pic_cnt: a redundant slice repeats others, and is not one more of the picture.
    if (pps.redundantPicCntPresent && reader.readUe() != 0)
        return false;
    const std::uint32_t mbsOfPicture = sps.picSizeInMapUnits() * (sps.frameMbsOnly || slice.isField() ? 1U : 2U);
    const bool mbaffFrame = sps.mbAdaptiveFrameField && !slice.isField();
    return slice.firstMbInSlice < (mbaffFrame ? mbsOfPicture / 2 : mbsOfPicture);
}

// ITU-T H.264, 7.3.3, num_ref_idx_active_override_flag and what it announces
bool Parser::parseNumRefIdxActive()
{
    const bool overrides = lists() > 0 && reader.readFlag(); // num_ref_idx_active_override_flag
    for (std::size_t list = 0; list < lists(); ++list) {
        // num_ref_idx_l0_active_minus1, num_ref_idx_l1_active_minus1
        const std::uint32_t count = overrides ? reader.readUe() + 1 : pps.numRefIdxDefaultActive[list];
        if (count == 0 || count > kMostRefIdxActiveOfAFrame << (slice.isField() ? 1 : 0))
            return false;
        slice.numRefIdxActive[list] = count;
    }
    return true;
}

// ITU-T H.264, 7.3.3.1, ref_pic_list_modification(), of one list
bool Parser::parseRefPicListModification(std::size_t list)
{
    if (!reader.readFlag()) // ref_pic_list_modification_flag_l0, ref_pic_list_modification_flag_l1
        return true;
    for (std::uint32_t i = 0; i <= slice.numRefIdxActive[list]; ++i) {
        RefPicListModification modification;
        modification.idc = reader.readUe(); // modification_of_pic_nums_idc
        if (modification.idc == 3)
            return true;
        if (modification.idc > 3)
            return false;
        modification.operand = reader.readUe(); // abs_diff_pic_num_minus1, long_term_pic_num
        if (modification.operand >= (modification.idc == 2 ? mostLongTermPics() : maxPicNum()))
            return false;
        slice.modifications[list].push_back(modification);
    }
    return false; // more than there are entries
}

// ITU-T H.264, 7.3.3.2, pred_weight_table()
bool Parser::parsePredWeightTable()
{
    const bool chroma = sps.chromaArrayType != 0;
    if (reader.readUe() > kLargestLog2WeightDenom) // luma_log2_weight_denom
        return false;
    if (chroma && reader.readUe() > kLargestLog2WeightDenom) // chroma_log2_weight_denom
        return false;
    const auto parseWeights = [&](int components) {
        for (int i = 0; i < 2 * components; ++i) {
            if (!isWithin(reader.readSe(), -128,
                          127)) // luma_weight_lX, luma_offset_lX, chroma_weight_lX, chroma_offset_lX
                return false;
        }
        return true;
    };
    for (std::size_t list = 0; list < lists(); ++list) {
        for (std::uint32_t i = 0; i < slice.numRefIdxActive[list]; ++i) {
            if (reader.readFlag() && !parseWeights(1)) // luma_weight_l0_flag, luma_weight_l1_flag
                return false;
            if (chroma && reader.readFlag() && !parseWeights(2)) // chroma_weight_l0_flag, chroma_weight_l1_flag
                return false;
        }
    }
    return true;
}

// ITU-T H.264, 7.3.3.3, dec_ref_pic_marking()
bool Parser::parseDecRefPicMarking()
{
    if (slice.idrPicFlag) {
        slice.noOutputOfPriorPics = reader.readFlag(); // no_output_of_prior_pics_flag
        slice.longTermReference = reader.readFlag();   // long_term_reference_flag
        return true;
    }
    return !reader.readFlag() || parseMemoryManagement(); // adaptive_ref_pic_marking_mode_flag
}

// ITU-T H.264, 7.3.3.3, from memory_management_control_operation on
bool Parser::parseMemoryManagement()
{
    while (slice.memoryManagement.size() < kMostMemoryManagement) {
        MemoryManagementControl control;
        control.operation = reader.readUe(); // memory_management_control_operation
        if (control.operation == 0 || reader.failed())
            return !reader.failed();
        std::uint32_t limits[2] = {0, 0}; // of the operands; 0: there is none
        switch (control.operation) {
        case 1: // difference_of_pic_nums_minus1
            limits[0] = maxPicNum();
            break;
        case 2: // long_term_pic_num
            limits[0] = mostLongTermPics();
            break;
        case 3: // difference_of_pic_nums_minus1, long_term_frame_idx
            limits[0] = maxPicNum();
            limits[1] = kMaxDpbFrames;
            break;
        case 4: // max_long_term_frame_idx_plus1
            limits[0] = kMaxDpbFrames + 1;
            break;
        case 5:
            break;
        case 6: // long_term_frame_idx
            limits[0] = kMaxDpbFrames;
            break;
        default:
            return false;
        }
        for (std::size_t i = 0; i < 2 && limits[i] != 0; ++i) {
            control.operands[i] = reader.readUe();
            if (control.operands[i] >= limits[i])
                return false;
        }
        slice.memoryManagement.push_back(control);
    }
    return false;
}

// ITU-T H.264, 7.3.3, from cabac_init_idc on
bool Parser::parseRest()
{
    const bool cabac = pps.entropyCodingMode;
    if (cabac && slice.sliceType != SliceType::I && reader.readUe() > 2) // cabac_init_idc
        return false;
    const std::int64_t sliceQp = std::int64_t{pps.picInitQp} + reader.readSe(); // slice_qp_delta
    if (!isWithin(sliceQp, -sps.qpBdOffsetY, 51))
        return false;
    if (pps.deblockingFilterControlPresent) {
        const std::uint32_t disableDeblockingFilterIdc = reader.readUe(); // disable_deblocking_filter_idc
        if (disableDeblockingFilterIdc > 2)
            return false;
        if (disableDeblockingFilterIdc != 1) {
            if (!isWithin(reader.readSe(), -6, 6)) // slice_alpha_c0_offset_div2
                return false;
            if (!isWithin(reader.readSe(), -6, 6)) // slice_beta_offset_div2
                return false;
        }
    }
    // 7.3.4, slice_data()
    while (cabac && !reader.isByteAligned() && !reader.failed()) {
        if (!reader.readFlag()) // cabac_alignment_one_bit
            return false;
    }
    slice.dataAt = cabac ? NalUnit::kHeaderSize + reader.bytesRead() : 0;
    return !reader.failed();
}

} // namespace

// ITU-T H.264, 7.3.3, slice_header()
std::optional<SliceHeader> parseSliceHeader(const NalUnit &nal, const SpsTable &spsTable, const PpsTable &ppsTable)
{
    BitReader reader = nal.reader();
    SliceHeader slice;
    slice.idrPicFlag = nal.type == NalUnitType::IdrSlice;
    slice.nalRefIdc = nal.nalRefIdc;
    slice.firstMbInSlice = reader.readUe();          // first_mb_in_slice
    const std::uint32_t sliceType = reader.readUe(); // slice_type
    const std::uint32_t ppsId = reader.readUe();     // pic_parameter_set_id
    if (reader.failed() || sliceType >= kMostSliceTypes || sliceType % 5 > 2 || ppsId >= kPpsIds || !ppsTable.at(ppsId))
        return std::nullopt;
    slice.sliceType = static_cast<SliceType>(sliceType % 5);
    const Pps &pps = *ppsTable.at(ppsId);
    slice.spsId = pps.spsId;
    if (!spsTable.at(pps.spsId))
        return std::nullopt;
    // An IDR picture has I slices only and is referred to (7.4.3, 7.4.1).
    if (slice.idrPicFlag && (slice.sliceType != SliceType::I || slice.nalRefIdc == 0))
        return std::nullopt;

    Parser parser{reader, *spsTable.at(pps.spsId), pps, slice};
    if (!parser.parsePictureIdentity())
        return std::nullopt;
    if (slice.sliceType == SliceType::B)
        parser.reader.readFlag(); // direct_spatial_mv_pred_flag
    if (!parser.parseNumRefIdxActive())
        return std::nullopt;
    for (std::size_t list = 0; list < parser.lists(); ++list) {
        if (!parser.parseRefPicListModification(list))
            return std::nullopt;
    }
    const bool weighted = slice.sliceType == SliceType::P
                              ? pps.weightedPred
                              : slice.sliceType == SliceType::B && pps.weightedBipredIdc == 1;
    if (weighted && !parser.parsePredWeightTable())
        return std::nullopt;
    if (slice.nalRefIdc != 0 && !parser.parseDecRefPicMarking())
        return std::nullopt;
    return parser.parseRest() ? std::optional(std::move(slice)) : std::nullopt;
}

} // namespace quorvale::h264
