#include "video/exact/videopackets.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/singleinput.h"

namespace quorvale {

namespace {

static_assert(AV_NOPTS_VALUE == ScannedPacket::kUnknown, "one constant for no timestamp");

} // namespace

bool VideoPackets::open()
{
    if (m_input)
        return true;
    AVFormatContext *input = nullptr;
    if (!ffmpeg::openSingleInput(input, m_location.path.c_str()))
        return false;
    m_input.reset(input);
    return true;
}

// By the container's own number: a demultiplexer may number streams as it finds them, which depends on where it begins.
bool VideoPackets::isWanted(const AVPacket &packet) const
{
    const AVStream &stream = *m_input->streams[packet.stream_index];
    return stream.id == m_location.streamId && stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
           (m_location.streamId != 0 || stream.index == m_location.streamIndex);
}

VideoPackets::Status VideoPackets::read(AVPacket &packet)
{
    if (!open())
        return Status::Failed;
    for (;;) {
        av_packet_unref(&packet);
        const int status = av_read_frame(m_input.get(), &packet);
        if (status < 0) {
            const bool broken = status != AVERROR_EOF || (m_input->pb && m_input->pb->error < 0 && //
                                                          m_input->pb->error != AVERROR_EOF);
            return broken ? Status::Failed : Status::EndOfFile;
        }
        if (isWanted(packet))
            return Status::Read;
    }
}

bool VideoPackets::goToByte(std::int64_t position)
{
    return open() && av_seek_frame(m_input.get(), -1, position, AVSEEK_FLAG_BYTE) >= 0;
}

} // namespace quorvale
