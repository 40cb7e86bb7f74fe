#include "video/bitstream/h264_referenceframes.h"

#include <algorithm>

namespace quorvale::h264 {

namespace {

// 8.2.5.3
std::size_t mostFrames(const Sps &sps)
{
    return std::max<std::size_t>(sps.maxNumRefFrames, 1);
}

} // namespace

void ReferenceFrames::forget()
{
    m_frames.clear();
    m_openField.reset();
    m_prevRefFrameNum.reset();
}

// 7.4.1.2.4, 3.30: complementary field pairs
bool ReferenceFrames::completesFrame(const SliceHeader &slice) const
{
    return m_openField && slice.isField() && !slice.idrPicFlag && slice.structure != m_openField->structure &&
           slice.frameNum == m_openField->frameNum && (slice.nalRefIdc != 0) == m_openField->isReference;
}

// Whether no picture is missing before it (7.4.3, frame_num).
bool ReferenceFrames::follows(const SliceHeader &slice, const Sps &sps) const
{
    return !m_prevRefFrameNum || slice.frameNum == (*m_prevRefFrameNum + 1) % sps.maxFrameNum();
}

std::optional<std::vector<std::int64_t>> ReferenceFrames::next(const std::vector<SliceHeader> &slices,
                                                               std::int64_t pictureOrderCount, const Sps &sps)
{
    const SliceHeader &slice = slices.front();
    const bool completes = completesFrame(slice);
    std::optional<std::vector<std::int64_t>> counts;
    if (begin(slice, pictureOrderCount, sps) && !m_isUnclear && !slice.hasMemoryManagementControl5())
        counts = referredTo(slices, pictureOrderCount, sps);
    mark(slice, pictureOrderCount, sps, completes);
    if (m_frames.size() > mostFrames(sps)) {
        m_frames.erase(m_frames.begin(), m_frames.end() - 1);
        counts.reset();
    }
    m_openField.reset();
    if (slice.isField() && !completes)
        m_openField = Field{slice.structure, slice.frameNum, slice.nalRefIdc != 0, pictureOrderCount};
    return counts;
}

// Forgets what does not go on; false where decoders differ in what they make of it.
bool ReferenceFrames::begin(const SliceHeader &slice, std::int64_t pictureOrderCount, const Sps &sps)
{
    if (slice.idrPicFlag) {
        m_frames.clear();
        m_isUnclear = slice.longTermReference;
        return true;
    }
    // A second field is not output before the first one.
    if (completesFrame(slice))
        return pictureOrderCount >= m_openField->pictureOrderCount;
    // A frame of which one field is marked is no part of the lists of frames (8.2.4.2.1).
    const bool hasHalf = !slice.isField() && std::any_of(m_frames.begin(), m_frames.end(),
                                                         [](const auto &frame) { return frame.fields != kBothFields; });
    if (follows(slice, sps) && !hasHalf)
        return true;
    m_frames.clear();
    return false;
}

std::optional<std::vector<std::int64_t>> ReferenceFrames::referredTo(const std::vector<SliceHeader> &slices,
                                                                     std::int64_t pictureOrderCount,
                                                                     const Sps &sps) const
{
    const ReferenceLists lists(m_frames, slices.front(), pictureOrderCount, sps.maxFrameNum());
    const ReferenceFrame *own = completesFrame(slices.front()) && !m_frames.empty() ? &m_frames.back() : nullptr;
    std::vector<std::int64_t> counts;
    for (const SliceHeader &slice : slices) {
        if (slice.namesLongTerm())
            return std::nullopt;
        const std::size_t count = slice.sliceType == SliceType::I ? 0 : slice.sliceType == SliceType::P ? 1 : 2;
        for (std::size_t list = 0; list < count; ++list) {
            const std::optional<std::vector<const ReferenceFrame *>> frames = lists.framesIn(slice, list);
            if (!frames)
                return std::nullopt;
            for (const ReferenceFrame *frame : *frames) {
                if (frame == own && frame->frameNum == slice.frameNum)
                    continue;
                if (std::count(counts.begin(), counts.end(), frame->pictureOrderCount) == 0)
                    counts.push_back(frame->pictureOrderCount);
            }
        }
    }
    return counts;
}

// 8.2.5.1
void ReferenceFrames::mark(const SliceHeader &slice, std::int64_t pictureOrderCount, const Sps &sps, bool completes)
{
    if (slice.nalRefIdc == 0)
        return;
    const auto isOwn = [&](const ReferenceFrame &frame) { return completes && frame.frameNum == slice.frameNum; };
    if (!slice.memoryManagement.empty()) {
        obey(slice, sps);
    } else if (!slice.idrPicFlag && m_frames.size() >= mostFrames(sps) && !isOwn(m_frames.back())) {
        m_frames.erase(m_frames.begin()); // 8.2.5.3, sliding window
    }
    m_prevRefFrameNum = slice.hasMemoryManagementControl5() ? 0 : slice.frameNum;
    if (!m_frames.empty() && isOwn(m_frames.back())) {
        m_frames.back().fields |= fieldsOf(slice.structure);
        m_frames.back().pictureOrderCount = std::min(m_frames.back().pictureOrderCount, pictureOrderCount);
    } else {
        m_frames.push_back({*m_prevRefFrameNum, pictureOrderCount, fieldsOf(slice.structure)});
    }
}

// 8.2.5.4
void ReferenceFrames::obey(const SliceHeader &slice, const Sps &sps)
{
    for (const MemoryManagementControl &control : slice.memoryManagement) {
        switch (control.operation) {
        case 1:
            unmark(slice, control, sps);
            break;
        case 4: // MaxLongTermFrameIdx
            break;
        default: // long-term pictures; counts that start again, from which decoders go on differently
            m_isUnclear = true;
            break;
        }
    }
}

// 8.2.5.4.1. There is no such picture where it was lost.
void ReferenceFrames::unmark(const SliceHeader &slice, const MemoryManagementControl &control, const Sps &sps)
{
    const ReferenceLists numbers(m_frames, slice, 0, sps.maxFrameNum());
    const std::int64_t wanted = numbers.currPicNum() - (std::int64_t{control.operands[0]} + 1); // picNumX
    const ReferenceLists::Picture picture = numbers.withPicNum(wanted);
    const auto found = std::find_if(m_frames.begin(), m_frames.end(),
                                    [&](const ReferenceFrame &frame) { return &frame == picture.frame; });
    if (found == m_frames.end())
        return;
    found->fields &= ~picture.fields;
    if (found->fields == 0)
        m_frames.erase(found);
}

} // namespace quorvale::h264
