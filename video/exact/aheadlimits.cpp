#include "video/exact/aheadlimits.h"

#include "video/ffmpeg/picturelimits.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/imgutils.h>
}

#include <algorithm>
#include <thread>

namespace quorvale {

namespace {

// A scan of 1920x1080 with one decoder takes 113 MiB as a process, and is to stay below 256 MiB. Of the rest, 48 MiB
// are for packets (KeptPackets), 32 MiB for pictures that wait, and these for decoders beside the first, which is in
// the 113.
constexpr std::int64_t kDecodersBytes = 40 * ffmpeg::kMiB;
constexpr std::int64_t kWaitingBytes = 32 * ffmpeg::kMiB;
// Pictures that a decoder holds, at most, in what television sends: 4 of 1920x1080 that others refer to, as many that
// wait for their turn, the one in hand and the one handed out; and what it keeps beside them, about 2 pictures more.
constexpr std::int64_t kHeldPictures = 12;
constexpr std::int64_t kMostPictures = 5; // the thumbnails of a recording

} // namespace

int processorCount()
{
    return std::max(static_cast<int>(std::thread::hardware_concurrency()), 1);
}

std::int64_t pictureBytesOf(const AVCodecParameters &parameters)
{
    const auto format = static_cast<AVPixelFormat>(parameters.format);
    return std::max(av_image_get_buffer_size(format, parameters.width, parameters.height, 1), 0);
}

AheadLimits aheadLimits(std::int64_t pictureBytes, int processors)
{
    if (pictureBytes <= 0)
        return {1, 1};
    const std::int64_t pictures = std::clamp<std::int64_t>(kWaitingBytes / pictureBytes, 1, kMostPictures);
    const std::int64_t fitting = 1 + kDecodersBytes / kHeldPictures / pictureBytes;
    const std::int64_t decoders = std::max<std::int64_t>(std::min({fitting, pictures, std::int64_t{processors}}), 1);
    return {static_cast<int>(pictures), static_cast<int>(decoders)};
}

} // namespace quorvale
