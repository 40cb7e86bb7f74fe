#include "video/exact/videopackets.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/regularfile.h"
#include "video/ffmpeg/singleinput.h"

extern "C" {
#include <libavutil/crc.h>
}

#include <algorithm>

namespace quorvale {

namespace {

// Without the zeros before the first start code, which may have gone to the packet before.
std::uint32_t checksumOf(const AVPacket &packet)
{
    const std::uint8_t *end = packet.data + packet.size;
    const std::uint8_t *begin =
        std::find_if(static_cast<const std::uint8_t *>(packet.data), end, [](std::uint8_t byte) { return byte != 0; });
    return av_crc(av_crc_get_table(AV_CRC_32_IEEE_LE), 0, begin, static_cast<std::size_t>(end - begin));
}

// MPEG-1 and MPEG-2 video are taken apart alike, and a container can name the one for the other.
bool isMpegVideo(AVCodecID codec)
{
    return codec == AV_CODEC_ID_MPEG1VIDEO || codec == AV_CODEC_ID_MPEG2VIDEO;
}

} // namespace

bool VideoPackets::open()
{
    if (m_input)
        return true;
    AVFormatContext *input = nullptr;
    if (!ffmpeg::openSingleInput(input, m_location.path.c_str()))
        return false;
    m_input.reset(input);
    if (m_readsAhead)
        ffmpeg::readAhead(*input->pb);
    return true;
}

// By the container's own number: a demultiplexer may number streams as it finds them, which depends on where it begins.
bool VideoPackets::isWanted(const AVPacket &packet) const
{
    const AVStream &stream = *m_input->streams[packet.stream_index];
    return stream.id == m_location.streamId && stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
           (m_location.streamId != 0 || stream.index == m_location.streamIndex);
}

bool VideoPackets::hasOtherCodec(const AVPacket &packet) const
{
    const AVCodecID codec = m_input->streams[packet.stream_index]->codecpar->codec_id;
    return codec != m_location.codec && !(isMpegVideo(codec) && isMpegVideo(m_location.codec));
}

VideoPackets::Status VideoPackets::read(AVPacket &packet)
{
    if (!open())
        return Status::Failed;
    for (;;) {
        av_packet_unref(&packet);
        const int status = ffmpeg::readPacket(*m_input, packet);
        if (status < 0) {
            const bool broken = status != AVERROR_EOF || (m_input->pb && m_input->pb->error < 0 && //
                                                          m_input->pb->error != AVERROR_EOF);
            return broken ? Status::Failed : Status::EndOfFile;
        }
        if (isWanted(packet))
            return hasOtherCodec(packet) ? Status::Failed : Status::Read;
    }
}

bool VideoPackets::goTo(std::int64_t position)
{
    if (!open())
        return false;
    if (m_location.entrance == Entrance::AnyByte)
        return av_seek_frame(m_input.get(), -1, position, AVSEEK_FLAG_BYTE) >= 0;
    return m_location.streamIndex < static_cast<int>(m_input->nb_streams) &&
           av_seek_frame(m_input.get(), m_location.streamIndex, position, AVSEEK_FLAG_BACKWARD) >= 0;
}

ScannedPacket VideoPackets::describe(const AVPacket &packet) const
{
    ScannedPacket scanned;
    const std::int64_t time = packet.pts != kNoTimestamp ? packet.pts : packet.dts;
    scanned.position = m_location.entrance == Entrance::AnyByte ? packet.pos : time;
    scanned.pts = packet.pts;
    scanned.size = packet.size;
    if (!m_location.tellsByTimes || packet.pts == kNoTimestamp)
        scanned.checksum = checksumOf(packet);
    return scanned;
}

} // namespace quorvale
