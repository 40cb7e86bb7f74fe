#pragma once

#include "video/ffmpeg/nalflow.h"

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <map>

struct AVFormatContext;
struct AVStream;

namespace quorvale::ffmpeg {

/// Looks for pictures of too many NAL units, or parameter sets, in the streams of HEVC and VVC of `input`, a transport
/// or program stream or a raw one. FFmpeg's parsers keep 4 KiB for each unit and more for a set, before anyone sees a
/// packet; so what is read is searched.
class UnitWatch
{
public:
    explicit UnitWatch(const AVFormatContext &input);

    /// Looks at `size` bytes that were read at `position`. False if they bring one unit too many, and from then on.
    [[nodiscard]] bool allows(std::int64_t position, const unsigned char *bytes, int size);

    /// The next packet is to be read. A program stream is watched from the first one on; false if it may not begin.
    [[nodiscard]] bool beginPacket();
    /// It was read, and is of `stream`.
    void endPacket(const AVStream &stream);

    /// Whether anything was not allowed.
    [[nodiscard]] bool isFlooded() const { return m_isFlooded; }

private:
    void noteTransportBytes(const unsigned char *bytes, int size);
    void noteTransportByte(unsigned char byte);
    [[nodiscard]] bool isAnyFlooded() const;
    [[nodiscard]] std::ptrdiff_t countStreams() const; ///< of HEVC and VVC
    void restart();
    void passOverOthers();

    static constexpr int kMostPid = 0x1FFF;

    const AVFormatContext &m_input;
    const bool m_isTransportStream;
    const bool m_isProgramStream;
    bool m_hasPackets = false;
    std::int64_t m_readings = 0;
    std::map<int, NalFlow> m_flows; ///< by packet identifiers; one for all other files
    std::bitset<kMostPid + 1> m_isOfOther;
    std::int64_t m_next = -1; ///< after what was read last
    int m_inPacket = -1;      ///< bytes of the transport packet so far; negative: none has begun
    int m_payload = 0;        ///< where it begins in the packet
    int m_pid = 0;            ///< of the packet
    int m_between = 0;        ///< bytes since the last packet
    int m_usuallyBetween = 0; ///< 4 or 16 in some files
    bool m_isFlooded = false;
};

} // namespace quorvale::ffmpeg
