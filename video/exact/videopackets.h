#pragma once

#include "video/exact/picturelist.h"
#include "video/ffmpeg/pointers.h"

extern "C" {
#include <libavcodec/codec_id.h>
}

#include <cstdint>
#include <string>

struct AVPacket;

namespace quorvale {

/// Where a demultiplexer can begin in the middle of a file.
enum class Entrance {
    AnyByte, ///< containers that are found again from anywhere: broadcasts, raw streams
    Times,   ///< containers with an index
};

/// Which stream of which file.
struct VideoLocation
{
    std::string path;
    int streamId = 0; ///< the container's own number for the stream
    int streamIndex = 0;
    AVCodecID codec = AV_CODEC_ID_NONE;
    int timestampBits = 64; ///< with which the container's timestamps wrap
    Entrance entrance = Entrance::AnyByte;
    bool tellsByTimes = true; ///< a packet has the same times wherever reading began; else its bytes identify it
};

/// The packets of one video stream, read by a demultiplexer of its own.
class VideoPackets
{
public:
    enum class Status { Read, EndOfFile, Failed };

    /// `readsAhead`: the packets will be read one after the other, and the system is told so.
    explicit VideoPackets(VideoLocation location, bool readsAhead = false)
        : m_location(std::move(location))
        , m_readsAhead(readsAhead)
    {
    }

    /// The next packet of the stream, into `packet`. The file is opened with the first call. Fails where the container
    /// names another codec for the stream: its packets are then taken apart otherwise.
    Status read(AVPacket &packet);
    /// Continues at the `position` of a scanned packet, or somewhat before; false if that fails.
    bool goTo(std::int64_t position);
    /// What is kept of a packet that was read.
    [[nodiscard]] ScannedPacket describe(const AVPacket &packet) const;
    [[nodiscard]] const VideoLocation &location() const { return m_location; }

private:
    bool open();
    [[nodiscard]] bool isWanted(const AVPacket &packet) const;
    [[nodiscard]] bool hasOtherCodec(const AVPacket &packet) const;

    VideoLocation m_location;
    bool m_readsAhead;
    ffmpeg::InputPtr m_input;
};

} // namespace quorvale
