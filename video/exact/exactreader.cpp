#include "video/exact/exactreader.h"

#include "video/exact/framesource.h"
#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/picturecopy.h"
#include "video/ffmpeg/picturelimits.h"
#include "video/ffmpeg/regularfile.h"
#include "video/ffvideo.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

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

bool isOneOf(std::initializer_list<const char *> names, const AVInputFormat &format)
{
    return std::any_of(names.begin(), names.end(),
                       [&](const char *name) { return std::strcmp(name, format.name) == 0; });
}

// Demultiplexers of broadcasts and of raw streams find their way from any byte on; the others have an index.
Entrance entranceOf(const AVInputFormat &format)
{
    return isOneOf({"mpegts", "mpeg", "mpegvideo"}, format) ? Entrance::AnyByte : Entrance::Times;
}

// Whether NAL units stand between start codes (Annex B): containers of files put lengths before them, and the parameter
// sets into a structure whose first byte, its version, is 1 (ISO/IEC 14496-15, 5.3.3.1 and 8.3.3.1).
bool hasStartCodes(const AVCodecParameters &parameters)
{
    return parameters.codec_id == AV_CODEC_ID_MPEG2VIDEO || parameters.extradata_size == 0 ||
           parameters.extradata[0] != 1;
}

constexpr std::int64_t kMostTableBytes = 26 * ffmpeg::kMiB;

// Whether there is memory for the tables of `video` a second time, and for its pictures in other decoders.
bool isSmallEnough(const FFVideo &video)
{
    return std::int64_t{video.videoCodec->width} * video.videoCodec->height <= ffmpeg::kMostPixelsUncounted &&
           ffmpeg::tableBytes(*video.formatContext->pb) <= kMostTableBytes;
}

std::unique_ptr<FrameSource> makeSource(const FFVideo &video, int processors)
{
    if (!video.formatContext || !video.videoCodec || video.videoStream < 0 || !isSmallEnough(video))
        return nullptr;
    const AVStream &stream = *video.formatContext->streams[video.videoStream];
    const AVInputFormat &format = *video.formatContext->iformat;
    const std::optional<VideoCoding> coding = codingOf(stream.codecpar->codec_id);
    if (!coding || !hasStartCodes(*stream.codecpar))
        return nullptr;
    // H.264 and HEVC without display times have nothing to check their order by. Not all versions of FFmpeg say so of
    // raw streams, whose times they make up.
    if (*coding != VideoCoding::Mpeg2 &&
        ((format.flags & AVFMT_NOTIMESTAMPS) != 0 || isOneOf({"h264", "hevc"}, format)))
        return nullptr;
    VideoLocation location;
    location.path = video.formatContext->url;
    location.streamId = stream.id;
    location.streamIndex = stream.index;
    location.codec = stream.codecpar->codec_id;
    location.timestampBits = stream.pts_wrap_bits;
    location.entrance = entranceOf(format);
    location.tellsByTimes = isOneOf({"mpegts", "mpeg"}, format);
    const std::int64_t second = stream.time_base.num > 0 ? stream.time_base.den / stream.time_base.num : 0;
    return std::make_unique<FrameSource>(
        location, *coding, second,
        DecoderRecipe(
            *stream.codecpar, stream.time_base, video.videoCodec->codec,
            ffmpeg::PictureBudget(ffmpeg::PictureBudget::Reader::Second, ffmpeg::tableBytes(*video.formatContext->pb))),
        aheadLimits(pictureBytesOf(*stream.codecpar), processors));
}

} // namespace

ExactReader::ExactReader(const FFVideo &video, int processors)
    : m_source(makeSource(video, processors))
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

bool ExactReader::isUndoubted() const
{
    return m_source && m_source->isUndoubted();
}

ExactCounters ExactReader::counters() const
{
    return m_source ? m_source->counters() : ExactCounters();
}

} // namespace quorvale
