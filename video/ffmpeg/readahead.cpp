#include "video/ffmpeg/readahead.h"

#include <algorithm>

#include <fcntl.h>

namespace quorvale::ffmpeg {

namespace {

// It is a hint: where the system cannot take it, reading goes on as without.
void tellWillBeRead(int descriptor, std::int64_t begin, std::int64_t bytes)
{
#if defined(POSIX_FADV_WILLNEED)
    static_cast<void>(posix_fadvise(descriptor, begin, bytes, POSIX_FADV_WILLNEED));
#elif defined(F_RDADVISE)
    struct radvisory advice = {begin, static_cast<int>(bytes)};
    static_cast<void>(fcntl(descriptor, F_RDADVISE, &advice));
#else
    static_cast<void>(descriptor);
    static_cast<void>(begin);
    static_cast<void>(bytes);
#endif
}

} // namespace

void ReadAhead::tellBeginning(int descriptor)
{
    tellWillBeRead(descriptor, 0, kBytesAtOpening);
}

void ReadAhead::noteRead(int descriptor, std::int64_t position)
{
    // In steps of half of it: a call for every read would tell no more.
    if (m_toldUpTo - position > kBytes / 2)
        return;
    const std::int64_t begin = std::max(m_toldUpTo, position);
    m_toldUpTo = position + kBytes;
    tellWillBeRead(descriptor, begin, m_toldUpTo - begin);
}

} // namespace quorvale::ffmpeg
