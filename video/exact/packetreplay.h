#pragma once

#include "video/exact/keptpackets.h"
#include "video/exact/packetsource.h"
#include "video/exact/videopackets.h"

#include <cstdint>
#include <utility>

namespace quorvale {

/// Reads scanned packets again, from any one on, and makes sure that they are the same.
class PacketReplay : public PacketSource
{
public:
    /// `kept`, which is borrowed, serves who reads from the file's start.
    PacketReplay(VideoLocation location, KeptPackets &kept)
        : m_source(std::move(location))
        , m_kept(kept)
    {
    }

    bool read(const PlannedPacket &wanted, const WaysIn &ways, AVPacket &packet) override;

private:
    bool skipTo(const PlannedPacket &wanted, AVPacket &packet);
    bool enter(const PlannedPacket &wanted, std::int64_t position, AVPacket &packet);
    [[nodiscard]] bool isSame(const AVPacket &packet, const ScannedPacket &scanned, int allowedAtFront) const;

    VideoPackets m_source;
    KeptPackets &m_kept;
    PacketIndex m_next;  ///< the packet that is read next
    bool m_lost = false; ///< where the demultiplexer stands is not known
};

} // namespace quorvale
