#include "video/ffmpeg/flvwatch.h"

extern "C" {
#include <libavformat/avformat.h>
}

namespace quorvale::ffmpeg {

void FlvWatch::note(const unsigned char *bytes, int size)
{
    for (int i = 0; i < size; ++i) {
        m_lastFourBytes = m_lastFourBytes << 8 | bytes[i];
        if (m_lastFourBytes == 0x68766331 || m_lastFourBytes == 0x76766331 || m_lastFourBytes == 0x61763031)
            m_input.flags |= AVFMT_FLAG_NOPARSE; // hvc1, vvc1, av01
    }
}

} // namespace quorvale::ffmpeg
