#include "video/ffmpeg/pointers.h"

#include "video/ffmpeg/singleinput.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <new>

namespace quorvale::ffmpeg {

void release(AVFormatContext *input)
{
    closeSingleInput(input);
}

void release(AVCodecContext *decoder)
{
    avcodec_free_context(&decoder);
}

void release(AVCodecParameters *parameters)
{
    avcodec_parameters_free(&parameters);
}

void release(AVCodecParserContext *parser)
{
    av_parser_close(parser);
}

void release(AVMurMur3 *hash)
{
    av_free(hash);
}

void release(AVFrame *frame)
{
    av_frame_free(&frame);
}

void release(AVPacket *packet)
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

} // namespace quorvale::ffmpeg
