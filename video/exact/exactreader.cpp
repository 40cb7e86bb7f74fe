#include "video/exact/exactreader.h"

#include "video/exact/framesource.h"
#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/picturecopy.h"
#include "video/ffmpeg/picturelimits.h"
#include "video/ffvideo.h"

#include <cstring>

namespace quorvale {

namespace {

std::optional<VideoCoding> codingOf(AVCodecID codec)
{
    switch (codec) {
    case AV_CODEC_ID_MPEG2VIDEO:
        return VideoCoding::Mpeg2;
    case AV_CODEC_ID_H264:
        return VideoCoding::H264;
    case AV_CODEC_ID_HEVC:
        return VideoCoding::Hevc;
    default:
        return std::nullopt;
    }
}

// Whether a demultiplexer of the kind finds its way from any byte on, and leaves the start codes in.
bool canBeEntered(const AVInputFormat &format)
{
    for (const char *name : {"mpegts", "mpeg", "mpegvideo"}) {
        if (std::strcmp(format.name, name) == 0)
            return true;
    }
    return false;
}

// Whether there is memory for these pictures in other decoders, beside that of `video`.
bool isSmallEnough(const AVCodecContext &video)
{
    return std::int64_t{video.width} * video.height <= ffmpeg::kMostPixelsUncounted;
}

std::unique_ptr<FrameSource> makeSource(const FFVideo &video)
{
    if (!video.formatContext || !video.videoCodec || video.videoStream < 0 ||
        !canBeEntered(*video.formatContext->iformat) || !isSmallEnough(*video.videoCodec))
        return nullptr;
    const AVStream &stream = *video.formatContext->streams[video.videoStream];
    const std::optional<VideoCoding> coding = codingOf(stream.codecpar->codec_id);
    if (!coding)
        return nullptr;
    const VideoLocation location = {video.formatContext->url, stream.id, stream.index, stream.pts_wrap_bits};
    const std::int64_t second = stream.time_base.num > 0 ? stream.time_base.den / stream.time_base.num : 0;
    return std::make_unique<FrameSource>(location, *coding, second,
                                         DecoderRecipe(*stream.codecpar, stream.time_base, video.videoCodec->codec,
                                                       ffmpeg::PictureBudget::of(*video.videoCodec)));
}

} // namespace

ExactReader::ExactReader(const FFVideo &video)
    : m_source(makeSource(video))
    , m_height(video.height)
{
}

ExactReader::~ExactReader() = default;

void ExactReader::announce(const std::vector<int> &frameNumbers)
{
    if (!m_source)
        return;
    std::vector<FrameNumber> numbers;
    for (const int number : frameNumbers) {
        if (number >= 0)
            numbers.emplace_back(std::int64_t{number});
    }
    m_source->announce(numbers);
}

ExactReader::Answer ExactReader::read(int frameNumber, BridgeImage &image)
{
    if (!m_source || frameNumber < 0)
        return Answer::NotProven;
    switch (m_source->find(FrameNumber(std::int64_t{frameNumber}))) {
    case FrameSource::Status::Found:
        return ffmpeg::copyPicture(m_source->frame(), m_height, image) ? Answer::Picture : Answer::NotCopied;
    case FrameSource::Status::PastEnd:
        return Answer::PastEnd;
    case FrameSource::Status::NotProven:
        return Answer::NotProven;
    case FrameSource::Status::Failed:
        break;
    }
    return Answer::Failed;
}

std::optional<std::int64_t> ExactReader::pictureCount() const
{
    if (!m_source || !m_source->end())
        return std::nullopt;
    return m_source->end()->value();
}

bool ExactReader::isSound() const
{
    return m_source && m_source->isSound();
}

ExactCounters ExactReader::counters() const
{
    return m_source ? m_source->counters() : ExactCounters();
}

} // namespace quorvale
