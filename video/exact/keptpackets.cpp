#include "video/exact/keptpackets.h"

#include "video/ffmpeg/compat.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace quorvale {

bool makeCompact(AVPacket &packet)
{
    const auto size = static_cast<std::size_t>(std::max(packet.size, 0));
    if (size == 0 || (packet.buf && static_cast<std::size_t>(packet.buf->size) <= 2 * size))
        return true;
    const ffmpeg::PacketPtr compact = ffmpeg::makePacket();
    if (av_new_packet(compact.get(), packet.size) < 0 || av_packet_copy_props(compact.get(), &packet) < 0)
        return false;
    std::memcpy(compact->data, packet.data, size);
    av_packet_unref(&packet);
    av_packet_move_ref(&packet, compact.get());
    return true;
}

void KeptPackets::keep(PacketIndex index, const AVPacket &packet)
{
    if (m_packets.empty())
        m_first = index;
    m_isFull = m_isFull || m_bytes + packet.size > kMostBytes ||
               index != m_first + static_cast<std::int64_t>(m_packets.size());
    ffmpeg::PacketPtr copy = ffmpeg::makePacket();
    m_isFull = m_isFull || av_packet_ref(copy.get(), &packet) < 0 || !makeCompact(*copy);
    if (m_isFull)
        return;
    m_bytes += packet.size;
    m_packets.push_back(std::move(copy));
}

bool KeptPackets::read(const PlannedPacket &wanted, const WaysIn &, AVPacket &packet)
{
    av_packet_unref(&packet);
    const std::int64_t place = wanted.index - m_first;
    const bool isKept = place >= 0 && place < static_cast<std::int64_t>(m_packets.size());
    return isKept && av_packet_ref(&packet, m_packets[static_cast<std::size_t>(place)].get()) >= 0;
}

void KeptPackets::clear()
{
    m_packets = std::vector<ffmpeg::PacketPtr>();
    m_bytes = 0;
    m_isFull = false;
}

} // namespace quorvale
