#pragma once

#include <array>
#include <cstdint>

namespace quorvale::ffmpeg {

/// The bytes of an open file, at any place: where it is read stays as it is.
class FileBytes
{
public:
    /// Of a regular file; `descriptor` stays the caller's.
    explicit FileBytes(int descriptor)
        : m_descriptor(descriptor)
    {
    }

    /// The number that `count` bytes at `position` are, 8 at most, the most significant first. Where there are none, or
    /// they cannot be read, they are zeros, and failed() is true from then on.
    std::uint64_t number(std::int64_t position, int count);

    [[nodiscard]] bool failed() const { return m_failed; }

private:
    int at(std::int64_t position);

    int m_descriptor;
    std::array<unsigned char, 4096> m_bytes{};
    std::int64_t m_begin = 0; ///< where m_bytes were
    std::int64_t m_end = 0;
    bool m_failed = false;
};

} // namespace quorvale::ffmpeg
