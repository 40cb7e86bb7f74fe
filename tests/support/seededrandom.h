#pragma once

#include <cstddef>
#include <cstdint>

/// Numbers that are the same for the same seed on every machine and with every library (SplitMix64).
class SeededRandom
{
public:
    explicit SeededRandom(std::uint64_t seed)
        : m_state(seed)
    {
    }

    std::uint64_t next()
    {
        m_state += 0x9E3779B97F4A7C15U;
        std::uint64_t mixed = m_state;
        mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EBU;
        return mixed ^ (mixed >> 31);
    }

    /// 0 to `bound` - 1; 0 if `bound` is 0.
    std::size_t below(std::size_t bound) { return bound == 0 ? 0 : static_cast<std::size_t>(next() % bound); }

    std::uint8_t byte() { return static_cast<std::uint8_t>(next() & 0xFF); }

private:
    std::uint64_t m_state;
};
