#include "video/ffvideo.h"

#include "video/ffmpeg/colourspaces.h"
#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/largepieces.h"
#include "video/ffmpeg/pixelformats.h"

using namespace quorvale;

// ffvideo.h does not include FFmpeg's headers and has these as plain numbers.
static_assert(AV_PIX_FMT_NONE == -1 && AVCOL_SPC_UNSPECIFIED == 2);

bool FFVideo::registered = false;

FFVideo::FFVideo()
    : frame(ffmpeg::makeFrame().release())
    , m_spare(ffmpeg::makeFrame())
{
}

FFVideo::~FFVideo()
{
    Close();
    releaseFile(); // after an Open that failed half-way
    av_frame_free(&frame);
}

void FFVideo::registerOnce()
{
    if (registered)
        return;
    ffmpeg::registerLibraries();
    ffmpeg::boundPieces();
    registered = true;
}

void FFVideo::SetFrameRate(int num, int den)
{
    frameRateNum = num;
    frameRateDen = den;
}

void FFVideo::SetViewPreview(bool preview)
{
    viewPreview = preview;
}

void FFVideo::SetCodecByName(const char *name)
{
    decoderName = name;
    codecName = name;
}

std::string FFVideo::GetCodecName() const
{
    return codecName;
}

std::list<std::string> FFVideo::GetListCodecs()
{
    registerOnce();
    std::list<std::string> names;
    void *position = nullptr;
    while (const AVCodec *codec = av_codec_iterate(&position)) {
        if (codec->type == AVMEDIA_TYPE_VIDEO)
            names.emplace_back(codec->name);
    }
    return names;
}

void FFVideo::SetPixelFormat(FFPixelFormat format)
{
    outputPixelFormat = ffmpeg::avPixelFormatFor(format).value_or(outputPixelFormat);
}

void FFVideo::SetColourSpace(FFColourSpace newColourSpace)
{
    colourSpace = ffmpeg::avColourSpaceFor(newColourSpace).value_or(colourSpace);
}

FFColourSpace FFVideo::GetColourSpace() const
{
    return ffmpeg::colourSpaceOf(colourSpace);
}
