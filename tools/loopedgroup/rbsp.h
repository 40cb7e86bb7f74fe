#pragma once

#include "video/bitstream/bytestream.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quorvale {

/// The payload of a NAL unit without its emulation prevention: syntax elements of a fixed length are read in turn and
/// written over where they stand, so that nothing after them moves (ITU-T H.264, 7.3.1; ITU-T H.265, 7.3.1.1).
class Rbsp
{
public:
    explicit Rbsp(Bytes payload);

    /// u(n), 0 to 32 bits; after the end everything is 0 and failed() says so.
    std::uint32_t readBits(int count);
    bool readFlag() { return readBits(1) != 0; }
    /// ue(v)
    std::uint32_t readUe();
    void skipBytes(std::size_t count) { m_position += 8 * count; }

    /// The bit that is read next.
    [[nodiscard]] std::size_t position() const { return m_position; }
    [[nodiscard]] bool failed() const { return m_position > 8 * m_bytes.size(); }
    /// The bits from `position` on, which must exist, become `value`.
    void overwriteBits(std::size_t position, int count, std::uint32_t value);

    /// The payload again, with emulation prevention.
    [[nodiscard]] std::vector<std::uint8_t> payload() const;

private:
    std::vector<std::uint8_t> m_bytes;
    std::size_t m_position = 0;
};

} // namespace quorvale
