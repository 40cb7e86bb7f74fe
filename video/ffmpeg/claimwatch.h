#pragma once

#include <array>
#include <cstdint>
#include <set>

namespace quorvale::ffmpeg {

class FileBytes;

/// Keeps from FFmpeg, from opening a file on, the structures that would cost it much memory: it comes by them in ways
/// of its own, forwards, by the file's tables of places, at the first seek, or by looking for the next one after
/// damage. But whatever it finds it has read before. So what is read is searched for where such structures begin; each
/// is looked at once, and added up. The read that brings one too many fails, and so do all after it.
class ClaimWatch
{
public:
    struct Structures
    {
        /// What they begin with: four bytes each, as a number.
        const std::uint32_t *firstBeginning;
        const std::uint32_t *endOfBeginnings;
        /// The memory that FFmpeg takes for the one at `position`, or more than `most`.
        std::int64_t (*bytes)(FileBytes &file, std::int64_t position, std::int64_t most);
    };

    /// The most memory for all of them.
    static constexpr std::int64_t kMostBytes = 52 * 1024 * 1024;

    explicit ClaimWatch(const Structures &structures);

    /// Looks at `size` bytes that were read at `position` of the open file `descriptor`. False if they are to be
    /// withheld, then and from then on.
    [[nodiscard]] bool allows(int descriptor, std::int64_t position, const unsigned char *bytes, int size);

    /// Whether all was allowed so far.
    [[nodiscard]] bool isContent() const { return m_bytes <= kMostBytes; }

    /// What FFmpeg takes for those that were read so far.
    [[nodiscard]] std::int64_t bytes() const { return m_bytes; }

private:
    [[nodiscard]] bool beginsStructure(std::uint32_t fourBytes) const;

    Structures m_structures;
    std::array<bool, 256> m_isFirstByte{}; ///< of a structure; all bytes of a recording are looked at
    std::set<std::int64_t> m_seen;         ///< where structures began that cost something
    std::int64_t m_bytes = 0;              ///< for all of them
    std::int64_t m_next = 0;               ///< after what was read last
    std::uint32_t m_lastFourBytes = 0;     ///< before there
};

} // namespace quorvale::ffmpeg
