// Comes between everything in the process, libavformat included, and the decoders. Linux only.

#include "tests/support/decoderwork.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <atomic>

#include <dlfcn.h>

namespace decoderwork {

namespace {

std::atomic<long> packets{0};
std::atomic<long> pictures{0};
std::atomic<bool> soundIsRefused{false};

template <typename Function>
Function *real(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

Counts counts()
{
    return {packets, pictures};
}

void reset()
{
    packets = pictures = 0;
}

void refuseSound(bool refuse)
{
    soundIsRefused = refuse;
}

} // namespace decoderwork

extern "C" {

int avcodec_open2(AVCodecContext *decoder, const AVCodec *codec, AVDictionary **options)
{
    using Open = int(AVCodecContext *, const AVCodec *, AVDictionary **);
    static const auto function = decoderwork::real<Open>("avcodec_open2");
    if (decoderwork::soundIsRefused && codec != nullptr && codec->type == AVMEDIA_TYPE_AUDIO)
        return AVERROR(EINVAL);
    return function(decoder, codec, options);
}

int avcodec_send_packet(AVCodecContext *decoder, const AVPacket *packet)
{
    static const auto function = decoderwork::real<int(AVCodecContext *, const AVPacket *)>("avcodec_send_packet");
    const int status = function(decoder, packet);
    if (status != AVERROR(EAGAIN))
        ++decoderwork::packets;
    return status;
}

int avcodec_receive_frame(AVCodecContext *decoder, AVFrame *frame)
{
    static const auto function = decoderwork::real<int(AVCodecContext *, AVFrame *)>("avcodec_receive_frame");
    const int status = function(decoder, frame);
    if (status >= 0)
        ++decoderwork::pictures;
    return status;
}

} // extern "C"
