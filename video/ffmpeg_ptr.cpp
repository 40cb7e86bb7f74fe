#include "video/ffmpeg_ptr.h"

#include "video/ffmpeg_compat.h"
#include "video/singleinput.h"

#include <new>

namespace ffmpeg {

void InputCloser::operator()(AVFormatContext *input) const
{
    closeSingleInput(input);
}

void DecoderDeleter::operator()(AVCodecContext *decoder) const
{
    avcodec_free_context(&decoder);
}

void FrameDeleter::operator()(AVFrame *frame) const
{
    av_frame_free(&frame);
}

void PacketDeleter::operator()(AVPacket *packet) const
{
    av_packet_free(&packet);
}

PacketPtr makePacket()
{
    PacketPtr packet(av_packet_alloc());
    if (!packet)
        throw std::bad_alloc();
    return packet;
}

FramePtr makeFrame()
{
    FramePtr frame(av_frame_alloc());
    if (!frame)
        throw std::bad_alloc();
    return frame;
}

} // namespace ffmpeg
