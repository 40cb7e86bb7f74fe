#include "video/ffmpeg/claimwatch.h"

#include "video/ffmpeg/filebytes.h"

#include <algorithm>

namespace quorvale::ffmpeg {

ClaimWatch::ClaimWatch(const Structures &structures)
    : m_structures(structures)
{
    for (const std::uint32_t *one = structures.firstBeginning; one != structures.endOfBeginnings; ++one)
        m_isFirstByte[*one >> 24] = true;
}

bool ClaimWatch::beginsStructure(std::uint32_t fourBytes) const
{
    return m_isFirstByte[fourBytes >> 24] && std::find(m_structures.firstBeginning, m_structures.endOfBeginnings,
                                                       fourBytes) != m_structures.endOfBeginnings;
}

bool ClaimWatch::allows(int descriptor, std::int64_t position, const unsigned char *bytes, int size)
{
    if (position != m_next)
        m_lastFourBytes = 0; // None of these structures begins with zeros.
    m_next = position + size;
    for (int i = 0; i < size && isContent(); ++i) {
        m_lastFourBytes = m_lastFourBytes << 8 | bytes[i];
        const std::int64_t begin = position + i - 3;
        if (!beginsStructure(m_lastFourBytes) || m_seen.count(begin) != 0)
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
