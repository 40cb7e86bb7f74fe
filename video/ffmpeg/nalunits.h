#pragma once

#include "video/ffmpeg/startcode.h"

#include <algorithm>
#include <cstdint>

namespace quorvale::ffmpeg {

/// Calls `visit(unit, bytes)` for each NAL unit that a start code announces (ITU-T H.265, Annex B), with its header,
/// until it returns false.
template <typename Visit>
void visitByStartCodes(const std::uint8_t *data, int size, Visit visit)
{
    const std::uint8_t *end = data + size;
    const std::uint8_t *found = size < 3 ? nullptr : findStartCode(data + 2, end);
    while (found) {
        const std::uint8_t *next = findStartCode(found + 1, end);
        if (!visit(found + 1, static_cast<int>((next ? next - 2 : end) - (found + 1))))
            return;
        found = next;
    }
}

/// The same where lengths of `lengthBytes` bytes stand before them (ISO/IEC 14496-15).
template <typename Visit>
void visitByLengths(const std::uint8_t *data, int size, int lengthBytes, Visit visit)
{
    for (std::int64_t position = 0; size - position >= lengthBytes;) {
        std::int64_t length = 0;
        for (int i = 0; i < lengthBytes; ++i)
            length = length << 8 | data[position + i];
        position += lengthBytes;
        if (!visit(data + position, static_cast<int>(std::min(length, size - position))))
            return;
        position += length;
    }
}

} // namespace quorvale::ffmpeg
