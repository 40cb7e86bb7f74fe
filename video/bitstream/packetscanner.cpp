#include "video/bitstream/packetscanner.h"

#include "video/bitstream/packetscanners.h"
#include "video/ffmpeg/compat.h"

#include <utility>

PacketFacts PacketScanner::scan(const AVPacket &packet)
{
    PacketFacts facts;
    facts.pts = packet.pts;
    facts.dts = packet.dts;
    facts.corrupt = (packet.flags & AV_PKT_FLAG_CORRUPT) != 0;
    if (av_packet_get_side_data(&packet, AV_PKT_DATA_NEW_EXTRADATA, nullptr))
        facts.doubts |= kParametersChanged;
    scanUnits(packet, facts);
    return facts;
}

void PacketScanner::noteParameters(std::uint32_t key, Bytes set, PacketFacts &facts)
{
    switch (parameterSets.note(key, set)) {
    case quorvale::ParameterSetHistory::Novelty::Repeated:
        break;
    case quorvale::ParameterSetHistory::Novelty::New:
        facts.newParameters = true;
        break;
    case quorvale::ParameterSetHistory::Novelty::Changed:
        facts.doubts |= kParametersChanged;
        break;
    }
}

std::unique_ptr<PacketScanner> makePacketScanner(const AVCodecParameters &stream)
{
    if (stream.codec_id == AV_CODEC_ID_MPEG2VIDEO)
        return std::make_unique<Mpeg2Scanner>();
    if (stream.codec_id != AV_CODEC_ID_H264 && stream.codec_id != AV_CODEC_ID_HEVC)
        return nullptr;
    std::unique_ptr<OrderNumbers> numbers = OrderNumbers::make(stream);
    if (!numbers)
        return nullptr;
    if (stream.codec_id == AV_CODEC_ID_H264)
        return std::make_unique<H264Scanner>(std::move(numbers));
    return std::make_unique<HevcScanner>(std::move(numbers));
}
