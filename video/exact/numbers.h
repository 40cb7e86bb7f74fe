#pragma once

#include <cstddef>
#include <cstdint>

namespace quorvale {

/// A place in one kind of sequence, counted from 0. A type for each kind: what counts packets cannot count pictures.
template <typename Kind>
class Index
{
public:
    constexpr Index() = default;
    explicit constexpr Index(std::int64_t value)
        : m_value(value)
    {
    }
    explicit constexpr Index(std::size_t value)
        : m_value(static_cast<std::int64_t>(value))
    {
    }

    [[nodiscard]] constexpr std::int64_t value() const { return m_value; }
    /// For use as a subscript; the index must not be negative.
    [[nodiscard]] constexpr std::size_t place() const { return static_cast<std::size_t>(m_value); }

    constexpr Index &operator++()
    {
        ++m_value;
        return *this;
    }
    friend constexpr Index operator+(Index a, std::int64_t steps) { return Index(a.m_value + steps); }
    friend constexpr Index operator-(Index a, std::int64_t steps) { return Index(a.m_value - steps); }
    friend constexpr std::int64_t operator-(Index a, Index b) { return a.m_value - b.m_value; }
    friend constexpr bool operator==(Index a, Index b) { return a.m_value == b.m_value; }
    friend constexpr bool operator!=(Index a, Index b) { return a.m_value != b.m_value; }
    friend constexpr bool operator<(Index a, Index b) { return a.m_value < b.m_value; }
    friend constexpr bool operator>(Index a, Index b) { return a.m_value > b.m_value; }
    friend constexpr bool operator<=(Index a, Index b) { return a.m_value <= b.m_value; }
    friend constexpr bool operator>=(Index a, Index b) { return a.m_value >= b.m_value; }

private:
    std::int64_t m_value = 0;
};

using PacketIndex = Index<struct PacketKind>;   ///< of the video's packets in the file
using PictureIndex = Index<struct PictureKind>; ///< of the coded pictures, in decode order
using OutputIndex = Index<struct OutputKind>;   ///< of the pictures of one stretch, in output order
using FrameNumber = Index<struct FrameKind>;    ///< of the pictures that the decoder hands out for the whole file

inline constexpr PictureIndex kBeforeFirstPicture{std::int64_t{-1}};

/// The coded picture that has a number, or one a little before it: some pictures never come out.
[[nodiscard]] constexpr PictureIndex pictureNear(FrameNumber number)
{
    return PictureIndex(number.value());
}

} // namespace quorvale
