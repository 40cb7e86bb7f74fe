#include "video/ffmpeg/unitwatch.h"

#include "video/ffmpeg/parametersets.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
}

#include <algorithm>
#include <cstdlib>

namespace quorvale::ffmpeg {

namespace {

constexpr unsigned char kSyncByte = 0x47;
constexpr int kTransportPacketBytes = 188;
constexpr int kTransportHeaderBytes = 4;
constexpr int kMostBetween = 16;
constexpr std::int64_t kMostBack = 256 * 1024;

bool hasUnits(const AVStream &stream)
{
    return stream.codecpar->codec_id == AV_CODEC_ID_HEVC || stream.codecpar->codec_id == AV_CODEC_ID_VVC;
}

} // namespace

UnitWatch::UnitWatch(const AVFormatContext &input)
    : m_input(input)
    , m_isTransportStream(av_match_name("mpegts", input.iformat->name) > 0)
    , m_isProgramStream(av_match_name("mpeg", input.iformat->name) > 0)
{
}

bool UnitWatch::allows(std::int64_t position, const unsigned char *bytes, int size)
{
    if (m_isFlooded)
        return false;
    // FFmpeg goes back a little where a header is broken, and its parsers keep what they have.
    if (m_next < 0 || std::abs(position - m_next) > kMostBack)
        restart();
    else if (position != m_next)
        m_inPacket = -1;
    m_next = position + size;
    passOverOthers();
    ++m_readings;
    if (m_isTransportStream)
        noteTransportBytes(bytes, size);
    else
        m_flows[0].note(bytes, size);
    m_isFlooded = isAnyFlooded();
    return !m_isFlooded;
}

void UnitWatch::restart()
{
    m_flows.clear();
    if (m_isProgramStream)
        m_flows.emplace(0, NalFlow(NalFlow::PictureEnd::Forget));
    m_inPacket = -1;
}

// Streams of other codecs are not searched. One whose codec is not known yet may turn out to have units.
void UnitWatch::passOverOthers()
{
    m_isOfOther.reset();
    for (unsigned i = 0; m_isTransportStream && i < m_input.nb_streams; ++i) {
        const AVStream &stream = *m_input.streams[i];
        const AVCodecID codec = stream.codecpar->codec_id;
        if (codec == AV_CODEC_ID_NONE || codec == AV_CODEC_ID_PROBE || hasUnits(stream))
            continue;
        m_isOfOther.set(static_cast<std::size_t>(stream.id & kMostPid));
        m_flows.erase(stream.id);
    }
}

bool UnitWatch::beginPacket()
{
    const bool isFirst = m_isProgramStream && !m_hasPackets;
    m_hasPackets = true;
    if (isFirst && m_readings > 1) // It was probed.
        restart();
    else if (isFirst)
        m_isFlooded = isAnyFlooded();
    return !isFirst || !m_isFlooded;
}

void UnitWatch::endPacket(const AVStream &stream)
{
    if (m_isProgramStream && (hasUnits(stream) || countStreams() == 0))
        m_flows[0].forget();
}

// ITU-T H.222.0, 2.4.3.2
void UnitWatch::noteTransportBytes(const unsigned char *bytes, int size)
{
    for (int i = 0; i < size;) {
        int passed = 1;
        if (m_inPacket < kTransportHeaderBytes || m_payload == 0 || m_inPacket < m_payload) {
            noteTransportByte(bytes[i]);
        } else {
            passed = std::min(size - i, kTransportPacketBytes - m_inPacket);
            if (!m_isOfOther.test(static_cast<std::size_t>(m_pid)))
                m_flows[m_pid].note(bytes + i, passed);
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
void UnitWatch::noteTransportByte(unsigned char byte)
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
        m_pid = (byte & 0x1F) << 8;
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

std::ptrdiff_t UnitWatch::countStreams() const
{
    return std::count_if(m_input.streams, m_input.streams + m_input.nb_streams,
                         [](const AVStream *stream) { return hasUnits(*stream); });
}

bool UnitWatch::isAnyFlooded() const
{
    if (m_isProgramStream) {
        // What was read may begin a stream that nobody knows yet. One's packets say nothing about the pictures of two.
        const auto known = countStreams();
        if (!m_hasPackets || known != 1)
            return m_hasPackets && (known > 1 || m_flows.at(0).hasManySets());
    }
    std::int64_t vvcBytes = 0; // Its parser gives a picture back when the next one begins.
    for (unsigned i = 0; i < m_input.nb_streams; ++i) {
        const AVCodecID codec = m_input.streams[i]->codecpar->codec_id;
        const auto found = m_flows.find(m_isTransportStream ? m_input.streams[i]->id : 0);
        if (found == m_flows.end())
            continue;
        const NalFlow &flow = found->second;
        vvcBytes += codec == AV_CODEC_ID_VVC ? flow.vvc().setBytes : 0;
        if ((codec == AV_CODEC_ID_HEVC && flow.isHevcFlooded()) || (codec == AV_CODEC_ID_VVC && flow.isVvcFlooded()))
            return true;
    }
    return vvcBytes > ParameterSets::kMostBytes;
}

} // namespace quorvale::ffmpeg
