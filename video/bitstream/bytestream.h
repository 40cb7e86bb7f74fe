#pragma once

#include <cstdint>
#include <cstring>

namespace quorvale {

/// A view of bytes that it does not own.
struct Bytes
{
    const std::uint8_t *data = nullptr;
    std::int64_t size = 0;
};

[[nodiscard]] inline Bytes withoutFirst(Bytes bytes, std::int64_t count)
{
    return {bytes.data + count, bytes.size - count};
}

/// Iterates over a byte stream: the NAL units of ITU-T H.264, Annex B, and ITU-T H.265, Annex B; in ITU-T H.262 the
/// bytes from after one start_code_prefix to the next (6.2.1), the start code value first.
class ByteStream
{
public:
    ByteStream(const std::uint8_t *bytes, std::int64_t size)
        : m_end(bytes + size)
        , m_unit(afterStartCodePrefix(bytes))
    {
    }

    /// The next unit, start_code_prefix_one_3bytes and trailing_zero_8bits left out; false if there is none. May be
    /// empty.
    bool next(Bytes &found)
    {
        if (!m_unit)
            return false;
        const std::uint8_t *begin = m_unit;
        m_unit = afterStartCodePrefix(begin);
        const std::uint8_t *last = m_unit ? m_unit - kPrefixSize : m_end;
        while (last > begin && last[-1] == 0)
            --last;
        found = {begin, last - begin};
        return true;
    }

private:
    static constexpr int kPrefixSize = 3;

    // Looks for the byte 1: it is as rare as any other in compressed pictures, and memchr is fast.
    [[nodiscard]] const std::uint8_t *afterStartCodePrefix(const std::uint8_t *from) const
    {
        if (!from || m_end - from < kPrefixSize)
            return nullptr;
        for (const std::uint8_t *at = from + 2; at < m_end; ++at) {
            at = static_cast<const std::uint8_t *>(std::memchr(at, 1, static_cast<std::size_t>(m_end - at)));
            if (!at)
                return nullptr;
            if (at[-1] == 0 && at[-2] == 0)
                return at + 1;
        }
        return nullptr;
    }

    const std::uint8_t *m_end;
    const std::uint8_t *m_unit;
};

} // namespace quorvale
