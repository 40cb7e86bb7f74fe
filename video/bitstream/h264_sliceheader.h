#pragma once

#include "video/bitstream/accessunit.h"
#include "video/bitstream/h264_nalunit.h"
#include "video/bitstream/h264_pps.h"
#include "video/bitstream/h264_sps.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace quorvale::h264 {

/// slice_type modulo 5 (ITU-T H.264, table 7-6). SP and SI slices are not read.
enum class SliceType : std::uint8_t { P = 0, B = 1, I = 2 };

/// One command of ref_pic_list_modification() (ITU-T H.264, 7.3.3.1).
struct RefPicListModification
{
    std::uint32_t idc = 0;     ///< modification_of_pic_nums_idc, 0 to 2
    std::uint32_t operand = 0; ///< abs_diff_pic_num_minus1, long_term_pic_num

    [[nodiscard]] bool operator==(const RefPicListModification &other) const
    {
        return idc == other.idc && operand == other.operand;
    }
};

/// One command of dec_ref_pic_marking() (ITU-T H.264, 7.3.3.3).
struct MemoryManagementControl
{
    std::uint32_t operation = 0;        ///< memory_management_control_operation, 1 to 6
    std::uint32_t operands[2] = {0, 0}; ///< in the order in which they are sent

    [[nodiscard]] bool operator==(const MemoryManagementControl &other) const
    {
        return operation == other.operation && operands[0] == other.operands[0] && operands[1] == other.operands[1];
    }
};

/// Slice header (ITU-T H.264, 7.3.3).
struct SliceHeader
{
    std::uint32_t firstMbInSlice = 0;                                 ///< first_mb_in_slice
    SliceType sliceType = SliceType::P;                               ///< slice_type
    std::uint32_t spsId = 0;                                          ///< seq_parameter_set_id of its PPS
    bool idrPicFlag = false;                                          ///< IdrPicFlag: nal_unit_type 5
    std::uint8_t nalRefIdc = 0;                                       ///< nal_ref_idc
    std::uint32_t frameNum = 0;                                       ///< frame_num
    PictureStructure structure = PictureStructure::Frame;             ///< field_pic_flag, bottom_field_flag
    std::uint32_t idrPicId = 0;                                       ///< idr_pic_id
    std::uint32_t picOrderCntLsb = 0;                                 ///< pic_order_cnt_lsb
    std::int32_t deltaPicOrderCntBottom = 0;                          ///< delta_pic_order_cnt_bottom
    std::array<std::int32_t, 2> deltaPicOrderCnt{};                   ///< delta_pic_order_cnt[0], [1]
    std::array<std::uint32_t, 2> numRefIdxActive{};                   ///< num_ref_idx_l0/l1_active_minus1 + 1
    std::array<std::vector<RefPicListModification>, 2> modifications; ///< of the lists; empty: as they are at first
    bool noOutputOfPriorPics = false;                                 ///< no_output_of_prior_pics_flag
    bool longTermReference = false;                                   ///< long_term_reference_flag
    std::vector<MemoryManagementControl> memoryManagement;            ///< empty: sliding window
    std::int64_t dataAt = 0; ///< the byte of the NAL unit where slice_data() of CABAC begins; 0: not CABAC

    [[nodiscard]] bool isField() const { return structure != PictureStructure::Frame; }
    /// memory_management_control_operation equal to 5: the picture acts on those after it as an IDR picture does.
    [[nodiscard]] bool hasMemoryManagementControl5() const;
    /// Whether both belong to one picture: ITU-T H.264, 7.4.1.2.4, and what 7.4.3 wants to be the same in its slices.
    [[nodiscard]] bool isOfSamePicture(const SliceHeader &other) const;
    /// Whether its reference picture lists are told to hold a long-term picture.
    [[nodiscard]] bool namesLongTerm() const;
    /// Whether both, of one picture, have the same reference picture lists.
    [[nodiscard]] bool hasSameLists(const SliceHeader &other) const;
};

using SpsTable = std::array<std::optional<Sps>, kSpsIds>;
using PpsTable = std::array<std::optional<Pps>, kPpsIds>;

/// The header of a slice, `nal`. Nothing if a parameter set is missing or anything is out of its range.
[[nodiscard]] std::optional<SliceHeader> parseSliceHeader(const NalUnit &nal, const SpsTable &spsTable,
                                                          const PpsTable &ppsTable);

} // namespace quorvale::h264
