#include "video/bitstream/bitreader.h"

#include <algorithm>

bool BitReader::loadByte()
{
    if (zeros >= 2 && next < end && *next == 3) {
        ++next;
        zeros = 0;
    }
    if (next == end)
        return false;
    zeros = *next == 0 ? zeros + 1 : 0;
    cache = cache << 8 | *next++;
    cached += 8;
    return true;
}

std::uint32_t BitReader::bits(int count)
{
    while (cached < count) {
        if (!loadByte()) {
            hasFailed = true;
            cached = 0;
            return 0;
        }
    }
    cached -= count;
    return static_cast<std::uint32_t>(cache >> cached & ((std::uint64_t{1} << count) - 1));
}

void BitReader::skip(int count)
{
    for (; count > 0 && !hasFailed; count -= 32)
        bits(std::min(count, 32));
}

std::uint32_t BitReader::number()
{
    int zeroBits = 0;
    while (!bit()) {
        if (hasFailed || ++zeroBits == 32) {
            hasFailed = true;
            return 0;
        }
    }
    return (std::uint32_t{1} << zeroBits) - 1 + bits(zeroBits);
}
