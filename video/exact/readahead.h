#pragma once

#include "video/bitstream/packetscanner.h"
#include "video/exact/picturewindow.h"
#include "video/ffmpeg/pointers.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <utility>

/// Video packets that have been read from the file and wait for the decoder, with what they say about themselves.
/// Holds at most kMostPackets packets, and no further one once they reach kMostBytes bytes.
class ReadAhead
{
public:
    static constexpr std::size_t kMostPackets = 512;               ///< eight seconds of fields, and room to reorder
    static constexpr std::int64_t kMostBytes = 32LL * 1024 * 1024; ///< eight seconds at 33 Mbit/s

    /// Reads the next packet of the video stream into a blank one; false at the end of the file.
    using Source = std::function<bool(AVPacket &)>;

    /// `packetScanner`: of the stream's codec. `unitsInASecond`: of the stream's time base.
    ReadAhead(Source source, std::unique_ptr<PacketScanner> packetScanner, std::int64_t unitsInASecond)
        : read(std::move(source))
        , scanner(std::move(packetScanner))
        , pictures(unitsInASecond)
    {
    }

    /// Reads one packet more; false where the file has ended, or there is no room.
    bool fill();
    /// Moves the first waiting packet to `packet`, reading one where none waits; false at the end of the file.
    bool take(AVPacket &packet);
    [[nodiscard]] bool atEnd() const { return ended; }
    /// Number of the packet that take() delivers next, from 0 at the start of the file.
    [[nodiscard]] std::int64_t next() const { return taken; }
    [[nodiscard]] PictureWindow &window() { return pictures; }
    [[nodiscard]] const PictureWindow &window() const { return pictures; }

private:
    Source read;
    std::unique_ptr<PacketScanner> scanner;
    PictureWindow pictures;
    std::deque<quorvale::ffmpeg::PacketPtr> waiting;
    std::int64_t waitingBytes = 0;
    std::int64_t taken = 0;
    bool ended = false;
};
