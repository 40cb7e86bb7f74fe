#pragma once

#include "video/exact/numbers.h"
#include "video/exact/picturelist.h"
#include "video/exact/videopackets.h"

#include <array>
#include <cstdint>
#include <utility>

namespace quorvale {

/// A packet to be read again.
struct PlannedPacket
{
    ScannedPacket packet;
    PacketIndex index;
    PictureIndex picture; ///< which it is, or is a field of
    bool isNeeded = true; ///< by the decoder
};

/// Bytes from which a packet can be found, the nearest first; those of packets before it serve where it begins in the
/// middle of what the demultiplexer reads at once. Negative: none.
using WaysIn = std::array<std::int64_t, 3>;

/// Reads scanned packets again, from any one on, and makes sure that they are the same.
class PacketReplay
{
public:
    explicit PacketReplay(VideoLocation location)
        : m_source(std::move(location))
    {
    }

    /// Reads the packet `wanted`. False where it is not found, or is another one.
    bool read(const PlannedPacket &wanted, const WaysIn &ways, AVPacket &packet);

private:
    bool skipTo(const PlannedPacket &wanted, AVPacket &packet);
    bool enter(const PlannedPacket &wanted, std::int64_t position, AVPacket &packet);
    [[nodiscard]] bool isSame(const AVPacket &packet, const ScannedPacket &scanned, int allowedAtFront) const;

    VideoPackets m_source;
    PacketIndex m_next;  ///< the packet that is read next
    bool m_lost = false; ///< where the demultiplexer stands is not known
};

} // namespace quorvale
