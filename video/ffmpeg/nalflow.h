#pragma once

#include <cstdint>

namespace quorvale::ffmpeg {

/// Counts the NAL units in the bytes of a stream: what FFmpeg's parsers keep of it, if it is of HEVC or of VVC.
class NalFlow
{
public:
    struct Count
    {
        std::int64_t units = 0;
        std::int64_t setBytes = 0; ///< for parameter sets, at most
    };

    /// In a program stream pictures end where a packet of the parser shows it: what looks like the first slice of one
    /// may be a part of another stream, and a start code may be in two pieces, with a header in between.
    enum class PictureEnd { FirstSlice, Forget };

    explicit NalFlow(PictureEnd end = PictureEnd::FirstSlice)
        : m_end(end)
    {
    }

    void note(const unsigned char *bytes, int size);
    /// A picture ended.
    void forget() { m_hevc = m_vvc = {}; }

    /// Since the last picture began, as a stream of that kind would have it.
    [[nodiscard]] const Count &hevc() const { return m_hevc; }
    [[nodiscard]] const Count &vvc() const { return m_vvc; }
    /// Whether there are too many sets, whatever the stream is of.
    [[nodiscard]] bool hasManySets() const;
    /// Whether one picture had too much; then and from then on.
    [[nodiscard]] bool isHevcFlooded() const { return m_isHevcFlooded; }
    [[nodiscard]] bool isVvcFlooded() const { return m_isVvcFlooded; }

private:
    void noteUnit(unsigned char first, unsigned char second, unsigned char payload);

    void add(Count &count, bool beginsPicture, std::int64_t setBytes) const;
    [[nodiscard]] bool isTooMuch(const Count &count) const;

    PictureEnd m_end;
    std::uint64_t m_lastBytes = ~std::uint64_t{0};
    Count m_hevc;
    Count m_vvc;
    bool m_isHevcFlooded = false;
    bool m_isVvcFlooded = false;
};

} // namespace quorvale::ffmpeg
