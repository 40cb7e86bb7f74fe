#include "video/exact/scan.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/decoder.h"

#include <utility>

namespace quorvale {

namespace {

constexpr int kPacketsAtOnce = 8;

bool announcesExtradata(const AVPacket &packet)
{
    return av_packet_get_side_data(&packet, AV_PKT_DATA_NEW_EXTRADATA, nullptr) != nullptr;
}

} // namespace

// MPEG-2 pictures are output by their types alone; for the others, display times check the picture order counts.
Scan::Scan(VideoLocation location, VideoCoding coding, std::int64_t unitsInASecond)
    : m_codec(location.codec)
    , m_source(std::move(location), true)
    , m_reader(makeAccessUnitReader(coding, ffmpeg::kNeedsWholeReferenceSets ? HevcReferences::OfSets
                                                                             : HevcReferences::OfLists))
    , m_packet(ffmpeg::makePacket())
    , m_pictures(unitsInASecond, coding != VideoCoding::Mpeg2)
    , m_failed(!m_reader)
{
}

bool Scan::readOn(KeptPackets *kept)
{
    for (int i = 0; i < kPacketsAtOnce && !m_failed && !m_pictures.isFinished(); ++i) {
        const VideoPackets::Status status = m_source.read(*m_packet);
        if (status == VideoPackets::Status::Read) {
            if (kept)
                kept->keep(m_pictures.packetEnd(), *m_packet);
            AccessUnit unit = m_reader->read(m_packet->data, static_cast<std::size_t>(m_packet->size));
            if (!ffmpeg::isBounded(m_codec, {}, *m_packet)) // Nobody decodes it.
                unit.onePicture = unit.bothFields = false;
            m_pictures.append(
                m_source.describe(*m_packet), unit,
                {m_packet->dts, (m_packet->flags & AV_PKT_FLAG_CORRUPT) != 0, announcesExtradata(*m_packet)});
        } else if (status == VideoPackets::Status::EndOfFile) {
            m_pictures.finish();
        } else {
            m_failed = true;
        }
    }
    m_stretches.extend(m_pictures);
    return !m_failed && !m_pictures.isFinished();
}

} // namespace quorvale
