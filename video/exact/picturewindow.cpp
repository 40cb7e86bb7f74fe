#include "video/exact/picturewindow.h"

#include <algorithm>

namespace {

constexpr std::int64_t kNone = INT64_MIN;

} // namespace

void PictureWindow::append(const PacketFacts &facts)
{
    const std::int64_t packet = packetEnd();
    const bool completes = completesFrame(facts);
    if (!completes)
        addPicture(facts);
    packets.push_back({facts, pictureEnd() - 1});

    CodedPicture &current = pictures.back();
    current.lastPacket = packet;
    if (completes) {
        current.order = std::min(current.order, facts.order);
        packets[packets.size() - 2].facts.doubts &= ~std::uint32_t{kUnpairedField};
        packets.back().facts.doubts &= ~std::uint32_t{kNoDisplayTime}; // The first field has one for both.
    } else if (facts.shape != PictureShape::Frame) {
        packets.back().facts.doubts |= kUnpairedField; // until the other field comes
    }
    fieldOpen = !completes && facts.shape != PictureShape::Frame;
    checkDecodeTime(facts);

    // A picture goes out when the next one begins: the flag is up to two packets late, or one early.
    if (facts.corrupt) {
        lastCorrupt = packet;
        if (packet > packetBase)
            doubtPacket(packet - 1, kCorruptNear);
    }
    if (packet - lastCorrupt <= 2)
        doubtPacket(packet, kCorruptNear);
}

// Whether the packet is the second field of the picture that the latest packet began.
bool PictureWindow::completesFrame(const PacketFacts &facts) const
{
    if (!fieldOpen || packets.empty() || facts.shape == PictureShape::Frame)
        return false;
    const PacketFacts &first = packets.back().facts;
    return facts.shape != first.shape && facts.frameNumber == first.frameNumber && facts.reference == first.reference &&
           !facts.beginsSequence;
}

void PictureWindow::checkDecodeTime(const PacketFacts &facts)
{
    if (facts.dts == kNone)
        return;
    const bool rises = lastDts == kNone || facts.dts >= lastDts;
    const std::uint64_t step = static_cast<std::uint64_t>(facts.dts) - static_cast<std::uint64_t>(lastDts);
    const bool steady = lastDts == kNone || (rises && step <= static_cast<std::uint64_t>(second));
    lastDts = facts.dts;
    if (!steady)
        doubtPacket(packetEnd() - 1, kDecodeTimeUnsteady);
}

void PictureWindow::addPicture(const PacketFacts &facts)
{
    if (facts.beginsSequence)
        ++sequence;
    CodedPicture picture;
    picture.firstPacket = picture.lastPacket = packetEnd();
    picture.sequence = sequence;
    picture.order = facts.order;
    picture.pts = facts.pts;
    picture.closedKey = facts.closedKey;
    picture.strict = facts.strict;
    picture.tableRow = facts.tableRow;
    picture.reference = facts.reference;
    pictures.push_back(picture);
}

void PictureWindow::discardBefore(std::int64_t picture)
{
    while (pictureBase < picture && !pictures.empty()) {
        const std::int64_t end = pictures.front().lastPacket + 1;
        for (; packetBase < end; ++packetBase) {
            if (packets.front().facts.doubts != 0)
                forgottenDoubt = packetBase;
            packets.pop_front();
        }
        pictures.pop_front();
        ++pictureBase;
    }
}

void PictureWindow::discardBeforePacket(std::int64_t packet)
{
    if (holdsPacket(packet))
        discardBefore(pictureOf(packet));
}

void PictureWindow::doubtPacket(std::int64_t packet, Doubt doubt)
{
    if (holdsPacket(packet))
        packets[static_cast<std::size_t>(packet - packetBase)].facts.doubts |= doubt;
    else if (packet < packetBase)
        forgottenDoubt = std::max(forgottenDoubt, packet);
}

void PictureWindow::doubtPicture(std::int64_t number, Doubt doubt)
{
    for (std::int64_t packet = picture(number).firstPacket; packet <= picture(number).lastPacket; ++packet)
        doubtPacket(packet, doubt);
}

std::int64_t PictureWindow::firstDoubt(std::int64_t from, std::int64_t end) const
{
    while (from < end && facts(from).doubts == 0)
        ++from;
    return from;
}

std::int64_t PictureWindow::lastDoubtBefore(std::int64_t end) const
{
    for (std::int64_t packet = std::min(end, packetEnd()) - 1; packet >= packetBase; --packet) {
        if ((facts(packet).doubts & ~std::uint32_t{kLastOfFile}) != 0)
            return packet;
    }
    return forgottenDoubt;
}

std::int64_t PictureWindow::firstNewParameters(std::int64_t from, std::int64_t end) const
{
    while (from < end && !facts(from).newParameters)
        ++from;
    return from;
}
