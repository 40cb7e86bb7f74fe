#pragma once

#include <memory>

struct AVCodecContext;
struct AVCodecParameters;
struct AVCodecParserContext;
struct AVFormatContext;
struct AVFrame;
struct AVMurMur3;
struct AVPacket;

namespace quorvale::ffmpeg {

void release(AVFormatContext *input);
void release(AVCodecContext *decoder);
void release(AVCodecParameters *parameters);
void release(AVCodecParserContext *parser);
void release(AVMurMur3 *hash);
void release(AVFrame *frame);
void release(AVPacket *packet);

/// Frees an object of FFmpeg's with FFmpeg's own function.
template <typename Object>
struct Deleter
{
    void operator()(Object *object) const { release(object); }
};

template <typename Object>
using Owner = std::unique_ptr<Object, Deleter<Object>>;

using InputPtr = Owner<AVFormatContext>; ///< an input opened with openSingleInput
using DecoderPtr = Owner<AVCodecContext>;
using ParametersPtr = Owner<AVCodecParameters>;
using FramePtr = Owner<AVFrame>;
using PacketPtr = Owner<AVPacket>;

/// A blank packet; throws std::bad_alloc.
[[nodiscard]] PacketPtr makePacket();

/// A blank frame; throws std::bad_alloc.
[[nodiscard]] FramePtr makeFrame();

} // namespace quorvale::ffmpeg
