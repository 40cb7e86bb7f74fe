#include "video/ffmpeg/singleinput.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/decoder.h"
#include "video/ffmpeg/inputformats.h"
#include "video/ffmpeg/matroskalists.h"
#include "video/ffmpeg/mp4tables.h"
#include "video/ffmpeg/mxfindex.h"
#include "video/ffmpeg/parametersets.h"
#include "video/ffmpeg/picturelimits.h"
#include "video/ffmpeg/regularfile.h"
#include "video/ffmpeg/unitwatch.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cstdint>

namespace quorvale::ffmpeg {

namespace {

// A whole multiplex of a dozen programmes has about as many. Each stream of a small file takes some 100 KB.
constexpr int kMostStreams = 128;

// FFmpeg copies a stream's header four times while it probes. The longest are some hundred bytes of parameter sets, or
// a few KB of codebooks.
constexpr std::int64_t kMostStreamHeaderBytes = kMiB;

// What FFmpeg reads to open a file. An AVI file's index of ten hours at 50 pictures a second with sound has 58 MB; the
// texts of an Ogg file, which may be a picture of the cover, take nine times their size, and NUT's index 24 times.
// Others have short headers.
constexpr std::int64_t kMostAviBytes = 64 * kMiB;
constexpr std::int64_t kMostOggOrNutBytes = 4 * kMiB;
constexpr std::int64_t kMostOpeningBytes = 16 * kMiB;
// FFmpeg makes three bytes of each one of an AVI file's index, at most.
constexpr std::int64_t kAviTableBytes = 3;

int openNothingElse(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **)
{
    return AVERROR(EPERM);
}

// Some containers open what they name with a context of their own. That inherits the protocols which are allowed.
bool restrictToItself(AVFormatContext &input)
{
    input.io_open = openNothingElse;
    input.max_streams = kMostStreams;
    return av_opt_set(&input, "protocol_whitelist", "none", 0) >= 0;
}

// The containers whose structures are watched while FFmpeg reads them.
const ClaimWatch::Structures *structuresOf(const InputFormat &format)
{
    if (av_match_name("matroska", format.name) > 0)
        return &kMatroskaLists;
    return av_match_name("mxf", format.name) > 0 ? &kMxfIndexTables : nullptr;
}

std::int64_t mostOpeningBytes(const InputFormat &format)
{
    // Of these the tables are judged.
    if (structuresOf(format) || av_match_name("mp4", format.name) > 0)
        return INT64_MAX;
    if (av_match_name("avi", format.name) > 0)
        return kMostAviBytes;
    return av_match_name(format.name, "ogg,nut") > 0 ? kMostOggOrNutBytes : kMostOpeningBytes;
}

std::int64_t mostPacketBytes(const AVFormatContext &input)
{
    std::int64_t most = kMostPacketBytes;
    for (unsigned i = 0; i < input.nb_streams; ++i) {
        const AVCodecParameters &stream = *input.streams[i]->codecpar;
        const std::int64_t pixels = pixelsClaimed(stream.width, stream.height);
        if (stream.codec_type == AVMEDIA_TYPE_VIDEO && pixels > kUsualPixels)
            most = std::max(most, std::min(mostPacketBytesOf(stream.codec_id), pixels * kMostPacketBytesAPixel));
    }
    return most;
}

// FFmpeg's parsers of these codecs keep up to 4 KiB for each unit of a packet, before anyone sees it; compressed, 2 KB
// are a gigabyte. Where packets are whole pictures, their containers say all that parsers find out: key frames and
// times.
bool needsNoParsers(const AVFormatContext &input)
{
    const char *format = input.iformat->name;
    if (av_match_name(format, "mpegts,mpeg,hevc,vvc,obu,flv,live_flv") > 0) // What is read of these is watched.
        return false;
    const bool isIvf = av_match_name("ivf", format) > 0; // whose AV1 is watched
    return std::any_of(input.streams, input.streams + input.nb_streams, [isIvf](const AVStream *stream) {
        const AVCodecID codec = stream->codecpar->codec_id;
        return codec == AV_CODEC_ID_HEVC || codec == AV_CODEC_ID_VVC || (codec == AV_CODEC_ID_AV1 && !isIvf);
    });
}

// What `file` is, as FFmpeg finds it by itself; null if it is nothing that FFmpeg knows, or claims what is absurd.
InputFormat *formatOf(AVIOContext &file, const char *path)
{
    InputFormat *format = nullptr;
    if (av_probe_input_buffer2(&file, &format, path, nullptr, 0, 0) < 0 || !format)
        return nullptr;
    if (av_match_name("mp4", format->name) <= 0)
        return format;
    const std::optional<std::int64_t> bytes = mp4TableBytes(file);
    noteTables(file, bytes.value_or(0));
    return bytes ? format : nullptr;
}

// Attachments are what their containers may claim.
bool hasShortHeaders(const AVFormatContext &input)
{
    std::int64_t bytes = 0;
    for (unsigned i = 0; i < input.nb_streams; ++i) {
        const AVCodecParameters &stream = *input.streams[i]->codecpar;
        bytes += stream.codec_type == AVMEDIA_TYPE_ATTACHMENT ? 0 : stream.extradata_size;
    }
    return bytes <= kMostStreamHeaderBytes;
}

// Opens `path` in the place of `file`, of which up to 1 MiB was read, and watches it from the start.
bool watchFromTheStart(AVIOContext *&file, const char *path, const ClaimWatch::Structures *structures)
{
    closeRegularFile(file);
    file = openRegularFile(path);
    if (file && structures)
        watch(*file, *structures);
    return file != nullptr;
}

} // namespace

bool openSingleInput(AVFormatContext *&input, const char *path)
{
    input = nullptr;
    AVIOContext *file = openRegularFile(path);
    if (!file)
        return false;
    InputFormat *format = formatOf(*file, path);
    const ClaimWatch::Structures *structures = format ? structuresOf(*format) : nullptr;
    // Of what is parsed in pieces, little is to be read ahead.
    const bool isInPieces = format && av_match_name(format->name, "mpegts,mpeg") > 0;
    if ((structures || isInPieces) && !watchFromTheStart(file, path, structures))
        return false;
    AVFormatContext *opening = format ? avformat_alloc_context() : nullptr;
    if (!opening || !restrictToItself(*opening) || !restrictToVideo(*opening)) {
        avformat_free_context(opening);
        closeRegularFile(file);
        return false;
    }
    opening->pb = file;
    ReadingLimits &limits = readingLimits(*file);
    limits.beginOpening(*opening, mostOpeningBytes(*format));
    if (avformat_open_input(&opening, path, format, nullptr) < 0) { // which frees it where it fails
        closeRegularFile(file);
        return false;
    }
    input = opening;
    limits.endOpening(mostPacketBytes(*input));
    if (av_match_name("avi", format->name) > 0)
        noteTables(*file, limits.openingBytes() * kAviTableBytes);
    if (needsNoParsers(*input))
        input->flags |= AVFMT_FLAG_NOPARSE;
    watchUnits(*file, *input);
    if (!isContent(*file) || !hasShortHeaders(*input))
        closeSingleInput(input);
    return input != nullptr;
}

bool findStreams(AVFormatContext &input, AVDictionary **options)
{
    UnitWatch *units = unitWatch(*input.pb);
    if (units)
        units->setProbing(true);
    const bool isDone = avformat_find_stream_info(&input, options) >= 0;
    if (units)
        units->setProbing(false);
    return isDone;
}

int readPacket(AVFormatContext &input, AVPacket &packet)
{
    ParameterSets &sets = parameterSets(*input.pb);
    const int status = sets.isContent() ? av_read_frame(&input, &packet) : AVERROR(EPERM);
    if (status < 0)
        return status;
    if (UnitWatch *units = unitWatch(*input.pb))
        units->endPacket(*input.streams[packet.stream_index]);
    const AVCodecParameters &stream = *input.streams[packet.stream_index]->codecpar;
    if (sets.allows(packet.stream_index, stream.codec_id, {stream.extradata, stream.extradata_size}, packet))
        return status;
    av_packet_unref(&packet);
    return AVERROR(EPERM);
}

void closeSingleInput(AVFormatContext *&input)
{
    if (!input)
        return;
    // What FFmpeg has not opened itself it does not close.
    AVIOContext *file = (input->flags & AVFMT_FLAG_CUSTOM_IO) != 0 ? input->pb : nullptr;
    avformat_close_input(&input);
    closeRegularFile(file);
}

} // namespace quorvale::ffmpeg
