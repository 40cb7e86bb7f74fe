#include "video/ffmpeg/filebytes.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

namespace quorvale::ffmpeg {

std::uint64_t FileBytes::number(std::int64_t position, int count)
{
    std::uint64_t value = 0;
    for (int i = 0; i < count; ++i)
        value = value << 8 | static_cast<std::uint64_t>(std::max(at(position + i), 0));
    return value;
}

int FileBytes::at(std::int64_t position)
{
    if (position < m_begin || position >= m_end) {
        ssize_t size = -1;
        do {
            size = position < 0 ? 0 : pread(m_descriptor, m_bytes.data(), m_bytes.size(), position);
        } while (size < 0 && errno == EINTR);
        m_begin = position;
        m_end = position + std::max<ssize_t>(size, 0);
    }
    m_failed = m_failed || position >= m_end;
    return position < m_end ? m_bytes[static_cast<std::size_t>(position - m_begin)] : -1;
}

} // namespace quorvale::ffmpeg
