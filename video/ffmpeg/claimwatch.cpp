#include "video/ffmpeg/claimwatch.h"

#include "video/ffmpeg/filebytes.h"

namespace quorvale::ffmpeg {

bool ClaimWatch::allows(int descriptor, std::int64_t position, const unsigned char *bytes, int size)
{
    if (position != m_next)
        m_lastFourBytes = 0; // None of these structures begins with zeros.
    m_next = position + size;
    for (int i = 0; i < size && isContent(); ++i) {
        m_lastFourBytes = m_lastFourBytes << 8 | bytes[i];
        const std::int64_t begin = position + i - 3;
        if (!m_structures.begin(m_lastFourBytes) || m_seen.count(begin) != 0)
            continue;
        FileBytes file(descriptor);
        const std::int64_t cost = m_structures.bytes(file, begin, kMostBytes);
        if (cost > 0)
            m_seen.insert(begin);
        m_bytes += cost;
    }
    return isContent();
}

} // namespace quorvale::ffmpeg
