#pragma once

#include "video/bitstream/bytestream.h"

#include <cstdint>

namespace quorvale {

/// Reads syntax elements, most significant bit first. After the end everything is 0 and failed() is true, so a parser
/// can ask once, when it is done.
class BitReader
{
public:
    /// Whether the bytes have emulation_prevention_three_byte, which is skipped (ITU-T H.264, 7.3.1; ITU-T
    /// H.265, 7.3.1.1). ITU-T H.262 has none.
    enum class EmulationPrevention : bool { No, Yes };

    explicit BitReader(Bytes bytes, EmulationPrevention prevention = EmulationPrevention::Yes)
        : m_begin(bytes.data)
        , m_next(bytes.data)
        , m_end(bytes.data + bytes.size)
        , m_emulationPrevention(prevention)
    {
    }

    /// u(n), f(n): the next `count` bits, 0 to 32.
    std::uint32_t readBits(int count);
    /// u(1)
    bool readFlag() { return readBits(1) != 0; }
    /// ue(v): 0 to 2^32 - 2 (ITU-T H.264, 9.1; ITU-T H.265, 9.2).
    std::uint32_t readUe();
    /// se(v): -2^31 + 1 to 2^31 - 1 (ITU-T H.264, 9.1.1; ITU-T H.265, 9.2.2).
    std::int32_t readSe();
    void skipBits(std::int64_t count);

    [[nodiscard]] bool isByteAligned() const { return m_cached % 8 == 0; }
    /// How many bytes were read, a part of the last one maybe; emulation_prevention_three_byte included.
    [[nodiscard]] std::int64_t bytesRead() const { return m_next - m_begin; }
    /// Whether more was read than there is, or a number that does not fit 32 bits.
    [[nodiscard]] bool failed() const { return m_failed; }

private:
    bool loadByte();

    const std::uint8_t *m_begin;
    const std::uint8_t *m_next;
    const std::uint8_t *m_end;
    std::uint64_t m_cache = 0; ///< the lowest m_cached bits are still to be read
    int m_cached = 0;
    int m_zeros = 0; ///< zero bytes right before m_next
    EmulationPrevention m_emulationPrevention;
    bool m_failed = false;
};

} // namespace quorvale
