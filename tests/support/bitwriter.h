#pragma once

#include <QByteArray>

#include <cstdint>
#include <string>

/// Writes the syntax elements of a NAL unit, by the descriptors of ITU-T H.264, 7.2, and ITU-T H.265, 7.2.
class BitWriter
{
public:
    BitWriter &u(std::uint64_t value, int width)
    {
        for (int bit = width - 1; bit >= 0; --bit)
            bits += (value >> bit & 1) != 0 ? '1' : '0';
        return *this;
    }

    BitWriter &flag(bool value) { return u(value ? 1 : 0, 1); }

    BitWriter &ue(std::uint32_t value)
    {
        const std::uint64_t code = std::uint64_t{value} + 1;
        int digits = 1;
        while (code >> digits != 0)
            ++digits;
        return u(0, digits - 1).u(code, digits);
    }

    BitWriter &se(std::int32_t value)
    {
        return ue(value > 0 ? 2 * std::uint32_t(value) - 1 : 2 * std::uint32_t(-std::int64_t{value}));
    }

    BitWriter &append(const BitWriter &more)
    {
        bits += more.bits;
        return *this;
    }

    /// Bits of that value up to the next whole byte.
    BitWriter &align(bool value)
    {
        while (bits.size() % 8 != 0)
            flag(value);
        return *this;
    }

    BitWriter &bytes(const QByteArray &whole)
    {
        for (const char byte : whole)
            u(static_cast<unsigned char>(byte), 8);
        return *this;
    }

    /// The elements, with bits 0 up to a whole byte.
    [[nodiscard]] QByteArray padded() const
    {
        BitWriter whole = *this;
        whole.align(false);
        QByteArray found;
        for (std::size_t at = 0; at < whole.bits.size(); at += 8)
            found += char(std::stoi(whole.bits.substr(at, 8), nullptr, 2));
        return found;
    }

    /// The NAL unit in a byte stream: a start code, `header`, and the elements, ended by rbsp_trailing_bits(), with
    /// emulation prevention.
    [[nodiscard]] QByteArray nalUnit(const QByteArray &header) const
    {
        BitWriter ended = *this;
        QByteArray unit = QByteArray("\0\0\0\1", 4) + header;
        int zeros = 0;
        for (const char byte : ended.flag(true).padded()) {
            if (zeros >= 2 && static_cast<unsigned char>(byte) <= 3) {
                unit += '\3';
                zeros = 0;
            }
            unit += byte;
            zeros = byte == 0 ? zeros + 1 : 0;
        }
        return unit;
    }

private:
    std::string bits;
};
