#pragma once

#include "video/bitstream/h264_referencelists.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace quorvale::h264 {

/// Follows which pictures of a stream can be referred to, one picture after the other in decode order (ITU-T H.264,
/// 8.2.5), and so tells which ones each of them may refer to.
///
/// What is lost makes it forget everything: it then knows fewer frames than there are, and lacks those before the loss.
class ReferenceFrames
{
public:
    /// Picture order counts, in the sense of ReferenceFrame, of all frames in the reference picture lists of the next
    /// picture, which has `slices` with all their different lists, and `pictureOrderCount`; without its own frame.
    /// Nothing where anything is not as it has to be, and with long-term pictures or
    /// memory_management_control_operation 5.
    [[nodiscard]] std::optional<std::vector<std::int64_t>> next(const std::vector<SliceHeader> &slices,
                                                                std::int64_t pictureOrderCount, const Sps &sps);

    /// The next picture is lost.
    void forget();

private:
    [[nodiscard]] bool completesFrame(const SliceHeader &slice) const;
    [[nodiscard]] bool follows(const SliceHeader &slice, const Sps &sps) const;
    [[nodiscard]] std::optional<std::vector<std::int64_t>>
    referredTo(const std::vector<SliceHeader> &slices, std::int64_t pictureOrderCount, const Sps &sps) const;
    bool begin(const SliceHeader &slice, std::int64_t pictureOrderCount, const Sps &sps);
    void mark(const SliceHeader &slice, std::int64_t pictureOrderCount, const Sps &sps, bool completes);
    void obey(const SliceHeader &slice, const Sps &sps);
    void unmark(const SliceHeader &slice, const MemoryManagementControl &control, const Sps &sps);

    // The latest picture, if it is a field that waits for the other one
    struct Field
    {
        PictureStructure structure = PictureStructure::Frame;
        std::uint32_t frameNum = 0;
        bool isReference = false;
        std::int64_t pictureOrderCount = 0;
    };

    std::vector<ReferenceFrame> m_frames; ///< in decode order
    std::optional<Field> m_openField;
    std::optional<std::uint32_t> m_prevRefFrameNum; ///< PrevRefFrameNum; nothing: not known
    bool m_isUnclear = false;                       ///< until an IDR picture: lists depend on what is not followed here
};

} // namespace quorvale::h264
