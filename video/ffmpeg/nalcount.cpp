#include "video/ffmpeg/nalcount.h"

#include "video/ffmpeg/startcode.h"

extern "C" {
#include <libavcodec/packet.h>
}

#include <algorithm>

namespace quorvale::ffmpeg {

namespace {

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
    if (packet.size < 3)
        return 0;
    int units = 0;
    const unsigned char *end = packet.data + packet.size;
    const unsigned char *found = findStartCode(packet.data + 2, end);
    for (; found && units <= kMostNalUnits; found = findStartCode(found + 1, end))
        ++units;
    return units;
}

int countByLengths(const AVPacket &packet, int bytes)
{
    int units = 0;
    for (std::int64_t position = 0; packet.size - position >= bytes && units <= kMostNalUnits; ++units) {
        std::int64_t length = 0;
        for (int i = 0; i < bytes; ++i)
            length = length << 8 | packet.data[position + i];
        position += bytes + length;
    }
    return units;
}

} // namespace

bool hasBoundedNalUnits(AVCodecID codec, const StreamHeader &header, const AVPacket &packet)
{
    if (codec != AV_CODEC_ID_H264 && codec != AV_CODEC_ID_HEVC && codec != AV_CODEC_ID_VVC)
        return true;
    const int bytes = lengthBytes(codec, header);
    return !changesLengthBytes(codec, bytes, packet) &&
           countByStartCodes(packet) + (bytes > 0 ? countByLengths(packet, bytes) : 0) <= kMostNalUnits;
}

} // namespace quorvale::ffmpeg
