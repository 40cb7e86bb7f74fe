#include "video/framecount.h"

#include "video/ffmpeg/timestamp.h"
#include "video/saturate.h"

extern "C" {
#include <libavutil/rational.h>
}

namespace quorvale {

std::int32_t likelyFrameCount(std::int64_t durationMicroseconds, AVRational rate, std::int64_t stated)
{
    if (rate.den == 0 || durationMicroseconds == kNoTimestamp)
        return saturateToInt32(stated);
    const float seconds = static_cast<float>(durationMicroseconds) / 1000000.0F;
    return truncateToInt32(seconds * (static_cast<float>(rate.num) / static_cast<float>(rate.den)));
}

} // namespace quorvale
