#pragma once

#include "video/bitstream/accessunitreader.h"
#include "video/exact/keptpackets.h"
#include "video/exact/picturelist.h"
#include "video/exact/stretches.h"
#include "video/exact/videopackets.h"

#include <memory>

namespace quorvale {

/// The packets of a video from the file's first one on, read only as far as asked and never decoded.
class Scan
{
public:
    /// `unitsInASecond`: of the stream's time base.
    Scan(VideoLocation location, VideoCoding coding, std::int64_t unitsInASecond);

    /// Reads some more packets, which `kept` gets, too. False if the file has ended, or cannot be read.
    bool readOn(KeptPackets *kept = nullptr);
    [[nodiscard]] bool hasFailed() const { return m_failed; }

    [[nodiscard]] const PictureList &pictures() const { return m_pictures; }
    [[nodiscard]] const Stretches &stretches() const { return m_stretches; }

private:
    AVCodecID m_codec;
    VideoPackets m_source;
    std::unique_ptr<AccessUnitReader> m_reader;
    ffmpeg::PacketPtr m_packet;
    PictureList m_pictures;
    Stretches m_stretches;
    bool m_failed = false;
};

} // namespace quorvale
