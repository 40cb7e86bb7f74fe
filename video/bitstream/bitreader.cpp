#include "video/bitstream/bitreader.h"

#include <algorithm>

namespace quorvale {

bool BitReader::loadByte()
{
    if (emulationPrevention == EmulationPrevention::Yes && zeros >= 2 && next < end && *next == 3) {
        ++next; // emulation_prevention_three_byte
        zeros = 0;
    }
    if (next == end)
        return false;
    zeros = *next == 0 ? zeros + 1 : 0;
    cache = cache << 8 | *next++;
    cached += 8;
    return true;
}

std::uint32_t BitReader::readBits(int count)
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

std::uint32_t BitReader::readUe()
{
    int leadingZeroBits = 0;
    while (!readFlag()) {
        if (hasFailed || ++leadingZeroBits == 32) {
            hasFailed = true;
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
    for (; count > 0 && !hasFailed; count -= 32)
        readBits(static_cast<int>(std::min<std::int64_t>(count, 32)));
}

} // namespace quorvale
