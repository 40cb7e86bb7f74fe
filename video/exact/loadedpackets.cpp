#include "video/exact/loadedpackets.h"

#include "video/exact/keptpackets.h"
#include "video/ffmpeg/compat.h"

#include <utility>

namespace quorvale {

namespace {

std::int64_t bytesOf(const std::vector<PlannedPacket> &packets)
{
    std::int64_t bytes = 0;
    for (const PlannedPacket &packet : packets)
        bytes += packet.isNeeded ? packet.packet.size : 0;
    return bytes;
}

} // namespace

std::int64_t LoadedPackets::bytesOf(const RunPlan &plan)
{
    std::int64_t bytes = quorvale::bytesOf(plan.packets);
    for (const StartPlan::Primer &primer : plan.start.primers)
        bytes += quorvale::bytesOf(primer.packets);
    return bytes;
}

std::unique_ptr<LoadedPackets> LoadedPackets::load(const RunPlan &plan, PacketSource &disk)
{
    auto loaded = std::make_unique<LoadedPackets>();
    for (const StartPlan::Primer &primer : plan.start.primers) {
        if (!loaded->add(primer.packets, primer.ways, disk))
            return nullptr;
    }
    return loaded->add(plan.packets, plan.start.ways, disk) ? std::move(loaded) : nullptr;
}

bool LoadedPackets::add(const std::vector<PlannedPacket> &packets, const WaysIn &ways, PacketSource &disk)
{
    const ffmpeg::PacketPtr read = ffmpeg::makePacket();
    for (const PlannedPacket &packet : packets) {
        // What is left out is read all the same: it shows that the file is what it was.
        if (!disk.read(packet, ways, *read))
            return false;
        if (!packet.isNeeded)
            continue;
        if (!makeCompact(*read))
            return false;
        m_packets.push_back({packet.index, ffmpeg::makePacket()});
        av_packet_move_ref(m_packets.back().packet.get(), read.get());
    }
    return true;
}

bool LoadedPackets::read(const PlannedPacket &wanted, const WaysIn &, AVPacket &packet)
{
    av_packet_unref(&packet);
    if (!wanted.isNeeded)
        return true;
    if (m_packets.empty() || m_packets.front().index != wanted.index)
        return false;
    av_packet_move_ref(&packet, m_packets.front().packet.get());
    m_packets.pop_front();
    return true;
}

} // namespace quorvale
