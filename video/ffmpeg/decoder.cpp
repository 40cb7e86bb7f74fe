#include "video/ffmpeg/decoder.h"

#include "video/ffmpeg/picturelimits.h"

namespace ffmpeg {

DecoderPtr makeDecoder(const AVCodecParameters &parameters, AVRational timeBase, const AVCodec *codec)
{
    DecoderPtr decoder(avcodec_alloc_context3(codec));
    if (!decoder || avcodec_parameters_to_context(decoder.get(), &parameters) < 0)
        return nullptr;
    decoder->pkt_timebase = timeBase;
    // One thread. Frame threads change which packet completes a picture, and thereby the table's rows and the number
    // of pictures at the end of the file; any threads change how damaged pictures are concealed.
    decoder->thread_count = 1;
    decoder->max_pixels = kMostPixels;
    return decoder;
}

} // namespace ffmpeg
