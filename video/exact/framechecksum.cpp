#include "video/exact/framechecksum.h"

#include "video/ffmpeg/pointers.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/murmur3.h>
#include <libavutil/pixdesc.h>
}

#include <new>

namespace quorvale {

FrameChecksum checksumOf(const AVFrame &frame)
{
    const ffmpeg::Owner<AVMurMur3> hash(av_murmur3_alloc());
    if (!hash)
        throw std::bad_alloc();
    av_murmur3_init(hash.get());
    const std::array<int, 3> shape = {frame.width, frame.height, frame.format};
    av_murmur3_update(hash.get(), reinterpret_cast<const std::uint8_t *>(shape.data()), sizeof shape);
    const auto format = static_cast<AVPixelFormat>(frame.format);
    const AVPixFmtDescriptor *description = av_pix_fmt_desc_get(format);
    const int planes = description ? av_pix_fmt_count_planes(format) : 0;
    for (int plane = 0; plane < planes; ++plane) {
        const bool isChroma = plane == 1 || plane == 2;
        const int rows = isChroma ? AV_CEIL_RSHIFT(frame.height, description->log2_chroma_h) : frame.height;
        const int bytes = av_image_get_linesize(format, frame.width, plane);
        for (int row = 0; row < rows && bytes > 0; ++row)
            av_murmur3_update(hash.get(), frame.data[plane] + row * frame.linesize[plane],
                              static_cast<std::size_t>(bytes));
    }
    FrameChecksum checksum{};
    av_murmur3_final(hash.get(), checksum.data());
    return checksum;
}

} // namespace quorvale
