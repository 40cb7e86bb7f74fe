#pragma once

#include <cstdint>

struct AVFormatContext;

namespace quorvale::ffmpeg {

/// Looks for the names of HEVC, VVC and AV1 in an FLV file, where a stream is known when its first packet is parsed,
/// and takes FFmpeg's parsers away from there on. (FFmpeg knows these names since 6.1.)
class FlvWatch
{
public:
    explicit FlvWatch(AVFormatContext &input)
        : m_input(input)
    {
    }

    void note(const unsigned char *bytes, int size);

private:
    AVFormatContext &m_input;
    std::uint32_t m_lastFourBytes = 0;
};

} // namespace quorvale::ffmpeg
