#include "video/ffmpeg/decoder.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/ffv1slices.h"
#include "video/ffmpeg/inputformats.h"
#include "video/ffmpeg/jpeg2000blocks.h"
#include "video/ffmpeg/picturelimits.h"

extern "C" {
#include <libavutil/avstring.h>
}

namespace quorvale::ffmpeg {

namespace {

bool isIntraOnly(AVCodecID codec)
{
    const AVCodecDescriptor *facts = avcodec_descriptor_get(codec);
    return facts && (facts->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
}

// Each of its packets is a picture as it is.
bool isUncompressed(AVCodecID codec)
{
    return av_match_name(avcodec_get_name(codec), "rawvideo,v210,v210x,v308,v408,v410,yuv4,y41p,ayuv,r210,r10k,avrp") >
           0;
}

bool holdsUncountedPictures(const AVCodec &codec)
{
    return (codec.capabilities & AV_CODEC_CAP_DR1) == 0 && !isIntraOnly(codec.id);
}

} // namespace

std::int64_t mostPixelsOf(const AVCodec &codec)
{
    return holdsUncountedPictures(codec) ? kMostPixelsUncounted : kMostPixels;
}

std::int64_t mostPacketBytesOf(AVCodecID codec)
{
    if (isUncompressed(codec))
        return kMostUncompressedBytes;
    return isIntraOnly(codec) ? kMostBytesInOnePiece : kMostPacketBytes;
}

DecoderPtr makeDecoder(const AVCodecParameters &parameters, AVRational timeBase, const AVCodec *codec)
{
    DecoderPtr decoder(isBounded(parameters) ? avcodec_alloc_context3(codec) : nullptr);
    if (!decoder || avcodec_parameters_to_context(decoder.get(), &parameters) < 0 || !restrictToVideo(*decoder))
        return nullptr;
    decoder->pkt_timebase = timeBase;
    // One thread. Frame threads change which packet completes a picture, and thereby the table's rows and the number
    // of pictures at the end of the file; any threads change how damaged pictures are concealed.
    decoder->thread_count = 1;
    decoder->max_pixels = mostPixelsOf(*codec);
    return decoder;
}

bool isBounded(const AVCodecParameters &parameters)
{
    return hasBoundedSlices(parameters);
}

bool isBounded(AVCodecID codec, const StreamHeader &header, const AVPacket &packet)
{
    return packet.size == 0 || (packet.size <= mostPacketBytesOf(codec) && hasBoundedUnits(codec, header, packet) &&
                                (codec != AV_CODEC_ID_JPEG2000 || hasBoundedBlocks(packet)));
}

int send(AVCodecContext &decoder, const AVPacket &packet)
{
    return isBounded(decoder.codec_id, {decoder.extradata, decoder.extradata_size}, packet)
               ? avcodec_send_packet(&decoder, &packet)
               : AVERROR_INVALIDDATA;
}

void flush(AVCodecContext &decoder)
{
    avcodec_flush_buffers(&decoder);
    // From FFmpeg 7.1 on, HEVC pictures that were ready and not taken are handed out all the same.
    const FramePtr stale = makeFrame();
    while (avcodec_receive_frame(&decoder, stale.get()) == 0)
        av_frame_unref(stale.get());
}

void setStrict(AVCodecContext &decoder, bool strict)
{
    if (strict)
        decoder.err_recognition |= AV_EF_EXPLODE;
    else
        decoder.err_recognition &= ~AV_EF_EXPLODE;
}

void setShowsAll(AVCodecContext &decoder, bool showsAll)
{
    if (showsAll)
        decoder.flags |= AV_CODEC_FLAG_OUTPUT_CORRUPT;
    else
        decoder.flags &= ~AV_CODEC_FLAG_OUTPUT_CORRUPT;
}

bool isDamaged(const AVFrame &picture)
{
    return picture.decode_error_flags != 0 || (picture.flags & AV_FRAME_FLAG_CORRUPT) != 0;
}

} // namespace quorvale::ffmpeg
