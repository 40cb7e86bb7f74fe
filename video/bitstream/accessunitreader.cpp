#include "video/bitstream/accessunitreader.h"

#include "video/bitstream/packetscanner.h"
#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/pointers.h"

#include <utility>

namespace quorvale {

namespace {

// Until the scanners speak the standards' words themselves.
class ScannedAccessUnits : public AccessUnitReader
{
public:
    ScannedAccessUnits(std::unique_ptr<PacketScanner> packetScanner, VideoCoding videoCoding)
        : scanner(std::move(packetScanner))
        , coding(videoCoding)
        , packet(ffmpeg::makePacket())
    {
    }

    AccessUnit read(const std::uint8_t *data, std::size_t size) override
    {
        packet->data = const_cast<std::uint8_t *>(data);
        packet->size = static_cast<int>(size);
        packet->pts = packet->dts = 0;
        const PacketFacts facts = scanner->scan(*packet);
        AccessUnit unit;
        unit.onePicture = (facts.doubts & kNotOnePicture) == 0;
        unit.structure = static_cast<PictureStructure>(facts.shape);
        if (facts.closedKey)
            unit.randomAccess = coding == VideoCoding::Mpeg2 ? RandomAccess::SequenceHeader
                                : coding == VideoCoding::H264
                                    ? (facts.beginsSequence ? RandomAccess::Idr : RandomAccess::RecoveryPoint)
                                : facts.beginsSequence ? RandomAccess::Idr
                                                       : RandomAccess::Cra;
        unit.isReference = facts.reference;
        unit.startsSequence = facts.beginsSequence;
        unit.pictureOrderCount = facts.order;
        unit.frameNum = facts.frameNumber;
        unit.parametersChanged = (facts.doubts & kParametersChanged) != 0;
        unit.newParameters = facts.newParameters;
        unit.mayWithholdOutput = (facts.doubts & kPicturesWithheld) != 0;
        return unit;
    }

private:
    std::unique_ptr<PacketScanner> scanner;
    VideoCoding coding;
    ffmpeg::PacketPtr packet;
};

AVCodecID codecIdOf(VideoCoding coding)
{
    switch (coding) {
    case VideoCoding::Mpeg2:
        return AV_CODEC_ID_MPEG2VIDEO;
    case VideoCoding::H264:
        return AV_CODEC_ID_H264;
    case VideoCoding::Hevc:
        break;
    }
    return AV_CODEC_ID_HEVC;
}

} // namespace

std::unique_ptr<AccessUnitReader> makeAccessUnitReader(VideoCoding coding)
{
    AVCodecParameters *stream = avcodec_parameters_alloc();
    if (!stream)
        return nullptr;
    stream->codec_type = AVMEDIA_TYPE_VIDEO;
    stream->codec_id = codecIdOf(coding);
    std::unique_ptr<PacketScanner> scanner = makePacketScanner(*stream);
    avcodec_parameters_free(&stream);
    return scanner ? std::make_unique<ScannedAccessUnits>(std::move(scanner), coding) : nullptr;
}

} // namespace quorvale
