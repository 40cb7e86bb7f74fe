#pragma once

#include "video/exact/picturelist.h"
#include "video/ffmpeg/pointers.h"

#include <cstdint>
#include <string>

struct AVPacket;

namespace quorvale {

/// Which stream of which file.
struct VideoLocation
{
    std::string path;
    int streamId = 0; ///< the container's own number for the stream
    int streamIndex = 0;
    int timestampBits = 64; ///< with which the container's timestamps wrap
};

/// The packets of one video stream, read by a demultiplexer of its own.
class VideoPackets
{
public:
    enum class Status { Read, EndOfFile, Failed };

    explicit VideoPackets(VideoLocation location)
        : m_location(std::move(location))
    {
    }

    /// The next packet of the stream, into `packet`. The file is opened with the first call.
    Status read(AVPacket &packet);
    /// Continues at byte `position`; false if that fails.
    bool goToByte(std::int64_t position);
    [[nodiscard]] const VideoLocation &location() const { return m_location; }

private:
    bool open();
    [[nodiscard]] bool isWanted(const AVPacket &packet) const;

    VideoLocation m_location;
    ffmpeg::InputPtr m_input;
};

} // namespace quorvale
