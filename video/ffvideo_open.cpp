#include "video/ffvideo.h"

#include "video/ffmpeg/inputformats.h"
#include "video/ffmpeg_compat.h"
#include "video/framecount.h"
#include "video/picturelimits.h"
#include "video/saturate.h"
#include "video/singleinput.h"
#include "video/skipahead.h"

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/rational.h>
}

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

static_assert(AV_NOPTS_VALUE == INT64_MIN, "the header spells the missing timestamp out");

namespace {

// Bound of a display aspect ratio's terms after reduction.
constexpr std::int64_t kLargestAspectTerm = 1024 * 1024;

bool startsWith(const char *text, const char *beginning)
{
    return std::strncmp(text, beginning, std::strlen(beginning)) == 0;
}

// A decoder context for `stream` that knows what probing found out; null without memory. Not opened yet.
ffmpeg::DecoderPtr makeDecoder(const AVStream &stream, const AVCodec *codec)
{
    ffmpeg::DecoderPtr decoder(avcodec_alloc_context3(codec));
    if (!decoder || avcodec_parameters_to_context(decoder.get(), stream.codecpar) < 0 ||
        !quorvale::restrictToVideo(*decoder))
        return nullptr;
    decoder->pkt_timebase = stream.time_base;
    // One thread. Frame threads change which packet completes a picture, and thereby the table's rows and the number
    // of pictures at the end of the file; any threads change how damaged pictures are concealed.
    decoder->thread_count = 1;
    decoder->max_pixels = kMostPixels;
    return decoder;
}

// Options for the decoders with which probing looks at the streams that are known by now: their pictures are looked at
// for their kind and their order alone. Each stream's pictures are held until all are known, so the bound of one
// picture is shared among them. Of streams that it meets only later it knows no options; the bound on single pieces of
// memory is left for them.
class ProbeOptions
{
public:
    explicit ProbeOptions(const AVFormatContext &input)
        : m_options(input.nb_streams)
    {
        std::int64_t videoStreams = 0;
        for (unsigned i = 0; i < input.nb_streams; ++i)
            videoStreams += input.streams[i]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO ? 1 : 0;
        for (AVDictionary *&options : m_options) {
            av_dict_set_int(&options, "max_pixels", kMostPixels / std::max<std::int64_t>(videoStreams, 1), 0);
            av_dict_set(&options, "skip_loop_filter", "all", 0);
            av_dict_set(&options, "skip_idct", "all", 0);
        }
    }
    ~ProbeOptions()
    {
        for (AVDictionary *&options : m_options)
            av_dict_free(&options);
    }
    ProbeOptions(const ProbeOptions &) = delete;
    ProbeOptions &operator=(const ProbeOptions &) = delete;

    AVDictionary **get() { return m_options.empty() ? nullptr : m_options.data(); }

private:
    std::vector<AVDictionary *> m_options;
};

bool isTooLarge(const AVCodecParameters &video)
{
    return std::int64_t{video.width} * video.height > kMostPixels;
}

std::string tagText(std::uint32_t tag)
{
    std::string text;
    for (; (tag & 0xFF) != 0; tag >>= 8)
        text += static_cast<char>(tag & 0xFF);
    return text;
}

// Width on a display with square pixels. Single precision, as thumbnails have always been sized.
std::int32_t displayWidth(const AVCodecContext &video)
{
    const AVRational aspect = video.sample_aspect_ratio;
    if (aspect.num == 0)
        return video.width;
    int num = 0;
    int den = 0;
    av_reduce(&num, &den, static_cast<std::int64_t>(aspect.num) * video.width,
              static_cast<std::int64_t>(aspect.den) * video.height, kLargestAspectTerm);
    return truncateToInt32(static_cast<float>(video.height) / static_cast<float>(den) * static_cast<float>(num));
}

std::int32_t fieldOrderOf(const AVCodecContext &video)
{
    switch (video.field_order) {
    case AV_FIELD_PROGRESSIVE:
        return 0;
    case AV_FIELD_BB:
    case AV_FIELD_BT:
        return 1;
    case AV_FIELD_TT:
    case AV_FIELD_TB:
        return 2;
    default:
        return 3;
    }
}

struct SampleKind
{
    std::int32_t bits;
    FFAudioFormat format;
};

SampleKind sampleKindOf(AVSampleFormat format)
{
    switch (av_get_packed_sample_fmt(format)) {
    case AV_SAMPLE_FMT_U8:
        return {8, FF_AUDIO_U8};
    case AV_SAMPLE_FMT_S16:
        return {16, FF_AUDIO_S16};
    case AV_SAMPLE_FMT_S32:
        return {32, FF_AUDIO_S32};
    case AV_SAMPLE_FMT_FLT:
        return {32, FF_AUDIO_FLOAT};
    case AV_SAMPLE_FMT_DBL:
        return {64, FF_AUDIO_DOUBLE};
    default:
        return {-1, FF_AUDIO_UNKNOWN};
    }
}

} // namespace

bool FFVideo::Open(const char *path, bool quickOpen, AccessMode mode)
{
    if (accessMode != FF_ACCESS_CLOSED)
        Close();
    registerOnce();
    lastError = FF_ERROR_NONE;
    if (mode != FF_ACCESS_READ)
        return false;

    skipOrder.counters = {};
    frameCount = 0;
    currentFrame = -1;
    lastDts = previousDts = seekDts = firstDts = kNoTimestamp;
    endOfStream = false;

    if (!openStreams(path)) {
        closeSingleInput(formatContext);
        lastError = FF_ERROR_OPEN;
        return false;
    }
    readVideoFacts();

    const char *container = formatContext->iformat->name;
    if (startsWith(container, "hevc"))
        isHevc = true;

    if (hasTable()) {
        frameCount = keyFrames.frames;
    } else {
        ReleaseKFT(&keyFrames);
        InitialiseKFT(&keyFrames, path, -1);
        if (startsWith(container, "mpegts") && codecName == "HDMV") {
            forceKeyEntry = true;
            restartSeeks = true;
        }
        if (skipOrder.given && quickOpen)
            watchPackets();
        stepForward();
        if (!quickOpen)
            completeSeekTable();
    }
    accessMode = FF_ACCESS_READ;
    return true;
}

// Whether a table was loaded or set. Rows that Close discarded do not count, a completeness that it left behind does.
bool FFVideo::hasTable() const
{
    return keyFrames.complete || rowsHeld(&keyFrames) > 0;
}

bool FFVideo::openStreams(const char *path)
{
    releaseFile();
    if (!openSingleInput(formatContext, path))
        return false;
    ProbeOptions options(*formatContext);
    if (avformat_find_stream_info(formatContext, options.get()) < 0)
        return false;
    return openVideo() && openAudio();
}

bool FFVideo::openVideo()
{
    const AVCodec *codec = nullptr;
    videoStream = ffmpeg::findBestStream(formatContext, AVMEDIA_TYPE_VIDEO, codec);
    if (videoStream < 0)
        return false;
    hasVideo = true;
    passOverUpTo = kNoTimestamp;
    if (isTooLarge(*formatContext->streams[videoStream]->codecpar))
        return false;

    ffmpeg::DecoderPtr decoder = makeDecoder(*formatContext->streams[videoStream], codec);
    if (!decoder)
        return false;
    pictureBudget.limit(*decoder);
    if (avcodec_open2(decoder.get(), codec, nullptr) < 0)
        return false;
    videoCodec = decoder.release();
    return true;
}

// True where there is no audio, too. The video decoder stays as it is where the audio's does not open.
bool FFVideo::openAudio()
{
    const AVCodec *codec = nullptr;
    audioStream = ffmpeg::findBestStream(formatContext, AVMEDIA_TYPE_AUDIO, codec);
    hasAudio = audioStream >= 0;
    if (!hasAudio)
        return true;

    ffmpeg::DecoderPtr decoder = makeDecoder(*formatContext->streams[audioStream], codec);
    if (!decoder)
        return false;
    audioSampleRate = decoder->sample_rate;
    audioChannels = ffmpeg::channelCount(*decoder);
    audioDecoderName = codec->name;
    if (avcodec_open2(decoder.get(), codec, nullptr) < 0)
        return false;
    // The decoder's own format. A transport stream's MP2 is probed as MP3, whose decoder delivers another one.
    const SampleKind kind = sampleKindOf(decoder->sample_fmt);
    audioBitsPerSample = kind.bits;
    audioFormat = kind.format;
    audioCodec = decoder.release();
    return true;
}

void FFVideo::readVideoFacts()
{
    const AVStream &stream = *formatContext->streams[videoStream];
    width = displayWidth(*videoCodec);
    height = videoCodec->height;
    fieldOrder = fieldOrderOf(*videoCodec);
    colourSpace = videoCodec->colorspace;
    decoderName = videoCodec->codec->name;
    codecName = tagText(videoCodec->codec_tag);

    frameRateNum = stream.r_frame_rate.num;
    frameRateDen = stream.r_frame_rate.den;
    // A raw stream has no duration to multiply; the stream's own figure, usually 0, says as much.
    frameCount = likelyFrameCount(formatContext->duration, stream.r_frame_rate, stream.nb_frames);
}

bool FFVideo::Close()
{
    ReleaseKFT(&keyFrames);
    if (accessMode == FF_ACCESS_CLOSED)
        return true;
    // What is not named here stays: the names, the counts and the position, until the next Open resets what it needs.
    releaseFile();
    videoStream = -1;
    hasVideo = false;
    fieldOrder = 0;
    forceKeyEntry = true;
    restartSeeks = false;
    accessMode = FF_ACCESS_CLOSED;
    return true;
}

void FFVideo::releaseFile()
{
    skipAhead.reset();
    avcodec_free_context(&videoCodec);
    avcodec_free_context(&audioCodec);
    closeSingleInput(formatContext);
}
