#pragma once

#include "video/ffmpeg/timestamp.h"

// Every difference between FFmpeg 4.4 and the newest major version that matters here, one named function each. No other
// file asks for FFmpeg's version; tests/house checks it.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

#include <cstdint>
#include <cstring>
#include <new>

#if LIBAVCODEC_VERSION_INT >= AV_VERSION_INT(59, 24, 100) // 5.1
#define QUORVALE_FFMPEG_HAS_CHANNEL_LAYOUT 1
#else
#define QUORVALE_FFMPEG_HAS_CHANNEL_LAYOUT 0
#endif

namespace quorvale::ffmpeg {

static_assert(kNoTimestamp == AV_NOPTS_VALUE);

/// Prepares the libraries, once in a process: keeps them from writing to the terminal, because a damaged broadcast is
/// nothing to report. (Codecs and containers register themselves since FFmpeg 4.0.)
inline void registerLibraries()
{
    av_log_set_level(AV_LOG_QUIET);
}

#if LIBAVFORMAT_VERSION_MAJOR >= 59 // 5.0 made demultiplexers const
using InputFormat = const AVInputFormat;
#else
using InputFormat = AVInputFormat;
#endif

/// What an MP4 file's index takes for a sample that has no time of its own for output: its place, and, where FFmpeg
/// writes them out for each sample, its duration and such a time, with what is left over in its pieces of memory. (7.1
/// does not do so, 9.0 does.)
#if LIBAVFORMAT_VERSION_MAJOR >= 62 // 8.0
inline constexpr std::int64_t kBytesAnMp4Sample = 37;
#else
inline constexpr std::int64_t kBytesAnMp4Sample = 24;
#endif

/// Whether a decoder of HEVC calls a picture damaged if it misses another one that is in its reference picture set and
/// that no slice refers to. (9.0 does so, 5.1 does not.)
inline constexpr bool kNeedsWholeReferenceSets = LIBAVCODEC_VERSION_MAJOR > 59; // 5.1

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

/// Prepares a decoder, opened or not, for tag().
inline void keepTags(AVCodecContext &decoder)
{
#ifdef AV_CODEC_FLAG_COPY_OPAQUE // 6.0
    decoder.flags |= AV_CODEC_FLAG_COPY_OPAQUE;
#else
    (void)decoder;
#endif
}

/// Makes the picture that begins with `packet`, the next one to be sent, carry the number `value`, with all 64 bits on
/// every machine. Throws std::bad_alloc.
inline void tag(AVCodecContext &decoder, AVPacket &packet, std::int64_t value)
{
#ifdef AV_CODEC_FLAG_COPY_OPAQUE
    (void)decoder;
    AVBufferRef *number = av_buffer_alloc(sizeof value);
    if (!number)
        throw std::bad_alloc();
    std::memcpy(number->data, &value, sizeof value);
    av_buffer_unref(&packet.opaque_ref);
    packet.opaque_ref = number; // owned by the packet
#else
    (void)packet;
    decoder.reordered_opaque = value;
#endif
}

/// The number that tag() gave to the packet with which the picture begins; negative if it gave none.
inline std::int64_t tagOf(const AVFrame &frame)
{
#ifdef AV_CODEC_FLAG_COPY_OPAQUE
    std::int64_t value = -1;
    if (frame.opaque_ref && frame.opaque_ref->size == sizeof value)
        std::memcpy(&value, frame.opaque_ref->data, sizeof value);
    return value;
#else
    return frame.reordered_opaque;
#endif
}

} // namespace quorvale::ffmpeg
