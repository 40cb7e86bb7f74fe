#pragma once

#include <bitset>
#include <cstdint>

namespace quorvale::ffmpeg {

/// Counts the NAL units in the bytes of a stream: what FFmpeg's parsers keep of it, if it is of HEVC or of VVC.
class NalFlow
{
public:
    /// Of the picture that is read, and of the one that had most.
    struct Count
    {
        std::int64_t units = 0;
        std::int64_t setBytes = 0; ///< for parameter sets, at most
        std::int64_t mostUnits = 0;
        std::int64_t mostSetBytes = 0;
        std::bitset<16 + 127> sets; ///< VPS and PPS of HEVC, by their identifiers
    };

    /// Where the parsers get what looks like the first slice of a picture for sure, this ends the picture before.
    /// Elsewhere it may be a part of another stream, or of a header: pictures end where a packet of the parser shows
    /// it.
    enum class PictureEnd { FirstSlice, Forget };

    explicit NalFlow(PictureEnd end)
        : m_end(end)
    {
    }

    void note(const unsigned char *bytes, int size);
    /// A picture ended.
    void forget();

    /// As a stream of that kind would have it.
    [[nodiscard]] const Count &hevc() const { return m_hevc; }
    [[nodiscard]] const Count &vvc() const { return m_vvc; }

private:
    void noteUnit(const unsigned char *unit);

    PictureEnd m_end;
    std::uint64_t m_lastBytes = ~std::uint64_t{0};
    Count m_hevc;
    Count m_vvc;
};

} // namespace quorvale::ffmpeg
