#pragma once

#include <memory>

struct AVCodecContext;
struct AVFormatContext;
struct AVFrame;
struct AVPacket;

namespace ffmpeg {

struct InputCloser
{
    void operator()(AVFormatContext *input) const;
};
struct DecoderDeleter
{
    void operator()(AVCodecContext *decoder) const;
};
struct FrameDeleter
{
    void operator()(AVFrame *frame) const;
};
struct PacketDeleter
{
    void operator()(AVPacket *packet) const;
};

using InputPtr = std::unique_ptr<AVFormatContext, InputCloser>; ///< an input opened with openSingleInput
using DecoderPtr = std::unique_ptr<AVCodecContext, DecoderDeleter>;
using FramePtr = std::unique_ptr<AVFrame, FrameDeleter>;
using PacketPtr = std::unique_ptr<AVPacket, PacketDeleter>;

/// A blank packet; throws std::bad_alloc.
[[nodiscard]] PacketPtr makePacket();

/// A blank frame; throws std::bad_alloc.
[[nodiscard]] FramePtr makeFrame();

} // namespace ffmpeg
