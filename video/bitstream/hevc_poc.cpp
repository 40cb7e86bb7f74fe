#include "video/bitstream/hevc_poc.h"

namespace quorvale::hevc {

// ITU-T H.265, 8.3.1
PictureOrderCounter::Picture PictureOrderCounter::next(const SliceHeader &slice, const Sps &sps)
{
    Picture picture;
    picture.followsEndOfSequence = m_sequenceEnded;
    // 8.1.3: NoRaslOutputFlag
    picture.startsSequence =
        isIrap(slice.nalUnitType) && (slice.nalUnitType != NalUnitType::Cra || m_isFirst || m_sequenceEnded);
    m_isFirst = m_sequenceEnded = false;

    const std::int64_t maxLsb = sps.maxPicOrderCntLsb();
    const std::int64_t lsb = slice.picOrderCntLsb;
    std::int64_t picOrderCntMsb = 0;
    if (!picture.startsSequence) {
        const std::int64_t prevLsb = m_prevTid0PicOrderCnt & (maxLsb - 1);
        picOrderCntMsb = m_prevTid0PicOrderCnt - prevLsb;
        if (lsb < prevLsb && prevLsb - lsb >= maxLsb / 2)
            picOrderCntMsb += maxLsb;
        else if (lsb > prevLsb && lsb - prevLsb > maxLsb / 2)
            picOrderCntMsb -= maxLsb;
    }
    picture.count = picOrderCntMsb + lsb;
    picture.isPrevTid0Pic = slice.temporalId == 0 && !isRasl(slice.nalUnitType) && !isRadl(slice.nalUnitType) &&
                            !isSubLayerNonReference(slice.nalUnitType);
    if (picture.isPrevTid0Pic)
        m_prevTid0PicOrderCnt = picture.count;
    return picture;
}

// ITU-T H.265, 8.3.2
bool findReferences(const SliceHeader &slice, const Sps &sps, std::int64_t count, std::vector<std::int64_t> &references)
{
    std::uint32_t lists = slice.refPicLists; // its lowest bit is of the next picture that may be used
    const auto isInLists = [&](const auto &picture) {
        const bool isIn = picture.usedByCurr && (lists & 1U) != 0;
        lists >>= picture.usedByCurr ? 1 : 0;
        return isIn;
    };
    for (const auto *pictures : {&slice.shortTermRps.negative, &slice.shortTermRps.positive}) {
        for (const ShortTermRps::Picture &picture : *pictures) {
            if (isInLists(picture))
                references.push_back(count + picture.deltaPoc);
        }
    }
    bool allAreKnown = true;
    for (const LongTermPicture &picture : slice.longTermPics) {
        if (!isInLists(picture))
            continue;
        const std::int64_t maxLsb = sps.maxPicOrderCntLsb();
        if (picture.deltaPocMsbPresent)
            references.push_back(count - picture.deltaPocMsbCycle * maxLsb - (count & (maxLsb - 1)) + picture.pocLsb);
        else
            allAreKnown = false;
    }
    return allAreKnown;
}

} // namespace quorvale::hevc
