#include "tools/loopedgroup/rbsp.h"

namespace quorvale {

Rbsp::Rbsp(Bytes payload)
{
    m_bytes.reserve(static_cast<std::size_t>(payload.size));
    int zeros = 0;
    for (std::int64_t i = 0; i < payload.size; ++i) {
        const std::uint8_t byte = payload.data[i];
        if (zeros >= 2 && byte == 3) { // emulation_prevention_three_byte
            zeros = 0;
            continue;
        }
        zeros = byte == 0 ? zeros + 1 : 0;
        m_bytes.push_back(byte);
    }
}

std::uint32_t Rbsp::readBits(int count)
{
    std::uint32_t value = 0;
    for (int i = 0; i < count; ++i, ++m_position) {
        const bool bit = m_position < 8 * m_bytes.size() && (m_bytes[m_position / 8] >> (7 - m_position % 8) & 1) != 0;
        value = value << 1 | (bit ? 1U : 0U);
    }
    return value;
}

std::uint32_t Rbsp::readUe()
{
    int leadingZeroBits = 0;
    while (!failed() && leadingZeroBits < 32 && !readFlag())
        ++leadingZeroBits;
    return (std::uint32_t{1} << leadingZeroBits % 32) - 1 + readBits(leadingZeroBits);
}

void Rbsp::overwriteBits(std::size_t position, int count, std::uint32_t value)
{
    for (int i = 0; i < count; ++i) {
        const std::size_t at = position + static_cast<std::size_t>(i);
        const auto mask = static_cast<std::uint8_t>(0x80 >> at % 8);
        if ((value >> (count - 1 - i) & 1) != 0)
            m_bytes[at / 8] = static_cast<std::uint8_t>(m_bytes[at / 8] | mask);
        else
            m_bytes[at / 8] = static_cast<std::uint8_t>(m_bytes[at / 8] & ~mask);
    }
}

std::vector<std::uint8_t> Rbsp::payload() const
{
    std::vector<std::uint8_t> escaped;
    escaped.reserve(m_bytes.size() + m_bytes.size() / 64);
    int zeros = 0;
    for (const std::uint8_t byte : m_bytes) {
        if (zeros >= 2 && byte <= 3) {
            escaped.push_back(3); // emulation_prevention_three_byte
            zeros = 0;
        }
        escaped.push_back(byte);
        zeros = byte == 0 ? zeros + 1 : 0;
    }
    // The payload never ends with a zero byte but for cabac_zero_words, each of which is followed by a 3 (7.4.2.10).
    if (zeros >= 2)
        escaped.push_back(3);
    return escaped;
}

} // namespace quorvale
