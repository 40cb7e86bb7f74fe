#pragma once

#include <cstdint>

namespace quorvale::ffmpeg {

/// Tells the system what of a file will be read next, so that the disk goes on reading while pictures are decoded.
///
/// After the beginning never more than kBytes after what was read, which is also the most that is read in vain where
/// reading stops.
class ReadAhead
{
public:
    /// The beginning. The thumbnails of a recording need as much from 2 Mbit/s on; a disk that reads 30 MB/s is busy
    /// with it for 0.3 s, about as long as it takes to find out what a file holds.
    static constexpr std::int64_t kBytesAtOpening = std::int64_t{8} * 1024 * 1024;
    /// A disk that reads 30 MB/s is busy with it for 35 ms: about as long as a few large pictures take to be decoded.
    static constexpr std::int64_t kBytes = std::int64_t{1024} * 1024;

    /// Tells of the beginning of the file `descriptor`.
    static void tellBeginning(int descriptor);

    /// The file `descriptor`, of whose beginning the system was told, was read up to byte `position`, and will be read
    /// on.
    void noteRead(int descriptor, std::int64_t position);

private:
    std::int64_t m_toldUpTo = kBytesAtOpening; ///< byte before which the system was told of everything
};

} // namespace quorvale::ffmpeg
