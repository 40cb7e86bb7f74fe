#pragma once

#include <cstdint>

namespace quorvale::ffmpeg {

/// Tells the system what of a file will be read next, so that the disk goes on reading while pictures are decoded.
///
/// Never more than kBytes after what was read, which is also the most that is read in vain where reading stops.
class ReadAhead
{
public:
    /// A disk that reads 30 MB/s is busy with it for 35 ms: about as long as a few large pictures take to be decoded.
    static constexpr std::int64_t kBytes = std::int64_t{1024} * 1024;

    /// The file `descriptor` was read up to byte `position`, and will be read on.
    void noteRead(int descriptor, std::int64_t position);

private:
    std::int64_t m_toldUpTo = 0; ///< byte before which the system was told of everything
};

} // namespace quorvale::ffmpeg
