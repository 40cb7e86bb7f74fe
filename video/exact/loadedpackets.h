#pragma once

#include "video/exact/run.h"
#include "video/ffmpeg/pointers.h"

#include <cstdint>
#include <deque>
#include <memory>

namespace quorvale {

/// The packets of a plan, in memory: whoever decodes them waits for no disk.
class LoadedPackets : public PacketSource
{
public:
    /// Reads what `plan` sends to the decoder; null where `disk` does not have it any more.
    [[nodiscard]] static std::unique_ptr<LoadedPackets> load(const RunPlan &plan, PacketSource &disk);
    /// How much memory that takes.
    [[nodiscard]] static std::int64_t bytesOf(const RunPlan &plan);

    /// Hands a packet on, once; only in the plan's order. A packet that is not needed comes out empty.
    bool read(const PlannedPacket &wanted, const WaysIn &ways, AVPacket &packet) override;

private:
    struct Loaded
    {
        PacketIndex index;
        ffmpeg::PacketPtr packet;
    };

    bool add(const std::vector<PlannedPacket> &packets, const WaysIn &ways, PacketSource &disk);

    std::deque<Loaded> m_packets;
};

} // namespace quorvale
