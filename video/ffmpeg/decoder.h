#pragma once

#include "video/ffmpeg/pointers.h"
#include "video/ffmpeg/unitcount.h"

#include <cstdint>

struct AVCodec;
struct AVCodecContext;
struct AVCodecParameters;
struct AVPacket;
struct AVRational;

namespace quorvale::ffmpeg {

/// A decoder can hold a packet in several damaged pieces. If it fails more often than this for one packet, it fails
/// without consuming anything.
inline constexpr int kMostDamagedPictures = 64;

/// A decoder for the packets of a stream, set up and not opened yet; null without memory, and where the stream's header
/// claims too much of it.
///
/// It has one thread and refuses pictures of absurd sizes. `timeBase`: that of the packets' timestamps; `codec`: the
/// one that it will be opened with.
[[nodiscard]] DecoderPtr makeDecoder(const AVCodecParameters &parameters, AVRational timeBase, const AVCodec *codec);

/// The most pixels that a picture may have which `codec` decodes.
[[nodiscard]] std::int64_t mostPixelsOf(const AVCodec &codec);

/// The most bytes that a packet of a `codec` may have.
[[nodiscard]] std::int64_t mostPacketBytesOf(AVCodecID codec);

/// Whether FFmpeg's decoders take little memory for the header of this stream, beside its pictures.
[[nodiscard]] bool isBounded(const AVCodecParameters &parameters);

/// Whether they take little memory and time for what `packet` claims to hold, beside the picture. `header`: of its
/// stream, which is one of `codec`.
[[nodiscard]] bool isBounded(AVCodecID codec, const StreamHeader &header, const AVPacket &packet);

/// Gives the packet to the decoder: what avcodec_send_packet returns, or AVERROR_INVALIDDATA if it is not bounded.
[[nodiscard]] int send(AVCodecContext &decoder, const AVPacket &packet);

/// Has the decoder forget what it was sent: the next picture is of a packet that is sent after this.
void flush(AVCodecContext &decoder);

/// Whether the decoder refuses what is damaged, instead of making the best of it, as it does at first.
void setStrict(AVCodecContext &decoder, bool strict);

/// Whether pictures come out that the decoder takes for damaged. By itself it drops them.
void setShowsAll(AVCodecContext &decoder, bool showsAll);

/// Whether the decoder says that something in the picture is wrong.
[[nodiscard]] bool isDamaged(const AVFrame &picture);

} // namespace quorvale::ffmpeg
