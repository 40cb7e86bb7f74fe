#include "video/ffmpeg/probingcost.h"

#include "video/ffmpeg/decoder.h"
#include "video/ffmpeg/ffv1slices.h"
#include "video/ffmpeg/parametersets.h"
#include "video/ffmpeg/picturelimits.h"
#include "video/ffmpeg/pointers.h"
#include "video/ffmpeg/regularfile.h"
#include "video/ffmpeg/singleinput.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
}

#include <algorithm>
#include <optional>

namespace quorvale::ffmpeg {

namespace {

constexpr std::int64_t kUsualProbingBytes = 192 * kMiB;
constexpr std::int64_t kLargeProbingBytes = 896 * kMiB;
// With three planes of two bytes a sample, which is the most that the decoders have which refer to pictures.
constexpr int kMostBytesAPixel = 6;

// How many pictures a decoder may hold while the first few of a stream are decoded, whatever the stream says.
int picturesHeldBy(AVCodecID codec)
{
    const AVCodecDescriptor *facts = avcodec_descriptor_get(codec);
    if (facts && (facts->props & AV_CODEC_PROP_INTRA_ONLY) != 0)
        return 2;
    switch (codec) {
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_MPEG2VIDEO:
    case AV_CODEC_ID_MPEG4:
        return 5; // two references, the next one, and two in the place of references that are missing
    case AV_CODEC_ID_H264:
        return 36; // 16 references, 16 that wait for their turn, and those in hand
    default:
        return 18; // 16 references of HEVC, or what it makes in the place of missing ones; 8 and fewer elsewhere
    }
}

StreamHeader headerOf(const AVCodecParameters &stream)
{
    return {stream.extradata, stream.extradata_size};
}

/// Reads what a stream's packets say about their pictures.
class StreamClaim
{
public:
    void read(const AVStream &stream, const AVPacket &packet)
    {
        if (!m_parser || m_codec != stream.codecpar->codec_id)
            begin(*stream.codecpar);
        const AVCodecParameters &parameters = *stream.codecpar;
        m_isBounded = m_isBounded && isBounded(parameters.codec_id, headerOf(parameters), packet);
        m_hasSurprise = m_hasSurprise || av_packet_get_side_data(&packet, AV_PKT_DATA_NEW_EXTRADATA, nullptr);
        note(stream.codecpar->width, stream.codecpar->height, AV_PIX_FMT_NONE);
        if (!m_parser || !m_context)
            return;
        std::uint8_t *picture = nullptr;
        int size = 0;
        av_parser_parse2(m_parser.get(), m_context.get(), &picture, &size, packet.data, packet.size, packet.pts,
                         packet.dts, packet.pos);
        m_sizeIsRead = m_sizeIsRead || m_parser->width > 0;
        note(std::max(m_parser->width, m_parser->coded_width), std::max(m_parser->height, m_parser->coded_height),
             static_cast<AVPixelFormat>(m_parser->format));
    }

    [[nodiscard]] std::int64_t pixels() const { return m_pixels; }
    /// Of all pictures that a decoder may hold.
    [[nodiscard]] std::int64_t bytes() const { return m_bytes * picturesHeldBy(m_codec); }
    /// Whether the sizes are those that the decoder reads.
    [[nodiscard]] bool isCertain() const { return m_sizeIsRead && !m_hasSurprise; }
    [[nodiscard]] bool hasSurprise() const { return m_hasSurprise; }

    [[nodiscard]] bool hasBoundedPackets() const { return m_isBounded; }

    /// The stream may have pictures of `pixels` pixels, whatever was read.
    void allow(std::int64_t pixels)
    {
        m_pixels = std::max(m_pixels, pixels);
        m_bytes = std::max(m_bytes, pixels * 2);
    }

private:
    void begin(const AVCodecParameters &parameters)
    {
        m_codec = parameters.codec_id;
        m_parser.reset(av_parser_init(m_codec));
        m_context.reset(avcodec_alloc_context3(nullptr));
        if (m_parser)
            m_parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
        if (m_context && avcodec_parameters_to_context(m_context.get(), &parameters) < 0)
            m_context.reset();
    }

    void note(int width, int height, AVPixelFormat format)
    {
        const std::int64_t pixels = pixelsClaimed(width, height);
        const int size = format == AV_PIX_FMT_NONE ? -1 : av_image_get_buffer_size(format, width, height, 1);
        // A container says nothing about the format; there it is the commonest until a parser knows better.
        const std::int64_t bytes = size >= 0 ? size : pixels * (m_sizeIsRead ? kMostBytesAPixel : 2);
        m_pixels = std::max(m_pixels, pixels);
        m_bytes = std::max(m_bytes, bytes + pixels / 2); // with what decoders keep beside a picture
    }

    AVCodecID m_codec = AV_CODEC_ID_NONE;
    Owner<AVCodecParserContext> m_parser;
    DecoderPtr m_context; ///< never opened: what the parser knows
    std::int64_t m_pixels = 0;
    std::int64_t m_bytes = 0; ///< of one picture
    bool m_isBounded = true;
    bool m_sizeIsRead = false;
    bool m_hasSurprise = false; ///< of what the container brings in the middle, parsers see nothing
};

// As far as probing reads, by the same measure. Nullopt if there is a packet of too many NAL units, or too many
// parameter sets: probing looks for headers in it, whatever decoders it has.
std::optional<std::vector<StreamClaim>> readClaims(AVFormatContext &input)
{
    std::vector<StreamClaim> claims(input.nb_streams);
    const PacketPtr packet = makePacket();
    for (std::int64_t bytes = 0; bytes < input.probesize && readPacket(input, *packet) >= 0;) {
        claims.resize(std::max<std::size_t>(claims.size(), input.nb_streams));
        const auto index = static_cast<std::size_t>(packet->stream_index);
        const AVStream &stream = *input.streams[index];
        if (!hasBoundedUnits(stream.codecpar->codec_id, headerOf(*stream.codecpar), *packet))
            return std::nullopt;
        if (stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO)
            claims[index].read(stream, *packet);
        bytes += packet->size;
        av_packet_unref(packet.get());
    }
    // A header may be there before a packet is.
    for (unsigned i = 0; i < input.nb_streams; ++i) {
        const AVCodecParameters &stream = *input.streams[i]->codecpar;
        if (!parameterSets(*input.pb).allows(static_cast<int>(i), stream.codec_id, headerOf(stream)))
            return std::nullopt;
    }
    if (!isContent(*input.pb))
        return std::nullopt;
    claims.resize(std::max<std::size_t>(claims.size(), input.nb_streams));
    return claims;
}

} // namespace

std::optional<ProbingCost> probingCost(AVFormatContext &input)
{
    const std::size_t known = input.nb_streams;
    std::optional<std::vector<StreamClaim>> claims = readClaims(input);
    if (!claims)
        return std::nullopt;
    std::int64_t bytes = 0;
    bool isLarge = false;
    ProbingCost cost;
    cost.fits = true;
    for (std::size_t index = 0; index < claims->size(); ++index) {
        StreamClaim &claim = (*claims)[index];
        const bool isVideo = input.streams[index]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
        // Of a stream that was known at once, probing's decoder can be told to refuse what is larger.
        cost.fits = cost.fits && isBounded(*input.streams[index]->codecpar) && claim.hasBoundedPackets();
        if (isVideo && !claim.isCertain()) {
            cost.fits = cost.fits && index < known && !claim.hasSurprise();
            claim.allow(kUsualPixels);
        }
        if (index < known)
            cost.pixels.push_back(std::max(claim.pixels(), kUsualPixels));
        isLarge = isLarge || claim.pixels() > kUsualPixels;
        bytes += isVideo ? claim.bytes() + sliceBytes(*input.streams[index]->codecpar) : 0;
    }
    cost.fits = cost.fits && bytes <= (isLarge ? kLargeProbingBytes : kUsualProbingBytes);
    return cost;
}

} // namespace quorvale::ffmpeg
