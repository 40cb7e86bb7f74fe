#pragma once

#include "video/ffmpeg/compat.h"
#include "video/ffvideo.h"

/// Counts the pictures that a reader's decoder begins, by way of the buffers that it asks for. Fields of one picture
/// count once. Lives no longer than the file is open.
class DecodeCounter
{
public:
    explicit DecodeCounter(FFVideo &video)
        : codec(video.videoCodec)
    {
        codec->opaque = this;
        codec->get_buffer2 = [](AVCodecContext *decoder, AVFrame *frame, int flags) {
            ++static_cast<DecodeCounter *>(decoder->opaque)->pictures;
            return avcodec_default_get_buffer2(decoder, frame, flags);
        };
    }
    ~DecodeCounter() { codec->get_buffer2 = avcodec_default_get_buffer2; }
    DecodeCounter(const DecodeCounter &) = delete;
    DecodeCounter &operator=(const DecodeCounter &) = delete;

    /// Pictures since the last call.
    [[nodiscard]] int take()
    {
        const int counted = pictures;
        pictures = 0;
        return counted;
    }

private:
    AVCodecContext *codec;
    int pictures = 0;
};
