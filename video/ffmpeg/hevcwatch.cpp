#include "video/ffmpeg/hevcwatch.h"

#include "video/ffmpeg/startcode.h"
#include "video/ffmpeg/unitcount.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
}

#include <algorithm>

namespace quorvale::ffmpeg {

namespace {

constexpr std::size_t kPacketIdentifiers = 8192;
constexpr unsigned char kSyncByte = 0x47;
constexpr int kTransportPacketBytes = 188;
constexpr int kTransportHeaderBytes = 4;
constexpr int kPrefixBytes = 3; // of a start code
constexpr int kUnitBytes = 6;   // with what is looked at after it
constexpr int kMostBetween = 16;

bool isHevc(const AVStream &stream)
{
    return stream.codecpar->codec_id == AV_CODEC_ID_HEVC;
}

} // namespace

HevcWatch::HevcWatch(const AVFormatContext &input)
    : m_input(input)
    , m_isTransportStream(av_match_name("mpegts", input.iformat->name) > 0)
{
}

bool HevcWatch::hasStreams() const
{
    return std::any_of(m_input.streams, m_input.streams + m_input.nb_streams,
                       [](const AVStream *stream) { return isHevc(*stream); });
}

bool HevcWatch::allows(std::int64_t position, const unsigned char *bytes, int size)
{
    if (m_isFlooded || !hasStreams())
        return !m_isFlooded;
    if (m_flows.empty() || position != m_next) {
        m_flows.assign(m_isTransportStream ? kPacketIdentifiers : 1, Flow());
        m_inPacket = -1;
    }
    m_next = position + size;
    if (m_isTransportStream)
        noteTransportBytes(bytes, size);
    else
        noteBytes(m_flows.front(), bytes, size);
    m_isFlooded = isAnyFlooded();
    return !m_isFlooded;
}

void HevcWatch::noteBytes(Flow &flow, const unsigned char *bytes, int size)
{
    // Byte by byte only where a start code may have been read before, in part or without what follows it.
    const int joint = std::min(size, kUnitBytes - 1);
    for (int i = 0; i < joint; ++i) {
        flow.lastBytes = flow.lastBytes << 8 | bytes[i];
        if ((flow.lastBytes >> 24 & 0xFFFFFF) == 1)
            noteUnit(flow, static_cast<unsigned char>(flow.lastBytes >> 16), bytes[i]);
    }
    if (size < kUnitBytes)
        return;
    const unsigned char *end = bytes + size - (kUnitBytes - kPrefixBytes);
    for (const unsigned char *at = findStartCode(bytes + kPrefixBytes - 1, end); at; at = findStartCode(at + 1, end))
        noteUnit(flow, at[1], at[3]);
    for (int i = std::max(joint, size - kUnitBytes); i < size; ++i)
        flow.lastBytes = flow.lastBytes << 8 | bytes[i];
}

// ITU-T H.265, 7.3.1.2 and 7.3.6.1: after a start code there are two bytes of a header with the type in its second to
// seventh bit, and then, of a slice, first_slice_segment_in_pic_flag.
void HevcWatch::noteUnit(Flow &flow, unsigned char header, unsigned char payload)
{
    const int type = header >> 1 & 0x3F;
    const bool isSlice = type <= 9 || (type >= 16 && type <= 21);
    flow.units = isSlice && (payload & 0x80) != 0 ? 1 : flow.units + 1;
    flow.isFlooded = flow.isFlooded || flow.units > kMostUnits;
}

// ITU-T H.222.0, 2.4.3.2
void HevcWatch::noteTransportBytes(const unsigned char *bytes, int size)
{
    for (int i = 0; i < size;) {
        int passed = 1;
        if (m_inPacket < kTransportHeaderBytes || m_payload == 0 || m_inPacket < m_payload) {
            noteTransportByte(bytes[i]);
        } else {
            passed = std::min(size - i, kTransportPacketBytes - m_inPacket);
            noteBytes(m_flows[m_pid], bytes + i, passed);
        }
        i += passed;
        m_inPacket += m_inPacket < 0 ? 0 : passed;
        if (m_inPacket == kTransportPacketBytes) {
            m_inPacket = -1;
            m_between = 0;
        }
    }
}

// Of what comes before the payload. Where no packet begins, the next one is searched for, as FFmpeg does it.
void HevcWatch::noteTransportByte(unsigned char byte)
{
    if (m_inPacket < 0) {
        ++m_between;
        if (byte != kSyncByte || m_between <= m_usuallyBetween)
            return;
        m_usuallyBetween = m_between - 1 <= kMostBetween ? m_between - 1 : 0;
        m_inPacket = 0;
    }
    switch (m_inPacket) {
    case 0:
        break;
    case 1:
        m_pid = (byte & 0x1FU) << 8;
        break;
    case 2:
        m_pid |= byte;
        break;
    case 3: // adaptation_field_control
        m_payload = (byte & 0x10) == 0 ? kTransportPacketBytes : (byte & 0x20) != 0 ? 0 : kTransportHeaderBytes;
        break;
    case 4: // adaptation_field_length
        m_payload = m_payload == 0 ? 5 + byte : m_payload;
        break;
    default:
        break;
    }
}

bool HevcWatch::isAnyFlooded() const
{
    return std::any_of(m_input.streams, m_input.streams + m_input.nb_streams, [this](const AVStream *stream) {
        const std::size_t flow = m_isTransportStream ? static_cast<std::size_t>(stream->id) : 0;
        return isHevc(*stream) && flow < m_flows.size() && m_flows[flow].isFlooded;
    });
}

} // namespace quorvale::ffmpeg
