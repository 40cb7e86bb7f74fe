#include "video/ffmpeg/flvwatch.h"

extern "C" {
#include <libavformat/avformat.h>
}

#include <algorithm>
#include <array>

namespace quorvale::ffmpeg {

namespace {

constexpr std::array<std::uint32_t, 3> kNames{0x68766331, 0x76766331, 0x61763031}; // hvc1, vvc1, av01

} // namespace

void FlvWatch::note(const unsigned char *bytes, int size)
{
    for (int i = 0; i < size; ++i) {
        m_lastFourBytes = m_lastFourBytes << 8 | bytes[i];
        if (std::find(kNames.begin(), kNames.end(), m_lastFourBytes) != kNames.end())
            m_input.flags |= AVFMT_FLAG_NOPARSE;
    }
}

} // namespace quorvale::ffmpeg
