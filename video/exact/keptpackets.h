#pragma once

#include "video/exact/packetsource.h"
#include "video/ffmpeg/pointers.h"

#include <cstdint>
#include <vector>

namespace quorvale {

/// Gives a packet memory of its own size, where a demultiplexer's is much larger. False without memory.
bool makeCompact(AVPacket &packet);

/// Packets as they were scanned, for whoever decodes them: they need not be read again, and are there where the disk
/// fails later on. The first ones of those that come, as many as there is room for.
class KeptPackets : public PacketSource
{
public:
    /// All that is scanned for five thumbnails at 12 Mbit/s. What comes later is read again.
    static constexpr std::int64_t kMostBytes = std::int64_t{48} * 1024 * 1024;

    /// Takes the packet `index`, the next one after that of the last call.
    void keep(PacketIndex index, const AVPacket &packet);
    void clear();

    /// False where the packet is not kept.
    bool read(const PlannedPacket &wanted, const WaysIn &ways, AVPacket &packet) override;

private:
    std::vector<ffmpeg::PacketPtr> m_packets; ///< without a gap
    PacketIndex m_first;
    std::int64_t m_bytes = 0;
    bool m_isFull = false;
};

} // namespace quorvale
