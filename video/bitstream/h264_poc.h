#pragma once

#include "video/bitstream/h264_sliceheader.h"

#include <cstdint>
#include <optional>

namespace quorvale::h264 {

/// Works out the picture order counts of the frames and fields of a stream, one after the other in decode order
/// (ITU-T H.264, 8.2.1).
class PictureOrderCounter
{
public:
    /// PicOrderCnt() of the picture with this slice header: of a frame the lesser of its fields'. After
    /// memory_management_control_operation 5 it is the one that later pictures see. Nothing if it does not fit into
    /// the 32 bits that the standard allows.
    [[nodiscard]] std::optional<std::int64_t> next(const SliceHeader &slice, const Sps &sps);

private:
    struct FieldOrderCounts
    {
        std::int64_t top = 0;    ///< TopFieldOrderCnt
        std::int64_t bottom = 0; ///< BottomFieldOrderCnt
    };

    FieldOrderCounts type0(const SliceHeader &slice, const Sps &sps);
    FieldOrderCounts type1(const SliceHeader &slice, const Sps &sps);
    FieldOrderCounts type2(const SliceHeader &slice, const Sps &sps);
    void advanceFrameNumOffset(const SliceHeader &slice, const Sps &sps);

    // Of the latest picture that others may refer to
    std::int64_t m_prevPicOrderCntMsb = 0;
    std::int64_t m_prevPicOrderCntLsb = 0;
    // Of the latest picture
    std::uint32_t m_prevFrameNum = 0;
    std::int64_t m_frameNumOffset = 0; ///< FrameNumOffset
};

} // namespace quorvale::h264
