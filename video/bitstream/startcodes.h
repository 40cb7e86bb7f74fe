#pragma once

#include <cstdint>
#include <cstring>

/// A view of bytes that belong to someone else.
struct Bytes
{
    const std::uint8_t *data = nullptr;
    std::int64_t size = 0;
};

/// Goes through the units of an elementary stream: what stands between one start code (0 0 1) and the next.
class StartCodes
{
public:
    StartCodes(const std::uint8_t *bytes, std::int64_t size)
        : end(bytes + size)
        , unit(behindStartCode(bytes))
    {
    }

    /// The next unit, start code and trailing zeros left out; false where there is none. May be empty.
    bool next(Bytes &found)
    {
        if (!unit)
            return false;
        const std::uint8_t *begin = unit;
        unit = behindStartCode(begin);
        const std::uint8_t *last = unit ? unit - kStartCodeSize : end;
        while (last > begin && last[-1] == 0)
            --last;
        found = {begin, last - begin};
        return true;
    }

private:
    static constexpr int kStartCodeSize = 3;

    // Looks for the 1: in compressed pictures it is as rare as any other byte, and memchr is as fast as memory.
    [[nodiscard]] const std::uint8_t *behindStartCode(const std::uint8_t *from) const
    {
        if (!from || end - from < kStartCodeSize)
            return nullptr;
        for (const std::uint8_t *at = from + 2; at < end; ++at) {
            at = static_cast<const std::uint8_t *>(std::memchr(at, 1, static_cast<std::size_t>(end - at)));
            if (!at)
                return nullptr;
            if (at[-1] == 0 && at[-2] == 0)
                return at + 1;
        }
        return nullptr;
    }

    const std::uint8_t *end;
    const std::uint8_t *unit;
};
