#include "video/bitstream/h264_referencelists.h"

#include <algorithm>
#include <utility>

namespace quorvale::h264 {

ReferenceLists::ReferenceLists(const std::vector<ReferenceFrame> &frames, const SliceHeader &picture,
                               std::int64_t pictureOrderCount, std::uint32_t maxFrameNum)
    : m_frames(frames)
    , m_fields(fieldsOf(picture.structure))
    , m_frameNum(picture.frameNum)
    , m_pictureOrderCount(pictureOrderCount)
    , m_maxFrameNum(maxFrameNum)
{
}

// FrameNumWrap, (8-27)
std::int64_t ReferenceLists::frameNumWrap(const ReferenceFrame &frame) const
{
    return frame.frameNum > m_frameNum ? frame.frameNum - m_maxFrameNum : frame.frameNum;
}

// (8-28), (8-30), (8-31)
std::int64_t ReferenceLists::picNum(const ReferenceFrame &frame, unsigned fields) const
{
    const std::int64_t wrapped = frameNumWrap(frame);
    return m_fields == kBothFields ? wrapped : 2 * wrapped + (fields == m_fields ? 1 : 0);
}

// 7.4.3
std::int64_t ReferenceLists::currPicNum() const
{
    return m_fields == kBothFields ? m_frameNum : 2 * m_frameNum + 1;
}

// 8.2.4.2.1, 8.2.4.2.2: the latest ones first
std::vector<const ReferenceFrame *> ReferenceLists::framesByNumber() const
{
    std::vector<const ReferenceFrame *> frames;
    for (const ReferenceFrame &frame : m_frames)
        frames.push_back(&frame);
    std::stable_sort(frames.begin(), frames.end(), [this](const ReferenceFrame *left, const ReferenceFrame *right) {
        return frameNumWrap(*left) > frameNumWrap(*right);
    });
    return frames;
}

// 8.2.4.2.3, 8.2.4.2.4: the nearest ones in output order first, in list 0 those before the picture, in list 1 those
// after it, and then the others. A field is preceded by the other one of its frame.
std::vector<const ReferenceFrame *> ReferenceLists::framesByOutput(std::size_t list) const
{
    std::vector<const ReferenceFrame *> frames;
    for (const ReferenceFrame &frame : m_frames)
        frames.push_back(&frame);
    std::stable_sort(frames.begin(), frames.end(), [](const ReferenceFrame *left, const ReferenceFrame *right) {
        return left->pictureOrderCount < right->pictureOrderCount;
    });
    const auto after = std::find_if(frames.begin(), frames.end(), [this](const ReferenceFrame *frame) {
        return frame->pictureOrderCount > m_pictureOrderCount;
    });
    std::reverse(frames.begin(), after);
    if (list == 1)
        std::rotate(frames.begin(), after, frames.end());
    return frames;
}

// Of frames themselves; of fields by turns one of the picture's parity and one of the other (8.2.4.2.5).
ReferenceLists::List ReferenceLists::picturesOf(const std::vector<const ReferenceFrame *> &frames) const
{
    List pictures;
    if (m_fields == kBothFields) {
        for (const ReferenceFrame *frame : frames) {
            if (frame->fields == kBothFields)
                pictures.push_back({frame, kBothFields});
        }
        return pictures;
    }
    auto same = frames.begin();
    auto other = frames.begin();
    const auto add = [&](auto &next, unsigned fields) {
        next = std::find_if(next, frames.end(),
                            [fields](const ReferenceFrame *frame) { return (frame->fields & fields) != 0; });
        if (next != frames.end())
            pictures.push_back({*next++, fields});
    };
    while (same != frames.end() || other != frames.end()) {
        add(same, m_fields);
        add(other, kBothFields ^ m_fields);
    }
    return pictures;
}

// 8.2.4.2
ReferenceLists::List ReferenceLists::initialList(SliceType type, std::size_t list) const
{
    if (type == SliceType::P)
        return picturesOf(framesByNumber());
    List pictures = picturesOf(framesByOutput(list));
    if (list == 1 && pictures.size() > 1 && pictures == picturesOf(framesByOutput(0)))
        std::swap(pictures[0], pictures[1]);
    return pictures;
}

ReferenceLists::Picture ReferenceLists::withPicNum(std::int64_t number) const
{
    for (const ReferenceFrame &frame : m_frames) {
        if (m_fields == kBothFields) {
            if (frame.fields == kBothFields && picNum(frame, kBothFields) == number)
                return {&frame, kBothFields};
            continue;
        }
        for (const unsigned fields : {m_fields, kBothFields ^ m_fields}) {
            if ((frame.fields & fields) != 0 && picNum(frame, fields) == number)
                return {&frame, fields};
        }
    }
    return {};
}

// 8.2.4.3.1
bool ReferenceLists::modify(List &list, const std::vector<RefPicListModification> &modifications) const
{
    const std::int64_t maxPicNum = m_fields == kBothFields ? m_maxFrameNum : 2 * m_maxFrameNum;
    std::int64_t predicted = currPicNum(); // picNumLXPred
    auto place = list.begin();
    for (const RefPicListModification &modification : modifications) {
        if (place == list.end())
            break;
        const std::int64_t difference = std::int64_t{modification.operand} + 1;
        predicted += modification.idc == 0 ? -difference : difference;
        predicted = (predicted + maxPicNum) % maxPicNum;
        const Picture moved = withPicNum(predicted > currPicNum() ? predicted - maxPicNum : predicted);
        if (!moved.frame)
            return false;
        // To its place; what it passes makes room, up to where it was.
        auto from = std::find(place, list.end(), moved);
        if (from == list.end())
            *--from = moved;
        std::rotate(place, from, from + 1);
        ++place;
    }
    return true;
}

std::optional<std::vector<const ReferenceFrame *>> ReferenceLists::framesIn(const SliceHeader &slice,
                                                                            std::size_t list) const
{
    List pictures = initialList(slice.sliceType, list);
    pictures.resize(slice.numRefIdxActive.at(list));
    if (!modify(pictures, slice.modifications.at(list)))
        return std::nullopt;
    std::vector<const ReferenceFrame *> frames;
    for (const Picture &picture : pictures) {
        if (picture.frame)
            frames.push_back(picture.frame);
    }
    return frames;
}

} // namespace quorvale::h264
