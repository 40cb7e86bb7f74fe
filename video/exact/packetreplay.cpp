#include "video/exact/packetreplay.h"

#include "video/ffmpeg/compat.h"

namespace quorvale {

namespace {

constexpr std::int64_t kNear = 64;   // up to so many packets ahead, reading is quicker than seeking
constexpr int kMostBeforeByte = 16;  // other packets that may come first after a seek to a byte
constexpr int kMostBeforeTime = 512; // and to a time: an index may hold only the first picture of a group
constexpr int kZeroBytesAtStart = 3; // of a start code; they may have gone to the packet before

} // namespace

bool PacketReplay::read(const PlannedPacket &wanted, const WaysIn &ways, AVPacket &packet)
{
    const bool fromStart = ways.front() < 0;
    if (fromStart && m_kept.read(wanted, ways, packet))
        return true;
    const std::int64_t ahead = wanted.index - m_next;
    if (!m_lost && ahead >= 0 && (ahead <= kNear || fromStart))
        return skipTo(wanted, packet);
    for (const std::int64_t way : ways) {
        if (enter(wanted, way, packet))
            return true;
    }
    return false;
}

bool PacketReplay::skipTo(const PlannedPacket &wanted, AVPacket &packet)
{
    m_lost = true;
    for (; m_next <= wanted.index; ++m_next) {
        if (m_source.read(packet) != VideoPackets::Status::Read)
            return false;
    }
    m_lost = !isSame(packet, wanted.packet, 0);
    return !m_lost;
}

bool PacketReplay::enter(const PlannedPacket &wanted, std::int64_t position, AVPacket &packet)
{
    m_lost = true;
    if (position < 0 || !m_source.goTo(position))
        return false;
    const int most = m_source.location().entrance == Entrance::AnyByte ? kMostBeforeByte : kMostBeforeTime;
    for (int i = 0; i < most && m_source.read(packet) == VideoPackets::Status::Read; ++i) {
        if (isSame(packet, wanted.packet, kZeroBytesAtStart)) {
            m_next = wanted.index + 1;
            m_lost = false;
            return true;
        }
    }
    return false;
}

// `allowedAtStart`: bytes that may be missing there.
bool PacketReplay::isSame(const AVPacket &packet, const ScannedPacket &scanned, int allowedAtStart) const
{
    const int missing = scanned.size - packet.size;
    if (missing < 0 || missing > allowedAtStart)
        return false;
    if (!m_source.location().tellsByTimes || (packet.pts == kNoTimestamp && scanned.pts == kNoTimestamp))
        return m_source.describe(packet).checksum == scanned.checksum;
    if (packet.pts == kNoTimestamp || scanned.pts == kNoTimestamp)
        return false;
    // How often the timestamps have wrapped is known only after reading the whole file.
    const int bits = m_source.location().timestampBits;
    const std::uint64_t step = static_cast<std::uint64_t>(packet.pts) - static_cast<std::uint64_t>(scanned.pts);
    return bits >= 64 ? step == 0 : step % (std::uint64_t{1} << bits) == 0;
}

} // namespace quorvale
