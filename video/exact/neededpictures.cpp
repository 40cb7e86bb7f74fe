#include "video/exact/neededpictures.h"

#include <algorithm>
#include <utility>

namespace quorvale {

NeededPictures::NeededPictures(PictureIndex entry, PictureIndex end)
    : m_entry(entry)
    , m_isNeeded(static_cast<std::size_t>(std::max<std::int64_t>(end - entry, 1)), true)
    , m_isSkimmed(m_isNeeded.size(), false)
{
}

//   entry                    target
//     I . p . . P . b . . P . b          p is reached through P: a decoder that is shown I, p, P, P and b has all that
//     ^---+-----+---------+---+          any of them refers to
bool NeededPictures::leaveOutUnreached(const PictureList &pictures)
{
    const CodedPicture &first = pictures.picture(m_entry);
    std::vector<bool> isReached(m_isNeeded.size(), false);
    isReached.front() = true;
    isReached.back() = true;
    for (std::size_t place = m_isNeeded.size() - 1; place > 0; --place) {
        const CodedPicture &picture = pictures.picture(m_entry + static_cast<std::int64_t>(place));
        // What is new for the decoder stays, and so does what says which pictures after it are skipped.
        if (picture.setsParameters)
            return false;
        if (picture.randomAccess != RandomAccess::None)
            isReached[place] = true;
        if (!isReached[place])
            continue;
        // Decoded after the entry point and output before it: it may need what is not decoded.
        if (!picture.references.areKnown || picture.isOutputBefore(first))
            return false;
        for (const std::uint8_t distance : picture.references.distances) {
            if (distance > place)
                return false;
            if (distance != 0)
                isReached[place - distance] = true;
        }
    }
    if (!keepsCounts(pictures, isReached))
        return false;
    m_isNeeded = std::move(isReached);
    return true;
}

// What the lists hold depends on the headers of all pictures, which the decoder is shown. What they held before the
// entry point it never has: it fills in for that, as it does where nothing is left out.
void NeededPictures::skimUnreached(const PictureList &pictures)
{
    std::vector<bool> isReached(m_isNeeded.size(), false);
    isReached.front() = true;
    isReached.back() = true;
    for (std::size_t place = m_isNeeded.size() - 1; place > 0; --place) {
        const CodedPicture &picture = pictures.picture(m_entry + static_cast<std::int64_t>(place));
        if (!picture.references.areKnown)
            return;
        for (const std::uint8_t distance : picture.references.distances) {
            if (isReached[place] && distance != 0 && distance <= place)
                isReached[place - distance] = true;
        }
    }
    for (std::size_t place = 0; place < isReached.size(); ++place) {
        const CodedPicture &picture = pictures.picture(m_entry + static_cast<std::int64_t>(place));
        m_isSkimmed[place] = !isReached[place] && picture.references.sliceHeaderBytes != 0;
    }
}

// Whether the decoder comes to the same picture order counts (ITU-T H.265, 8.3.1): of each it reads the lowest bits
// only, and tells the others from the latest picture of the lowest sub-layer that it was shown.
bool NeededPictures::keepsCounts(const PictureList &pictures, const std::vector<bool> &isReached) const
{
    const CodedPicture *previous = &pictures.picture(m_entry); // prevTid0Pic
    for (std::size_t place = 1; place < isReached.size(); ++place) {
        const CodedPicture &picture = pictures.picture(m_entry + static_cast<std::int64_t>(place));
        if (!isReached[place])
            continue;
        const bool startsSequence = picture.sequence != previous->sequence;
        if (startsSequence && picture.randomAccess == RandomAccess::None)
            return false;
        const std::int64_t step = picture.pictureOrderCount - previous->pictureOrderCount;
        const std::int64_t reach = picture.references.maxPicOrderCntLsb / 2;
        if (!startsSequence && (step >= reach || step <= -reach))
            return false;
        if (picture.references.isPrevTid0Pic)
            previous = &picture;
    }
    return true;
}

} // namespace quorvale
