#pragma once

#include "video/ffmpeg/nalflow.h"

#include <bitset>
#include <cstdint>
#include <map>
#include <set>

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

    /// A packet of `stream` was read: pictures of it ended.
    void endPacket(const AVStream &stream);

    /// From now on FFmpeg reads what was judged before, and its packets are not seen; or no longer.
    void setProbing(bool isProbing);

    /// Whether anything was not allowed.
    [[nodiscard]] bool isFlooded() const { return m_isFlooded; }

private:
    [[nodiscard]] NalFlow newFlow() const;
    void restart();
    void forgetAll();
    void passOverOthers();
    void noteTransportBytes(const unsigned char *bytes, int size);
    void noteTransportByte(unsigned char byte);
    bool noteBeginning(const unsigned char *payload, int size);
    [[nodiscard]] bool isAnyFlooded() const;

    static constexpr int kMostPid = 0x1FFF;

    const AVFormatContext &m_input;
    const bool m_isTransportStream;
    const bool m_isRaw;
    bool m_isProbing = false;
    bool m_isFlooded = false;
    NalFlow m_all;                         ///< of the whole file; of a transport stream only where m_isAstray
    std::map<int, NalFlow> m_flows;        ///< of a transport stream, by packet identifiers
    std::set<int> m_ended;                 ///< streams that ended a picture since those of m_all were forgotten
    std::bitset<kMostPid + 1> m_isOfOther; ///< packet identifiers of streams without units
    std::bitset<kMostPid + 1> m_isOfNoPes; ///< likewise, of what did not begin as a PES packet
    std::int64_t m_next = -1;              ///< after what was read last
    int m_inPacket = -1;                   ///< bytes of the transport packet so far; negative: none has begun
    int m_payload = 0;                     ///< where it begins in the packet
    int m_pid = 0;                         ///< of the packet
    int m_begun = 0;                       ///< bytes of a PES packet's prefix so far, where one is to begin
    int m_between = 0;                     ///< bytes since the last packet
    int m_passedOver = 0;                  ///< of these, in files with 4 or 16 there
    bool m_isFirst = true;                 ///< no packet was found since the last seek
    /// Packets do not follow each other as they should: FFmpeg may take others for packets than are found here.
    bool m_isAstray = false;
};

} // namespace quorvale::ffmpeg
