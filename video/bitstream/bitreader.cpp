#include "video/bitstream/bitreader.h"

#include <algorithm>

namespace quorvale {

bool BitReader::loadByte()
{
    if (m_emulationPrevention == EmulationPrevention::Yes && m_zeros >= 2 && m_next < m_end && *m_next == 3) {
        ++m_next; // emulation_prevention_three_byte
        m_zeros = 0;
    }
    if (m_next == m_end)
        return false;
    m_zeros = *m_next == 0 ? m_zeros + 1 : 0;
    m_cache = m_cache << 8 | *m_next++;
    m_cached += 8;
    return true;
}

std::uint32_t BitReader::readBits(int count)
{
    while (m_cached < count) {
        if (!loadByte()) {
            m_failed = true;
            m_cached = 0;
            return 0;
        }
    }
    m_cached -= count;
    return static_cast<std::uint32_t>(m_cache >> m_cached & ((std::uint64_t{1} << count) - 1));
}

std::uint32_t BitReader::readUe()
{
    int leadingZeroBits = 0;
    while (!readFlag()) {
        if (m_failed || ++leadingZeroBits == 32) {
            m_failed = true;
            return 0;
        }
    }
    return (std::uint32_t{1} << leadingZeroBits) - 1 + readBits(leadingZeroBits);
}

std::int32_t BitReader::readSe()
{
    const std::uint32_t codeNum = readUe();
    const auto magnitude = static_cast<std::int32_t>(codeNum / 2 + codeNum % 2);
    return codeNum % 2 != 0 ? magnitude : -magnitude;
}

void BitReader::skipBits(std::int64_t count)
{
    for (; count > 0 && !m_failed; count -= 32)
        readBits(static_cast<int>(std::min<std::int64_t>(count, 32)));
}

} // namespace quorvale
