#pragma once

#include "video/bitstream/h264_sliceheader.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace quorvale::h264 {

inline constexpr unsigned kBothFields = 3; ///< see fieldsOf()

/// The fields of a frame, as bits: of a frame both.
[[nodiscard]] inline unsigned fieldsOf(PictureStructure structure)
{
    constexpr unsigned kTop = 1;
    constexpr unsigned kBottom = 2;
    switch (structure) {
    case PictureStructure::TopField:
        return kTop;
    case PictureStructure::BottomField:
        return kBottom;
    case PictureStructure::Frame:
        break;
    }
    return kBothFields;
}

/// A frame that is marked as "used for short-term reference", or of which a field is.
struct ReferenceFrame
{
    std::uint32_t frameNum = 0;         ///< FrameNum
    std::int64_t pictureOrderCount = 0; ///< the lesser one of its fields that were decoded
    unsigned fields = 0;                ///< that are marked, as fieldsOf() has them; never none
};

/// Builds the reference picture lists of the slices of one picture, without long-term pictures (ITU-T H.264, 8.2.4).
class ReferenceLists
{
public:
    /// `frames`: that are marked when the picture is decoded, in decode order; borrowed. `picture`: a slice of it;
    /// `pictureOrderCount`: its PicOrderCnt(); `maxFrameNum`: MaxFrameNum.
    ReferenceLists(const std::vector<ReferenceFrame> &frames, const SliceHeader &picture,
                   std::int64_t pictureOrderCount, std::uint32_t maxFrameNum);

    /// The frames that are in list `list`, 0 or 1, of a P or B slice of the picture; some more than once. Entries for
    /// which there is no picture are left out. Nothing where the slice wants a picture in it that is not there:
    /// decoders differ in what they put in its place.
    [[nodiscard]] std::optional<std::vector<const ReferenceFrame *>> framesIn(const SliceHeader &slice,
                                                                              std::size_t list) const;

    /// A frame or field that a list can hold.
    struct Picture
    {
        const ReferenceFrame *frame = nullptr; ///< null: there is none
        unsigned fields = 0;

        [[nodiscard]] bool operator==(const Picture &other) const
        {
            return frame == other.frame && fields == other.fields;
        }
    };

    /// The one with this PicNum (8.2.4.1), as seen from the picture.
    [[nodiscard]] Picture withPicNum(std::int64_t number) const;
    /// CurrPicNum
    [[nodiscard]] std::int64_t currPicNum() const;

private:
    using List = std::vector<Picture>;

    [[nodiscard]] std::int64_t frameNumWrap(const ReferenceFrame &frame) const;
    [[nodiscard]] std::int64_t picNum(const ReferenceFrame &frame, unsigned fields) const;
    [[nodiscard]] List initialList(SliceType type, std::size_t list) const;
    [[nodiscard]] std::vector<const ReferenceFrame *> framesByNumber() const;
    [[nodiscard]] std::vector<const ReferenceFrame *> framesByOutput(std::size_t list) const;
    [[nodiscard]] List picturesOf(const std::vector<const ReferenceFrame *> &frames) const;
    bool modify(List &list, const std::vector<RefPicListModification> &modifications) const;

    const std::vector<ReferenceFrame> &m_frames;
    unsigned m_fields; ///< of the picture
    std::int64_t m_frameNum;
    std::int64_t m_pictureOrderCount;
    std::int64_t m_maxFrameNum;
};

} // namespace quorvale::h264
