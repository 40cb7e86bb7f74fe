#include "video/ffmpeg/unitcount.h"

#include "video/ffmpeg/nalunits.h"

extern "C" {
#include <libavcodec/packet.h>
}

#include <algorithm>

namespace quorvale::ffmpeg {

namespace {

// A header in the middle of a stream must not change that.
bool changesLengthBytes(AVCodecID codec, int bytes, const AVPacket &packet)
{
    return std::any_of(packet.side_data, packet.side_data + packet.side_data_elems, [&](const AVPacketSideData &side) {
        return side.type == AV_PKT_DATA_NEW_EXTRADATA &&
               lengthBytes(codec, {side.data, static_cast<int>(side.size)}) != bytes;
    });
}

int countByStartCodes(const AVPacket &packet)
{
    int units = 0;
    visitByStartCodes(packet.data, packet.size, [&](const std::uint8_t *, int) { return ++units <= kMostUnits; });
    return units;
}

int countByLengths(const AVPacket &packet, int bytes)
{
    int units = 0;
    visitByLengths(packet.data, packet.size, bytes, [&](const std::uint8_t *, int) { return ++units <= kMostUnits; });
    return units;
}

// AV1 Bitstream & Decoding Process Specification, 5.3: each has a header of one byte or two, and mostly a size.
int countObus(const AVPacket &packet)
{
    int units = 0;
    for (std::int64_t position = 0; position < packet.size && units <= kMostUnits; ++units) {
        const std::uint8_t header = packet.data[position];
        position += (header & 4) != 0 ? 2 : 1; // obu_extension_flag
        if ((header & 2) == 0)                 // obu_has_size_field
            return units + 1;
        std::int64_t size = 0;
        bool goesOn = true;
        for (int bits = 0; goesOn && bits < 56 && position < packet.size; bits += 7) {
            goesOn = (packet.data[position] & 0x80) != 0;
            size |= std::int64_t{packet.data[position++] & 0x7F} << bits;
        }
        position += size;
    }
    return units;
}

} // namespace

// ISO/IEC 14496-15, 5.3.3.1, 8.3.3.1 and 11.2.4.2: where lengths stand before the NAL units, the header says of how
// many bytes. 0: start codes do (Annex B). What FFmpeg takes for such a header is one.
int lengthBytes(AVCodecID codec, const StreamHeader &header)
{
    if (codec == AV_CODEC_ID_H264)
        return header.size > 4 && header.data[0] == 1 ? (header.data[4] & 3) + 1 : 0;
    if (codec == AV_CODEC_ID_HEVC)
        return header.size > 21 && (header.data[0] != 0 || header.data[1] != 0 || header.data[2] > 1)
                   ? (header.data[21] & 3) + 1
                   : 0;
    return header.size > 0 && header.data[0] != 0 ? (header.data[0] >> 1 & 3) + 1 : 0;
}

bool hasBoundedUnits(AVCodecID codec, const StreamHeader &header, const AVPacket &packet)
{
    if (codec == AV_CODEC_ID_AV1)
        return countObus(packet) <= kMostUnits;
    if (codec != AV_CODEC_ID_H264 && codec != AV_CODEC_ID_HEVC && codec != AV_CODEC_ID_VVC)
        return true;
    const int bytes = lengthBytes(codec, header);
    return !changesLengthBytes(codec, bytes, packet) &&
           countByStartCodes(packet) + (bytes > 0 ? countByLengths(packet, bytes) : 0) <= kMostUnits;
}

} // namespace quorvale::ffmpeg
