#include "video/ffmpeg/unitwatch.h"

#include "video/ffmpeg/parametersets.h"
#include "video/ffmpeg/unitcount.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
#include <libavutil/opt.h>
}

#include <algorithm>

namespace quorvale::ffmpeg {

namespace {

constexpr std::int64_t kKiB = 1024;
constexpr unsigned char kSyncByte = 0x47;
constexpr int kTransportPacketBytes = 188;
constexpr int kTransportHeaderBytes = 4;
constexpr int kPesPrefixBytes = 3; // packet_start_code_prefix
// Where a header is broken FFmpeg goes back to it, from the end of its buffer of 32 KiB at most, and from 8 KiB that it
// has looked at. In a program stream it passes over packets of up to 64 KiB. Its parsers keep what they have.
constexpr std::int64_t kMostBack = 48 * kKiB;
constexpr std::int64_t kMostForward = 96 * kKiB;

// It has read up to 32 KiB more than it has parsed. VVC's sets are kept whatever their identifiers are.
constexpr std::int64_t kMostUnitsAhead = 4 * kMostUnits;
constexpr std::int64_t kMostVvcBytesAhead = 4 * ParameterSets::kMostBytes;

bool hasUnits(const AVStream &stream)
{
    return stream.codecpar->codec_id == AV_CODEC_ID_HEVC || stream.codecpar->codec_id == AV_CODEC_ID_VVC;
}

// One that FFmpeg does not know yet, or calls data until then, may turn out to have units.
bool mayHaveUnits(const AVStream &stream)
{
    const AVCodecID codec = stream.codecpar->codec_id;
    return hasUnits(stream) || codec == AV_CODEC_ID_NONE || codec == AV_CODEC_ID_PROBE || codec == AV_CODEC_ID_BIN_DATA;
}

} // namespace

UnitWatch::UnitWatch(const AVFormatContext &input)
    : m_input(input)
    , m_isTransportStream(av_match_name("mpegts", input.iformat->name) > 0)
    , m_isRaw(av_match_name(input.iformat->name, "hevc,vvc") > 0)
    , m_all(newFlow())
{
}

NalFlow UnitWatch::newFlow() const
{
    return NalFlow(m_isRaw ? NalFlow::PictureEnd::FirstSlice : NalFlow::PictureEnd::Forget);
}

bool UnitWatch::allows(std::int64_t position, const unsigned char *bytes, int size)
{
    if (m_isFlooded)
        return false;
    if (m_next < 0 || position < m_next - kMostBack || position > m_next + (m_isTransportStream ? 0 : kMostForward)) {
        restart();
    } else if (position != m_next) {
        m_inPacket = -1;
        m_isAstray = true;
    }
    m_next = position + size;
    passOverOthers();
    if (m_isTransportStream)
        noteTransportBytes(bytes, size);
    if (!m_isTransportStream || m_isAstray)
        m_all.note(bytes, size);
    m_isFlooded = !m_isProbing && isAnyFlooded();
    return !m_isFlooded;
}

void UnitWatch::restart()
{
    forgetAll();
    m_isOfNoPes.reset();
    m_inPacket = -1;
    m_between = 0;
    m_isFirst = true;
    m_isAstray = false;
}

void UnitWatch::forgetAll()
{
    m_flows.clear();
    m_all = newFlow();
    m_ended.clear();
}

// Streams of other codecs are not searched.
void UnitWatch::passOverOthers()
{
    m_isOfOther.reset();
    for (unsigned i = 0; m_isTransportStream && i < m_input.nb_streams; ++i) {
        const AVStream &stream = *m_input.streams[i];
        if (mayHaveUnits(stream))
            continue;
        m_isOfOther.set(static_cast<std::size_t>(stream.id & kMostPid));
        m_flows.erase(stream.id);
    }
}

void UnitWatch::endPacket(const AVStream &stream)
{
    const auto found = m_flows.find(stream.id);
    if (found != m_flows.end())
        found->second.forget();
    // One stream's packets say nothing about the pictures of another one.
    if (hasUnits(stream))
        m_ended.insert(stream.index);
    const auto streams = std::count_if(m_input.streams, m_input.streams + m_input.nb_streams,
                                       [](const AVStream *one) { return hasUnits(*one); });
    if (static_cast<std::ptrdiff_t>(m_ended.size()) < streams)
        return;
    m_all.forget();
    m_ended.clear();
}

void UnitWatch::setProbing(bool isProbing)
{
    m_isProbing = isProbing;
    forgetAll();
}

// ITU-T H.222.0, 2.4.3.2
void UnitWatch::noteTransportBytes(const unsigned char *bytes, int size)
{
    std::int64_t rawBytes = 0; // of a packet, with what FFmpeg passes over before the next one
    const bool isKnown = av_opt_get_int(m_input.priv_data, "ts_packetsize", 0, &rawBytes) >= 0;
    m_passedOver = isKnown ? std::max(static_cast<int>(rawBytes) - kTransportPacketBytes, 0) : 0;
    for (int i = 0; i < size;) {
        int passed = 1;
        if (m_inPacket < kTransportHeaderBytes || m_payload == 0 || m_inPacket < m_payload) {
            noteTransportByte(bytes[i]);
        } else {
            passed = std::min(size - i, kTransportPacketBytes - m_inPacket);
            const bool isOfPes = noteBeginning(bytes + i, passed);
            if (isOfPes && !m_isOfOther.test(static_cast<std::size_t>(m_pid)))
                m_flows.try_emplace(m_pid, newFlow()).first->second.note(bytes + i, passed);
        }
        i += passed;
        m_inPacket += m_inPacket < 0 ? 0 : passed;
        if (m_inPacket == kTransportPacketBytes) {
            m_inPacket = -1;
            m_between = 0;
        }
    }
}

// Whether the payload is of a PES packet, for all that is known (ITU-T H.222.0, 2.4.3.6). Until the next one begins
// FFmpeg passes over what does not begin as one: sections, whose streams may have no codec, and what is scrambled.
bool UnitWatch::noteBeginning(const unsigned char *payload, int size)
{
    const auto pid = static_cast<std::size_t>(m_pid);
    for (int i = 0; i < size && m_begun < kPesPrefixBytes; ++i, ++m_begun) {
        if (payload[i] != (m_begun == kPesPrefixBytes - 1 ? 1 : 0))
            m_isOfNoPes.set(pid);
    }
    return !m_isOfNoPes.test(pid);
}

// Of what comes before the payload. Where no packet begins, the next one is searched for, as FFmpeg does it.
void UnitWatch::noteTransportByte(unsigned char byte)
{
    if (m_inPacket < 0) {
        const bool mayBegin = ++m_between > m_passedOver || m_isFirst;
        m_isAstray = m_isAstray || (m_between > m_passedOver && byte != kSyncByte);
        if (byte != kSyncByte || !mayBegin)
            return;
        m_isFirst = false;
        m_inPacket = 0;
    }
    switch (m_inPacket) {
    case 0:
        break;
    case 1: // payload_unit_start_indicator
        m_pid = (byte & 0x1F) << 8;
        m_begun = (byte & 0x40) != 0 ? 0 : kPesPrefixBytes;
        break;
    case 2:
        m_pid |= byte;
        if (m_begun == 0)
            m_isOfNoPes.reset(static_cast<std::size_t>(m_pid));
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

// FFmpeg's parsers keep arrays for as many units as a picture of each stream had. Of sets, ParameterSets counts those
// of all streams once a packet was read.
bool UnitWatch::isAnyFlooded() const
{
    std::int64_t units = 0;
    std::int64_t vvcBytes = 0;
    bool hasManySets = false;
    const auto add = [&](bool isVvc, const NalFlow &flow) {
        units += (isVvc ? flow.vvc() : flow.hevc()).mostUnits;
        vvcBytes += isVvc ? flow.vvc().setBytes : 0;
        hasManySets = hasManySets || flow.hevc().mostSetBytes > ParameterSets::kMostBytes;
    };
    bool hasVvc = false;
    bool hasAny = m_input.nb_streams == 0; // What was read may begin one.
    for (unsigned i = 0; i < m_input.nb_streams; ++i) {
        const AVStream &stream = *m_input.streams[i];
        const bool isVvc = stream.codecpar->codec_id == AV_CODEC_ID_VVC;
        const auto found = m_flows.find(stream.id);
        if (found != m_flows.end())
            add(isVvc, found->second);
        hasVvc = hasVvc || isVvc;
        hasAny = hasAny || mayHaveUnits(stream);
    }
    if (hasAny)
        add(hasVvc, m_all);
    return units > (m_isRaw ? kMostUnits : kMostUnitsAhead) || hasManySets ||
           vvcBytes > (m_isRaw ? ParameterSets::kMostBytes : kMostVvcBytesAhead);
}

} // namespace quorvale::ffmpeg
