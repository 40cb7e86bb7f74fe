#include "video/bitstream/h264_poc.h"

#include <algorithm>

namespace quorvale::h264 {

namespace {

bool isPicOrderCnt(std::int64_t count)
{
    return count >= -kLargestPicOrderCnt - 1 && count <= kLargestPicOrderCnt;
}

} // namespace

// ITU-T H.264, 8.2.1.1
PictureOrderCounter::FieldOrderCounts PictureOrderCounter::type0(const SliceHeader &slice, const Sps &sps)
{
    if (slice.idrPicFlag)
        m_prevPicOrderCntMsb = m_prevPicOrderCntLsb = 0;
    const std::int64_t maxLsb = sps.maxPicOrderCntLsb();
    const std::int64_t lsb = slice.picOrderCntLsb;
    std::int64_t picOrderCntMsb = m_prevPicOrderCntMsb;
    if (lsb < m_prevPicOrderCntLsb && m_prevPicOrderCntLsb - lsb >= maxLsb / 2)
        picOrderCntMsb += maxLsb;
    else if (lsb > m_prevPicOrderCntLsb && lsb - m_prevPicOrderCntLsb > maxLsb / 2)
        picOrderCntMsb -= maxLsb;
    if (slice.nalRefIdc != 0) {
        m_prevPicOrderCntMsb = picOrderCntMsb;
        m_prevPicOrderCntLsb = lsb;
    }
    const std::int64_t count = picOrderCntMsb + lsb;
    return {count, count + slice.deltaPicOrderCntBottom};
}

// ITU-T H.264, (8-6), (8-11), FrameNumOffset: frame_num, counted on where it starts from 0 again
void PictureOrderCounter::advanceFrameNumOffset(const SliceHeader &slice, const Sps &sps)
{
    if (slice.idrPicFlag)
        m_frameNumOffset = 0;
    else if (m_prevFrameNum > slice.frameNum)
        m_frameNumOffset += sps.maxFrameNum();
}

// ITU-T H.264, 8.2.1.2
PictureOrderCounter::FieldOrderCounts PictureOrderCounter::type1(const SliceHeader &slice, const Sps &sps)
{
    const auto cycleLength = static_cast<std::int64_t>(sps.offsetForRefFrame.size());
    std::int64_t absFrameNum = cycleLength != 0 ? m_frameNumOffset + slice.frameNum : 0;
    if (slice.nalRefIdc == 0 && absFrameNum > 0)
        --absFrameNum;
    std::int64_t expectedPicOrderCnt = 0;
    if (absFrameNum > 0) {
        const std::int64_t picOrderCntCycleCnt = (absFrameNum - 1) / cycleLength;
        const std::int64_t frameNumInPicOrderCntCycle = (absFrameNum - 1) % cycleLength;
        expectedPicOrderCnt = picOrderCntCycleCnt * sps.expectedDeltaPerPicOrderCntCycle;
        for (std::int64_t i = 0; i <= frameNumInPicOrderCntCycle; ++i)
            expectedPicOrderCnt += sps.offsetForRefFrame[static_cast<std::size_t>(i)];
    }
    if (slice.nalRefIdc == 0)
        expectedPicOrderCnt += sps.offsetForNonRefPic;
    const std::int64_t top = expectedPicOrderCnt + slice.deltaPicOrderCnt[0];
    const std::int64_t bottomOfFrame = top + sps.offsetForTopToBottomField + slice.deltaPicOrderCnt[1];
    const std::int64_t bottomField = expectedPicOrderCnt + sps.offsetForTopToBottomField + slice.deltaPicOrderCnt[0];
    return {top, slice.isField() ? bottomField : bottomOfFrame};
}

// ITU-T H.264, 8.2.1.3
PictureOrderCounter::FieldOrderCounts PictureOrderCounter::type2(const SliceHeader &slice, const Sps &)
{
    // tempPicOrderCnt
    const std::int64_t count =
        slice.idrPicFlag ? 0 : 2 * (m_frameNumOffset + slice.frameNum) - (slice.nalRefIdc == 0 ? 1 : 0);
    return {count, count};
}

// ITU-T H.264, 8.2.1
std::optional<std::int64_t> PictureOrderCounter::next(const SliceHeader &slice, const Sps &sps)
{
    advanceFrameNumOffset(slice, sps);
    m_prevFrameNum = slice.frameNum;
    FieldOrderCounts counts = sps.picOrderCntType == 0   ? type0(slice, sps)
                              : sps.picOrderCntType == 1 ? type1(slice, sps)
                                                         : type2(slice, sps);
    const bool isTop = slice.structure != PictureStructure::BottomField;
    const bool isBottom = slice.structure != PictureStructure::TopField;
    std::int64_t count = isTop && isBottom ? std::min(counts.top, counts.bottom) : isTop ? counts.top : counts.bottom;
    if (!isPicOrderCnt(count) || !isPicOrderCnt(m_frameNumOffset)) {
        *this = PictureOrderCounter();
        return std::nullopt;
    }
    if (slice.hasMemoryManagementControl5()) {
        counts.top -= count; // tempPicOrderCnt
        // 7.4.3: the picture is then taken to have had frame_num 0.
        m_prevFrameNum = 0;
        m_frameNumOffset = 0;
        m_prevPicOrderCntMsb = 0;
        m_prevPicOrderCntLsb = isTop ? counts.top : 0;
        count = 0;
    }
    return count;
}

} // namespace quorvale::h264
