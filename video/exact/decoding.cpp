#include "video/exact/decoding.h"

#include "video/bitstream/h264_slicedata.h"
#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/decoder.h"
#include "video/ffmpeg/picturelimits.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace quorvale {

DecoderRecipe::DecoderRecipe(const AVCodecParameters &parameters, AVRational timeBase, const AVCodec *codec,
                             ffmpeg::PictureBudget budget)
    : m_parameters(avcodec_parameters_alloc())
    , m_timeBase(timeBase)
    , m_codec(codec)
    , m_budget(std::move(budget))
{
    if (m_parameters && avcodec_parameters_copy(m_parameters.get(), &parameters) < 0)
        m_parameters.reset();
}

ffmpeg::DecoderPtr DecoderRecipe::make() const
{
    if (!m_parameters)
        return nullptr;
    ffmpeg::DecoderPtr decoder = ffmpeg::makeDecoder(*m_parameters, m_timeBase, m_codec);
    if (!decoder)
        return nullptr;
    m_budget.limit(*decoder);
    decoder->max_pixels = ffmpeg::kMostPixelsUncounted; // There may be one more beside it.
    ffmpeg::keepTags(*decoder);
    return avcodec_open2(decoder.get(), m_codec, nullptr) < 0 ? nullptr : std::move(decoder);
}

bool Decoding::send(AVPacket &packet, PictureIndex picture)
{
    ffmpeg::tag(*m_decoder, packet, picture.value());
    return ffmpeg::send(*m_decoder, packet) >= 0;
}

bool Decoding::sendHeaders(const AVPacket &packet, PictureIndex picture, std::uint16_t bytes)
{
    const std::vector<std::uint8_t> headers =
        h264::withoutSliceData(packet.data, static_cast<std::size_t>(packet.size), bytes);
    const ffmpeg::PacketPtr cut = ffmpeg::makePacket();
    if (av_new_packet(cut.get(), static_cast<int>(headers.size())) < 0 || av_packet_copy_props(cut.get(), &packet) < 0)
        return false;
    std::copy(headers.begin(), headers.end(), cut->data);
    // Damage is what is meant here: it is neither to be refused nor concealed.
    const int recognition = std::exchange(m_decoder->err_recognition, 0);
    const int concealment = std::exchange(m_decoder->error_concealment, 0);
    const bool isSent = send(*cut, picture);
    m_decoder->err_recognition = recognition;
    m_decoder->error_concealment = concealment;
    return isSent;
}

void Decoding::drain()
{
    avcodec_send_packet(m_decoder.get(), nullptr);
}

Decoding::Output Decoding::receive(AVFrame &frame)
{
    const int status = avcodec_receive_frame(m_decoder.get(), &frame);
    if (status == 0)
        return Output::Picture;
    return status == AVERROR(EAGAIN) || status == AVERROR_EOF ? Output::Nothing : Output::Failed;
}

void Decoding::flush()
{
    ffmpeg::flush(*m_decoder);
}

bool Decoding::lacksMemory() const
{
    return ffmpeg::PictureBudget::wasDenied(*m_decoder);
}

void Decoding::setStrict(bool strict)
{
    ffmpeg::setStrict(*m_decoder, strict);
}

void Decoding::setShowsAll(bool showsAll)
{
    ffmpeg::setShowsAll(*m_decoder, showsAll);
}

std::int64_t Decoding::depth() const
{
    return m_decoder->has_b_frames;
}

void Decoding::setDepth(std::int64_t depth)
{
    m_decoder->has_b_frames = static_cast<int>(depth);
}

PictureIndex Decoding::pictureOf(const AVFrame &frame)
{
    return PictureIndex(ffmpeg::tagOf(frame));
}

} // namespace quorvale
