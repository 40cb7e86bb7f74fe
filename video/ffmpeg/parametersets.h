#pragma once

#include "video/ffmpeg/picturelimits.h"
#include "video/ffmpeg/unitcount.h"

#include <cstdint>
#include <map>

namespace quorvale::ffmpeg {

/// The memory that FFmpeg keeps for the parameter sets of all streams of H.264, HEVC and VVC of a file, in a parser for
/// each stream, and again in each decoder. One of 8 bytes can take 2 MiB, or a table of all blocks of a picture.
class ParameterSets
{
public:
    /// 141 picture parameter sets of H.264; 14 of HEVC for the largest pictures in the smallest blocks; 12 of VVC.
    static constexpr std::int64_t kMostBytes = 24 * kMiB;

    /// The most that a NAL unit with a header of these bytes takes (H.264: of `first` alone); 0 for what is none.
    [[nodiscard]] static std::int64_t mostBytesOf(AVCodecID codec, std::uint8_t first, std::uint8_t second);

    /// Notes those of the header of stream number `stream`, once. False if there are too many by now, or the header has
    /// too many units, and from then on.
    [[nodiscard]] bool allows(int stream, AVCodecID codec, const StreamHeader &header);
    /// The same, and those of one of its packets.
    [[nodiscard]] bool allows(int stream, AVCodecID codec, const StreamHeader &header, const AVPacket &packet);

    /// Whether all was allowed so far.
    [[nodiscard]] bool isContent() const { return m_bytes <= kMostBytes; }

private:
    struct Stream
    {
        bool hasHeader = false;            ///< it was noted
        bool hasStartCodes = false;        ///< in a packet
        std::int64_t blocks = 0;           ///< coding tree blocks of HEVC, in the largest picture
        std::map<int, std::int64_t> bytes; ///< by type and identifier: a set takes the place of an earlier one
    };

    void note(Stream &stream, AVCodecID codec, const std::uint8_t *unit, int size);
    void noteHeader(Stream &stream, AVCodecID codec, const StreamHeader &header);

    std::map<int, Stream> m_streams;
    std::int64_t m_bytes = 0;
};

} // namespace quorvale::ffmpeg
