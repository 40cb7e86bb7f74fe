#pragma once

#include <cstring>

namespace quorvale::ffmpeg {

/// The last byte of the first start code prefix (ITU-T H.265, Annex B) whose last byte is at or after `from`, which two
/// bytes must precede; null where there is none before `end`.
[[nodiscard]] inline const unsigned char *findStartCode(const unsigned char *from, const unsigned char *end)
{
    // The byte 1 is as rare as any other in compressed pictures, and memchr is fast.
    for (; from < end; ++from) {
        from = static_cast<const unsigned char *>(std::memchr(from, 1, static_cast<std::size_t>(end - from)));
        if (!from || (from[-1] == 0 && from[-2] == 0))
            return from;
    }
    return nullptr;
}

} // namespace quorvale::ffmpeg
