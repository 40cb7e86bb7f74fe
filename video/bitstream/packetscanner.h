#pragma once

#include "video/bitstream/packetfacts.h"
#include "video/bitstream/parametersethistory.h"
#include "video/bitstream/startcodes.h"

#include <memory>

struct AVCodecParameters;
struct AVPacket;

/// Reads the facts of the packets of one video stream, which are to be shown to it one by one from the first on.
/// Everything in a packet is untrusted: what cannot be understood is a doubt, never an error.
class PacketScanner
{
public:
    PacketScanner() = default;
    virtual ~PacketScanner() = default;
    PacketScanner(const PacketScanner &) = delete;
    PacketScanner &operator=(const PacketScanner &) = delete;

    [[nodiscard]] PacketFacts scan(const AVPacket &packet);

protected:
    /// Fills in what the elementary stream in the packet says.
    virtual void scanUnits(const AVPacket &packet, PacketFacts &facts) = 0;

    /// Compares a parameter set with the last one of that key.
    void noteParameters(std::uint32_t key, Bytes set, PacketFacts &facts);

private:
    quorvale::ParameterSetHistory parameterSets;
};

/// A scanner for the stream's codec: MPEG-2, H.264 or HEVC. Null for every other one, and without memory.
[[nodiscard]] std::unique_ptr<PacketScanner> makePacketScanner(const AVCodecParameters &stream);
