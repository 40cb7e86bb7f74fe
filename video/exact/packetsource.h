#pragma once

#include "video/exact/numbers.h"
#include "video/exact/picturelist.h"

#include <array>
#include <cstdint>

struct AVPacket;

namespace quorvale {

/// A packet to be read again.
struct PlannedPacket
{
    ScannedPacket packet;
    PacketIndex index;
    PictureIndex picture;          ///< which it is, or is a field of
    bool isNeeded = true;          ///< by the decoder
    std::uint16_t headerBytes = 0; ///< not 0: the decoder needs its headers only, see Decoding::sendHeaders()
};

/// Bytes from which a packet can be found, the nearest first; those of packets before it serve where it begins in the
/// middle of what the demultiplexer reads at once. Negative: none.
using WaysIn = std::array<std::int64_t, 3>;

/// Where whoever decodes has its packets from.
class PacketSource
{
public:
    PacketSource() = default;
    virtual ~PacketSource() = default;
    PacketSource(const PacketSource &) = delete;
    PacketSource &operator=(const PacketSource &) = delete;

    /// Delivers the packet `wanted`. False where it is not found, or is another one.
    virtual bool read(const PlannedPacket &wanted, const WaysIn &ways, AVPacket &packet) = 0;
};

} // namespace quorvale
