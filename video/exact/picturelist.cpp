#include "video/exact/picturelist.h"

#include <algorithm>

namespace quorvale {

namespace {

// Packets by which the flag of a corrupt one can be late: a packet is complete when the next one begins.
constexpr std::int64_t kCorruptReach = 2;
// Packets after a picture that can still cast doubt on it, its own second field among them.
constexpr std::int64_t kLookAhead = 3;

} // namespace

void PictureList::append(const ScannedPacket &packet, const AccessUnit &unit, const PacketCircumstances &circumstances)
{
    const bool completes = completesFrame(unit);
    m_packets.push_back(packet);
    if (completes) {
        CodedPicture &frame = m_pictures.back();
        frame.packets = 2;
        addReferencesOfSecondField(unit);
        frame.pictureOrderCount = std::min(frame.pictureOrderCount, unit.pictureOrderCount);
    } else {
        if (m_fieldOpen)
            doubt(pictureEnd() - 1, kUnpairedField);
        addPicture(packet, unit);
    }
    m_fieldOpen = !completes && unit.onePicture && unit.structure != PictureStructure::Frame;
    m_latest = unit;

    const PictureIndex current = pictureEnd() - 1;
    if (!unit.onePicture && !unit.bothFields)
        doubt(current, kNotOnePicture);
    if (unit.mayWithholdOutput)
        doubt(current, kOutputWithheld);
    if (unit.parametersChanged || circumstances.newExtradata)
        doubt(current, kParametersChanged);
    const bool sets = unit.newParameters || unit.parametersChanged || circumstances.newExtradata;
    if (sets && !m_pictures.back().setsParameters) {
        m_pictures.back().setsParameters = true;
        m_parameterSetters.push_back(current);
    }
    checkDecodeTime(circumstances.dts);
    castCorruption(circumstances.corrupt);
}

// Whether the packet is the second field of the frame that the latest packet began.
bool PictureList::completesFrame(const AccessUnit &unit) const
{
    return m_fieldOpen && unit.onePicture && unit.structure != PictureStructure::Frame &&
           unit.structure != m_latest.structure && unit.frameNum == m_latest.frameNum &&
           unit.isReference == m_latest.isReference && !unit.startsSequence;
}

void PictureList::addPicture(const ScannedPacket &packet, const AccessUnit &unit)
{
    if (unit.startsSequence)
        ++m_sequence;
    CodedPicture picture;
    picture.pictureOrderCount = unit.pictureOrderCount;
    picture.pts = packet.pts;
    picture.firstPacket = packetEnd() - 1;
    picture.sequence = m_sequence;
    picture.randomAccess = unit.randomAccess;
    picture.isReference = unit.isReference;
    picture.hasBSlices = unit.hasBSlices;
    picture.isFieldPair = unit.bothFields;
    picture.references = referencesOf(unit);
    m_pictures.push_back(picture);
    if (m_needsDisplayTimes && packet.pts == kNoTimestamp)
        doubt(pictureEnd() - 1, kNoDisplayTime);
}

// Before the picture itself is in the list.
KnownReferences PictureList::referencesOf(const AccessUnit &unit) const
{
    KnownReferences known;
    known.isPrevTid0Pic = unit.isPrevTid0Pic;
    known.sliceHeaderBytes = unit.sliceHeaderBytes;
    known.maxPicOrderCntLsb = unit.maxPicOrderCntLsb;
    if (!unit.referencesAreKnown || unit.references.size() > known.distances.size())
        return known;
    for (std::size_t i = 0; i < unit.references.size(); ++i) {
        known.distances.at(i) = distanceTo(unit.references[i]);
        if (known.distances.at(i) == 0)
            return known;
    }
    known.areKnown = true;
    return known;
}

// To those of the first one. Of the frame itself, which is in the list, the second field refers to the first one only.
void PictureList::addReferencesOfSecondField(const AccessUnit &unit)
{
    KnownReferences &known = m_pictures.back().references;
    known.areKnown = known.areKnown && unit.referencesAreKnown;
    const bool canBeCut = known.sliceHeaderBytes != 0 && unit.sliceHeaderBytes != 0;
    known.sliceHeaderBytes = canBeCut ? std::max(known.sliceHeaderBytes, unit.sliceHeaderBytes) : std::uint16_t{0};
    for (const std::int64_t count : unit.references) {
        const int distance = distanceTo(count) - 1;
        const auto place = std::find_if(known.distances.begin(), known.distances.end(),
                                        [distance](std::uint8_t some) { return some == 0 || some == distance; });
        if (distance <= 0 || place == known.distances.end())
            known.areKnown = false;
        else
            *place = static_cast<std::uint8_t>(distance);
    }
}

// How many pictures ago the one with this count came, of the current sequence; 0 where it did not, or too long ago.
std::uint8_t PictureList::distanceTo(std::int64_t pictureOrderCount) const
{
    const std::size_t farthest = std::min<std::size_t>(m_pictures.size(), UINT8_MAX);
    for (std::size_t distance = 1; distance <= farthest; ++distance) {
        const CodedPicture &picture = m_pictures[m_pictures.size() - distance];
        if (picture.sequence != m_sequence)
            break;
        if (picture.pictureOrderCount == pictureOrderCount)
            return static_cast<std::uint8_t>(distance);
    }
    return 0;
}

void PictureList::checkDecodeTime(std::int64_t dts)
{
    if (dts == kNoTimestamp)
        return;
    // Times come from the file: the difference of two is formed without a sign, and is then as large as it gets.
    const std::uint64_t step = static_cast<std::uint64_t>(dts) - static_cast<std::uint64_t>(m_lastDts);
    const bool isFirst = m_lastDts == kNoTimestamp;
    const bool steady = isFirst || (dts >= m_lastDts && step <= static_cast<std::uint64_t>(m_second));
    m_lastDts = dts;
    if (!steady)
        doubt(pictureEnd() - 1, kDecodeTimeUnsteady);
}

void PictureList::castCorruption(bool corrupt)
{
    ++m_packetsSinceCorrupt;
    if (corrupt) {
        m_packetsSinceCorrupt = 0;
        const CodedPicture &current = m_pictures.back();
        if (current.packets == 1 && pictureEnd().value() > 1)
            doubt(pictureEnd() - 2, kCorruptNear);
    }
    if (m_packetsSinceCorrupt <= kCorruptReach)
        doubt(pictureEnd() - 1, kCorruptNear);
}

void PictureList::finish()
{
    if (m_finished)
        return;
    m_finished = true;
    if (m_pictures.empty())
        return;
    if (m_fieldOpen)
        doubt(pictureEnd() - 1, kUnpairedField);
    m_pictures.back().doubts |= kLastOfFile; // No fault of the recording: it does not make it less sound.
}

PictureIndex PictureList::settledEnd() const
{
    PictureIndex end = pictureEnd();
    if (m_finished)
        return end;
    while (end > PictureIndex() && packetEnd() - picture(end - 1).lastPacket() <= kLookAhead)
        end = end - 1;
    return end;
}

void PictureList::doubt(PictureIndex index, Doubt doubt)
{
    m_pictures[index.place()].doubts |= doubt;
    m_undoubted = false;
}

} // namespace quorvale
