#include "video/ffmpeg/parametersets.h"

#include "video/ffmpeg/nalunits.h"

extern "C" {
#include <libavcodec/packet.h>
}

#include <algorithm>
#include <array>

namespace quorvale::ffmpeg {

namespace {

constexpr int kBlockBytes = 12; // three numbers for each coding tree block
constexpr std::int64_t kMostSamples = std::int64_t{1} << 28;
constexpr std::int64_t kHevcPpsBytes = 8192;
// From FFmpeg 7.1 on 7 KiB for each hrd_parameters(), of which six bits can be one; what is no longer has none. The
// longest would take 7 MiB; they are rare enough to be counted when they are there.
constexpr std::int64_t kHrdBytesAByte = 10000;
constexpr int kPlainVpsBytes = 32;
constexpr int kLongestHrd = 768;
constexpr int kMostBytesOfHeader = 65536; // a few hundred bytes, mostly

// The types of NAL units that are sets: ITU-T H.264, table 7-1; ITU-T H.265, table 7-1; ITU-T H.266, table 5.
struct Kind
{
    AVCodecID codec;
    int type;
    int idPosition;     ///< in bits, after the header
    int idBits;         ///< 0: ue(v)
    std::int64_t bytes; ///< at most
};
constexpr int kHevcVps = 32;
constexpr int kHevcSps = 33;
constexpr int kHevcPps = 34;
constexpr Kind kKinds[] = {
    {AV_CODEC_ID_H264, 7, 24, 0, 6 * 1024},
    {AV_CODEC_ID_H264, 8, 0, 0, 174 * 1024},
    {AV_CODEC_ID_HEVC, kHevcVps, 0, 4, kMiB},
    {AV_CODEC_ID_HEVC, kHevcSps, 0, 0, 20 * 1024},
    {AV_CODEC_ID_HEVC, kHevcPps, 0, 0, kHevcPpsBytes + kMostPixels / 256 * kBlockBytes},
    {AV_CODEC_ID_VVC, 14, 0, 4, 385 * 1024},
    {AV_CODEC_ID_VVC, 15, 0, 4, 46 * 1024},
    {AV_CODEC_ID_VVC, 16, 0, 6, 2 * kMiB},
    {AV_CODEC_ID_VVC, 17, 0, 8, 8 * 1024},
    {AV_CODEC_ID_VVC, 18, 0, 8, 8 * 1024},
};

// H.265 and H.266, 7.3.1.2: sets are of the first layers, and have a temporal layer. As other codecs have none, what is
// of one of them is not taken for a set; MPEG-2 has slices with these numbers, but none with a quantizer of 0.
const Kind *kindOf(AVCodecID codec, std::uint8_t first, std::uint8_t second)
{
    int type = first & 0x1F;
    bool canBeSet = true;
    if (codec == AV_CODEC_ID_HEVC) {
        type = first >> 1;
        canBeSet = (first & 1) == 0 && second < 16 && (second & 7) != 0;
    } else if (codec == AV_CODEC_ID_VVC) {
        type = second >> 3;
        canBeSet = first < 2 && (second & 7) != 0;
    }
    const auto *kind = std::find_if(std::begin(kKinds), std::end(kKinds),
                                    [&](const Kind &one) { return one.codec == codec && one.type == type; });
    return canBeSet && kind != std::end(kKinds) ? kind : nullptr;
}

int headerBytes(AVCodecID codec)
{
    return codec == AV_CODEC_ID_H264 ? 1 : 2;
}

// The beginning of a raw byte sequence payload: without the bytes that keep start codes out (ITU-T H.265, 7.3.1.1). The
// readers of bitstream/ refuse what is out of bounds; here it is what FFmpeg would keep all the same.
class Payload
{
public:
    Payload(const std::uint8_t *data, int size)
    {
        int zeros = 0;
        for (int i = 0; i < size && m_size < m_bytes.size(); ++i) {
            if (zeros < 2 || data[i] != 3)
                m_bytes[m_size++] = data[i];
            zeros = data[i] == 0 ? zeros + 1 : 0;
        }
    }

    void skip(std::size_t bits) { m_position += bits; }
    std::uint32_t bits(int count)
    {
        std::uint32_t value = 0;
        for (; count > 0; --count, ++m_position) {
            const bool bit = m_position / 8 < m_size && (m_bytes[m_position / 8] >> (7 - m_position % 8) & 1) != 0;
            value = value << 1 | (bit ? 1 : 0);
        }
        return value;
    }
    // 9.2: ue(v)
    std::int64_t number()
    {
        int zeros = 0;
        while (zeros < 31 && bits(1) == 0)
            ++zeros;
        return (std::int64_t{1} << zeros) - 1 + bits(zeros);
    }

private:
    std::array<std::uint8_t, 160> m_bytes{}; // enough for six profiles
    std::size_t m_size = 0;
    std::size_t m_position = 0;
};

constexpr std::uint32_t kOfAnotherLayer = 7; // whose set has neither profiles nor sizes (F.7.3.2.2.1)

// ITU-T H.265, 7.3.2.2.1, up to the identifier: sps_max_sub_layers_minus1
std::uint32_t skipToSpsId(Payload &sps)
{
    sps.skip(4); // sps_video_parameter_set_id
    const std::uint32_t layers = sps.bits(3);
    sps.skip(1 + 96);
    std::size_t bits = 0;
    for (std::uint32_t i = 0; i < layers; ++i) {
        bits += sps.bits(1) * 88; // sub_layer_profile_present_flag
        bits += sps.bits(1) * 8;  // sub_layer_level_present_flag
    }
    sps.skip(bits + (layers > 0 ? 2 * (8 - layers) : 0));
    return layers;
}

// ITU-T H.265, 7.3.2.2.1, after the identifier, up to the size of the largest coding blocks: how many there are.
std::int64_t blocksOf(Payload &sps, std::uint32_t layers)
{
    if (sps.number() == 3) // chroma_format_idc
        sps.skip(1);
    const std::int64_t width = std::min(sps.number(), kMostSamples);
    const std::int64_t height = std::min(sps.number(), kMostSamples);
    if (width * height > kMostSamples)
        return 0;                                                  // FFmpeg keeps no such set.
    for (int sides = sps.bits(1) != 0 ? 4 : 0; sides > 0; --sides) // conformance_window_flag
        sps.number();
    for (int i = 0; i < 3; ++i) // bit_depth_luma_minus8 to log2_max_pic_order_cnt_lsb_minus4
        sps.number();
    for (std::uint32_t i = sps.bits(1) != 0 ? 0 : layers; i <= layers; ++i) {
        sps.number(); // sps_max_dec_pic_buffering_minus1
        sps.number(); // sps_max_num_reorder_pics
        sps.number(); // sps_max_latency_increase_plus1
    }
    const std::int64_t log2 = 3 + sps.number() + sps.number(); // CtbLog2SizeY
    const int blockBits = static_cast<int>(std::clamp(log2, std::int64_t{4}, std::int64_t{6}));
    const std::int64_t side = std::int64_t{1} << blockBits;
    // A.4.1 allows no such blocks. FFmpeg takes two bytes a pixel for them beside each picture.
    if (side == 16 && width * height > kMostPixelsUncounted)
        return kMostPixels;
    return (width + side - 1) / side * ((height + side - 1) / side);
}

bool hasSets(AVCodecID codec)
{
    return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC || codec == AV_CODEC_ID_VVC;
}

bool beginsWithStartCode(const AVPacket &packet)
{
    return packet.size > 3 && packet.data[0] == 0 && packet.data[1] == 0 && packet.data[2] == 0 && packet.data[3] == 1;
}

} // namespace

std::int64_t ParameterSets::mostBytesOf(AVCodecID codec, std::uint8_t first, std::uint8_t second)
{
    const Kind *kind = kindOf(codec, first, second);
    return kind ? kind->bytes : 0;
}

void ParameterSets::note(Stream &stream, AVCodecID codec, const std::uint8_t *unit, int size)
{
    const int skipped = headerBytes(codec);
    const Kind *kind = size > skipped ? kindOf(codec, unit[0], unit[1]) : nullptr;
    if (!kind)
        return;
    Payload payload(unit + skipped, size - skipped);
    const bool isHevcSps = codec == AV_CODEC_ID_HEVC && kind->type == kHevcSps;
    const std::uint32_t layers = isHevcSps ? skipToSpsId(payload) : 0;
    if (layers == kOfAnotherLayer)
        return;
    payload.skip(static_cast<std::size_t>(kind->idPosition));
    const std::int64_t id = kind->idBits > 0 ? payload.bits(kind->idBits) : payload.number();
    if (id > 255)
        return; // FFmpeg keeps none of them.
    if (isHevcSps)
        stream.blocks = std::max(stream.blocks, blocksOf(payload, layers));
    std::int64_t bytes = kind->bytes;
    if (codec == AV_CODEC_ID_HEVC && kind->type == kHevcPps)
        bytes = kHevcPpsBytes + stream.blocks * kBlockBytes;
    if (codec == AV_CODEC_ID_HEVC && kind->type == kHevcVps)
        bytes = kHevcPpsBytes + std::clamp(size - kPlainVpsBytes, 0, kLongestHrd) * kHrdBytesAByte;
    std::int64_t &kept = stream.bytes[kind->type << 8 | static_cast<int>(id)];
    m_bytes += bytes - kept;
    kept = bytes;
}

// In a header each set has its length, of two bytes, before it (ISO/IEC 14496-15, 5.3.3.1, 8.3.3.1 and 11.2.4.2): what
// looks like one counts.
void ParameterSets::noteHeader(Stream &stream, AVCodecID codec, const StreamHeader &header)
{
    int units = 0;
    if (header.size > kMostBytesOfHeader)
        m_bytes = kMostBytes + 1;
    else if (lengthBytes(codec, header) == 0)
        visitByStartCodes(header.data, header.size, [&](const std::uint8_t *unit, int size) {
            note(stream, codec, unit, size);
            return ++units <= kMostUnits;
        });
    if (units > kMostUnits)
        m_bytes = kMostBytes + 1;
    if (lengthBytes(codec, header) == 0)
        return;
    for (int i = 0; i + 2 < header.size && isContent(); ++i) {
        const int size = header.data[i] << 8 | header.data[i + 1];
        if (size > 2 && size <= header.size - i - 2)
            note(stream, codec, header.data + i + 2, size);
    }
}

bool ParameterSets::allows(int number, AVCodecID codec, const StreamHeader &header)
{
    if (!hasSets(codec) || !isContent())
        return isContent();
    Stream &stream = m_streams[number];
    if (!stream.hasHeader)
        noteHeader(stream, codec, header);
    stream.hasHeader = stream.hasHeader || header.size > 0;
    return isContent();
}

bool ParameterSets::allows(int number, AVCodecID codec, const StreamHeader &header, const AVPacket &packet)
{
    if (!allows(number, codec, header) || !hasSets(codec))
        return isContent();
    Stream &stream = m_streams[number];
    for (int i = 0; i < packet.side_data_elems; ++i) {
        const AVPacketSideData &side = packet.side_data[i];
        if (side.type == AV_PKT_DATA_NEW_EXTRADATA)
            noteHeader(stream, codec, {side.data, static_cast<int>(side.size)});
    }
    // FFmpeg reads VVC's sets of a packet together, and each takes its room, whatever its identifier is.
    std::int64_t together = 0;
    const auto noteUnit = [&](const std::uint8_t *unit, int size) {
        note(stream, codec, unit, size);
        together += codec == AV_CODEC_ID_VVC && size > 1 ? mostBytesOf(codec, unit[0], unit[1]) : 0;
        return isContent() && together <= kMostBytes;
    };
    // FFmpeg's decoder of H.264 changes to start codes where it sees one, and takes headers for packets.
    const int bytes = lengthBytes(codec, header);
    stream.hasStartCodes = stream.hasStartCodes || bytes == 0 || beginsWithStartCode(packet);
    if (codec == AV_CODEC_ID_H264 && bytes > 0 && packet.size > 8 && packet.data[0] == 1 && packet.data[2] == 0 &&
        packet.data[4] >= 0xFC)
        noteHeader(stream, codec, {packet.data, packet.size});
    if (bytes > 0)
        visitByLengths(packet.data, packet.size, bytes, noteUnit);
    if (stream.hasStartCodes)
        visitByStartCodes(packet.data, packet.size, noteUnit);
    m_bytes += together > kMostBytes ? together : 0;
    return isContent();
}

} // namespace quorvale::ffmpeg
