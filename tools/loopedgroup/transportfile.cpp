#include "tools/loopedgroup/transportfile.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/pointers.h"
#include "video/ffmpeg/singleinput.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace quorvale {

namespace {

constexpr AVRational kTimeBase = {1, 90000};
constexpr int kDelay = AV_TIME_BASE * 7 / 10; // from a packet's arrival to its decoding, as the ffmpeg program has it

void require(bool holds, const std::string &otherwise)
{
    if (!holds)
        throw std::runtime_error(otherwise);
}

UnitCoding codingOf(AVCodecID codec)
{
    switch (codec) {
    case AV_CODEC_ID_MPEG2VIDEO:
        return UnitCoding::Mpeg2;
    case AV_CODEC_ID_H264:
        return UnitCoding::H264;
    case AV_CODEC_ID_HEVC:
        return UnitCoding::Hevc;
    default:
        throw std::runtime_error("the video is coded in another way");
    }
}

AVCodecID codecOf(UnitCoding coding)
{
    switch (coding) {
    case UnitCoding::Mpeg2:
        return AV_CODEC_ID_MPEG2VIDEO;
    case UnitCoding::H264:
        return AV_CODEC_ID_H264;
    case UnitCoding::Hevc:
        break;
    }
    return AV_CODEC_ID_HEVC;
}

struct OutputCloser
{
    void operator()(AVFormatContext *output) const
    {
        avio_closep(&output->pb);
        avformat_free_context(output);
    }
};

} // namespace

TimedStream readVideo(const std::string &path)
{
    ffmpeg::registerLibraries();
    AVFormatContext *opened = nullptr;
    require(ffmpeg::openSingleInput(opened, path.c_str()), path + " cannot be opened");
    const ffmpeg::InputPtr input(opened);
    input->flags |= AVFMT_FLAG_NOFILLIN; // Only the times that the stream has.
    require(avformat_find_stream_info(input.get(), nullptr) >= 0, path + " cannot be read");
    const AVCodec *decoder = nullptr;
    const int stream = ffmpeg::findBestStream(input.get(), AVMEDIA_TYPE_VIDEO, decoder);
    require(stream >= 0, path + " has no video");
    TimedStream video;
    video.coding = codingOf(input->streams[stream]->codecpar->codec_id);
    const ffmpeg::PacketPtr packet = ffmpeg::makePacket();
    for (; av_read_frame(input.get(), packet.get()) >= 0; av_packet_unref(packet.get())) {
        if (packet->stream_index != stream)
            continue;
        const bool hasTime = packet->pts != AV_NOPTS_VALUE;
        if (!hasTime && video.units.empty())
            continue;
        if (hasTime)
            video.units.push_back({{}, packet->pts, packet->dts != AV_NOPTS_VALUE ? packet->dts : packet->pts, false});
        TimedUnit &unit = video.units.back();
        unit.bytes.insert(unit.bytes.end(), packet->data, packet->data + packet->size);
        unit.isDamaged = unit.isDamaged || (packet->flags & AV_PKT_FLAG_CORRUPT) != 0;
    }
    // Some streams have pictures decoded only after they are shown. No multiplexer takes that.
    std::int64_t late = 0;
    for (const TimedUnit &unit : video.units)
        late = std::max(late, unit.dts - unit.pts);
    for (TimedUnit &unit : video.units)
        unit.dts -= late;
    return video;
}

void writeVideo(const std::string &path, UnitCoding coding, const std::function<bool(TimedUnit &)> &next)
{
    AVFormatContext *allocated = nullptr;
    avformat_alloc_output_context2(&allocated, nullptr, "mpegts", path.c_str());
    require(allocated, "there is no multiplexer for transport streams");
    const std::unique_ptr<AVFormatContext, OutputCloser> output(allocated);
    require(avio_open(&output->pb, ("file:" + path).c_str(), AVIO_FLAG_WRITE) >= 0, path + " cannot be written");
    output->max_delay = kDelay;
    output->flags |= AVFMT_FLAG_BITEXACT;
    AVStream *stream = avformat_new_stream(output.get(), nullptr);
    require(stream, "out of memory");
    stream->time_base = kTimeBase;
    stream->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
    stream->codecpar->codec_id = codecOf(coding);
    require(avformat_write_header(output.get(), nullptr) >= 0, path + " cannot be written");
    const ffmpeg::PacketPtr packet = ffmpeg::makePacket();
    for (TimedUnit unit; next(unit);) {
        require(av_new_packet(packet.get(), static_cast<int>(unit.bytes.size())) >= 0, "out of memory");
        std::memcpy(packet->data, unit.bytes.data(), unit.bytes.size());
        packet->pts = av_rescale_q(unit.pts, kTimeBase, stream->time_base);
        packet->dts = av_rescale_q(unit.dts, kTimeBase, stream->time_base);
        require(av_write_frame(output.get(), packet.get()) >= 0, path + " cannot be written");
        av_packet_unref(packet.get());
    }
    require(av_write_trailer(output.get()) >= 0, path + " cannot be written");
}

} // namespace quorvale
