#pragma once

// Every difference between FFmpeg 4.4 and the newest major version that this room meets, one named function each.
// No other file asks which version it is compiled against.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

#include <cstdint>

#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(59, 24, 100) // 5.1
#define QUORVALE_FFMPEG_HAS_CHANNEL_LAYOUT 1
#else
#define QUORVALE_FFMPEG_HAS_CHANNEL_LAYOUT 0
#endif

namespace ffmpeg {

/// Prepares the libraries, once in a process. Codecs and containers register themselves since FFmpeg 4.0; what is
/// left is to keep the libraries from writing to the terminal: a damaged broadcast is nothing to report.
inline void registerLibraries()
{
    av_log_set_level(AV_LOG_QUIET);
}

#if LIBAVFORMAT_VERSION_MAJOR >= 59 // 5.0 made demultiplexers const
using InputFormat = const AVInputFormat;
#else
using InputFormat = AVInputFormat;
#endif

/// Index of the stream of `type` that a player would choose, with the `decoder` for it; negative where there is none.
inline int findBestStream(AVFormatContext *input, AVMediaType type, const AVCodec *&decoder)
{
#if LIBAVFORMAT_VERSION_MAJOR >= 59 // 5.0 made codecs const
    return av_find_best_stream(input, type, -1, -1, &decoder, 0);
#else
    AVCodec *found = nullptr;
    const int stream = av_find_best_stream(input, type, -1, -1, &found, 0);
    decoder = found;
    return stream;
#endif
}

/// Number of audio channels.
inline int channelCount(const AVCodecContext &codec)
{
#if QUORVALE_FFMPEG_HAS_CHANNEL_LAYOUT
    return codec.ch_layout.nb_channels;
#else
    return codec.channels;
#endif
}

/// Number of channels of one decoded piece of audio.
inline int channelCount(const AVFrame &frame)
{
#if QUORVALE_FFMPEG_HAS_CHANNEL_LAYOUT
    return frame.ch_layout.nb_channels;
#else
    return frame.channels;
#endif
}

/// Whether the decoder marked the picture as a key frame.
inline bool isKeyFrame(const AVFrame &frame)
{
#ifdef AV_FRAME_FLAG_KEY // 6.1
    return (frame.flags & AV_FRAME_FLAG_KEY) != 0;
#else
    return frame.key_frame != 0;
#endif
}

/// Prepares an opened decoder for tag().
inline void keepTags(AVCodecContext &decoder)
{
#ifdef AV_CODEC_FLAG_COPY_OPAQUE // 6.0
    decoder.flags |= AV_CODEC_FLAG_COPY_OPAQUE;
#else
    (void)decoder;
#endif
}

/// Has the picture that begins with `packet`, the next one to be sent, carry the number `value`.
inline void tag(AVCodecContext &decoder, AVPacket &packet, std::int64_t value)
{
#ifdef AV_CODEC_FLAG_COPY_OPAQUE
    (void)decoder;
    packet.opaque = reinterpret_cast<void *>(static_cast<std::intptr_t>(value)); // NOLINT(performance-no-int-to-ptr)
#else
    (void)packet;
    decoder.reordered_opaque = value;
#endif
}

/// The number that tag() gave to the packet with which the picture begins.
inline std::int64_t tagOf(const AVFrame &frame)
{
#ifdef AV_CODEC_FLAG_COPY_OPAQUE
    return reinterpret_cast<std::intptr_t>(frame.opaque);
#else
    return frame.reordered_opaque;
#endif
}

/// Whether the decoder says that something in the picture is wrong.
inline bool isDamaged(const AVFrame &frame)
{
    return frame.decode_error_flags != 0 || (frame.flags & AV_FRAME_FLAG_CORRUPT) != 0;
}

/// Whether the decoder refuses what is damaged, instead of making the best of it.
inline void setStrict(AVCodecContext &decoder, bool strict)
{
    if (strict)
        decoder.err_recognition |= AV_EF_EXPLODE;
    else
        decoder.err_recognition &= ~AV_EF_EXPLODE;
}

} // namespace ffmpeg
