#pragma once

#include "video/exact/numbers.h"
#include "video/ffmpeg/picturebudget.h"
#include "video/ffmpeg/pointers.h"

#include <cstdint>
#include <memory>

extern "C" {
#include <libavutil/rational.h>
}

struct AVCodec;
struct AVCodecParameters;

namespace quorvale {

/// What a decoder is made from: what probing found out about the stream.
class DecoderRecipe
{
public:
    /// `parameters` are copied; `budget`: of the pictures of all its decoders.
    DecoderRecipe(const AVCodecParameters &parameters, AVRational timeBase, const AVCodec *codec,
                  ffmpeg::PictureBudget budget);

    /// An opened decoder whose pictures carry tags; null where it cannot be opened. It must not decode any longer than
    /// the recipe lives.
    [[nodiscard]] ffmpeg::DecoderPtr make() const;

private:
    ffmpeg::ParametersPtr m_parameters;
    AVRational m_timeBase;
    const AVCodec *m_codec; ///< libavcodec's own
    ffmpeg::PictureBudget m_budget;
};

/// One decoder. Every picture says by its tag which coded picture it is; which packet it comes out with says nothing.
class Decoding
{
public:
    enum class Output { Picture, Nothing, Failed };

    explicit Decoding(ffmpeg::DecoderPtr decoder)
        : m_decoder(std::move(decoder))
    {
    }

    /// Sends a packet of coded picture `picture`; false where the decoder complains.
    bool send(AVPacket &packet, PictureIndex picture);
    /// H.264 with CABAC: as send(), but the decoder is shown its slices' headers only, the first `bytes` bytes. So it
    /// follows which pictures can be referred to and output, and the picture comes out in its turn, but must not be
    /// looked at or referred to. False where the decoder complains of the headers.
    bool sendHeaders(const AVPacket &packet, PictureIndex picture, std::uint16_t bytes);
    /// Has the decoder hand out what it holds back; only flush() makes it take packets again.
    void drain();
    /// Takes the next picture, if there is one.
    Output receive(AVFrame &frame);
    void flush();
    /// Whether the decoder ever got no memory for a picture. What it outputs then is not what one with more memory
    /// does.
    [[nodiscard]] bool lacksMemory() const;
    /// Whether damage is to be refused, instead of making the best of it.
    void setStrict(bool strict);
    /// Whether H.264 pictures come out that the decoder does not know to be whole, see StartPlan.
    void setShowsAll(bool showsAll);
    /// How many pictures that are output later the decoder waits for before it outputs one.
    [[nodiscard]] std::int64_t depth() const;
    /// Has it wait for so many, until the stream makes it wait for more. For a decoder that was flushed.
    void setDepth(std::int64_t depth);

    [[nodiscard]] static PictureIndex pictureOf(const AVFrame &frame);

private:
    ffmpeg::DecoderPtr m_decoder;
};

} // namespace quorvale
