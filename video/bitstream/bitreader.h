#pragma once

#include <cstddef>
#include <cstdint>

/// Reads the header of one H.264 or HEVC unit bit by bit, most significant bit first.
///
/// The byte 3 that an encoder puts behind two zero bytes, so that no start code appears by chance, is left out.
/// Behind the end everything is 0 and failed() says so: a reader may go on and ask once, when it is done.
class BitReader
{
public:
    BitReader(const std::uint8_t *bytes, std::size_t size)
        : next(bytes)
        , end(bytes + size)
    {
    }

    /// The next `count` bits, 0 to 32.
    std::uint32_t bits(int count);
    bool bit() { return bits(1) != 0; }
    void skip(int count);
    /// A number in Exp-Golomb code, 0 to 2^32 - 2.
    std::uint32_t number();

    /// Whether more was read than there is, or a number that no 32 bits hold.
    [[nodiscard]] bool failed() const { return hasFailed; }

private:
    bool loadByte();

    const std::uint8_t *next;
    const std::uint8_t *end;
    std::uint64_t cache = 0; // the lowest `cached` bits are still to be read
    int cached = 0;
    int zeros = 0; // zero bytes right before `next`
    bool hasFailed = false;
};
