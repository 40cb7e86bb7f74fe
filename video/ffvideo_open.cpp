#include "video/ffvideo.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/decoder.h"
#include "video/ffmpeg/inputformats.h"
#include "video/ffmpeg/probing.h"
#include "video/ffmpeg/singleinput.h"
#include "video/framecount.h"
#include "video/saturate.h"

extern "C" {
#include <libavutil/rational.h>
}

#include <cstring>
#include <string>

using namespace quorvale;

namespace {

// Bound of a display aspect ratio's terms after reduction.
constexpr std::int64_t kLargestAspectTerm = 1024 * 1024;

bool startsWith(const char *text, const char *beginning)
{
    return std::strncmp(text, beginning, std::strlen(beginning)) == 0;
}

bool isTooLarge(const AVCodecParameters &video, const AVCodec &codec)
{
    return std::int64_t{video.width} * video.height > ffmpeg::mostPixelsOf(codec);
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

} // namespace

bool FFVideo::Open(const char *path, bool quickOpen, AccessMode mode)
{
    if (accessMode != FF_ACCESS_CLOSED)
        Close();
    registerOnce();
    lastError = FF_ERROR_NONE;
    if (mode != FF_ACCESS_READ)
        return false;

    frameCount = 0;
    currentFrame = -1;
    lastDts = previousDts = seekDts = firstDts = kNoTimestamp; // `endOfStream` stays

    if (!openStreams(path)) {
        ffmpeg::closeSingleInput(formatContext);
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
        stepForward();
        if (!quickOpen)
            completeSeekTable();
    }
    accessMode = FF_ACCESS_READ;
    return true;
}

// Whether a table was loaded or set. Rows that Close discarded do not count, a completeness that it left does.
bool FFVideo::hasTable() const
{
    return keyFrames.complete || rowsHeld(&keyFrames) > 0;
}

bool FFVideo::openStreams(const char *path)
{
    releaseFile();
    return ffmpeg::openSingleInput(formatContext, path) && ffmpeg::probeStreams(*formatContext) && openVideo() &&
           openAudio();
}

bool FFVideo::openVideo()
{
    const AVCodec *codec = nullptr;
    videoStream = ffmpeg::findBestStream(formatContext, AVMEDIA_TYPE_VIDEO, codec);
    if (videoStream < 0)
        return false;
    hasVideo = true;
    const AVStream &stream = *formatContext->streams[videoStream];
    if (isTooLarge(*stream.codecpar, *codec))
        return false;

    ffmpeg::DecoderPtr decoder = ffmpeg::makeDecoder(*stream.codecpar, stream.time_base, codec);
    if (!decoder)
        return false;
    m_pictureBudget = ffmpeg::PictureBudget();
    m_pictureBudget.limit(*decoder);
    if (avcodec_open2(decoder.get(), codec, nullptr) < 0)
        return false;
    videoCodec = decoder.release();
    return true;
}

// True where there is no audio, too; audio that nothing here decodes is none. The video decoder stays as it is where
// the audio's does not open.
bool FFVideo::openAudio()
{
    const AVCodec *codec = nullptr;
    audioStream = ffmpeg::findBestStream(formatContext, AVMEDIA_TYPE_AUDIO, codec);
    if (audioStream >= 0 && !ffmpeg::isWanted(*codec))
        audioStream = AVERROR_DECODER_NOT_FOUND; // as where FFmpeg is without it
    hasAudio = audioStream >= 0;
    if (!hasAudio)
        return true;

    const AVStream &stream = *formatContext->streams[audioStream];
    ffmpeg::DecoderPtr decoder = ffmpeg::makeDecoder(*stream.codecpar, stream.time_base, codec);
    if (!decoder)
        return false;
    audioSampleRate = decoder->sample_rate;
    audioChannels = ffmpeg::channelCount(*decoder);
    audioDecoderName = codec->name;
    readSampleFormat(*decoder);
    if (avcodec_open2(decoder.get(), codec, nullptr) < 0)
        return false;
    // The decoder may deliver another format than probing found: a transport stream's MP2 is probed as MP3.
    readSampleFormat(*decoder);
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
    avcodec_free_context(&videoCodec);
    avcodec_free_context(&audioCodec);
    ffmpeg::closeSingleInput(formatContext);
}
