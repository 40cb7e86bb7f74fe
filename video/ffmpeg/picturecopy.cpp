#include "video/ffmpeg/picturecopy.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/pixelformats.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace quorvale::ffmpeg {

namespace {

using Plane = std::unique_ptr<std::uint8_t[]>;

// How many bytes may be read from `start` on. A cropped picture begins inside its buffer, so a row's padding can reach
// past the end.
std::int64_t bytesAfter(const AVFrame &frame, int plane, const std::uint8_t *start)
{
    // The parameter is not const, but FFmpeg does not change the frame.
    const AVBufferRef *buffer = av_frame_get_plane_buffer(const_cast<AVFrame *>(&frame), plane);
    return buffer ? static_cast<std::int64_t>(buffer->data + buffer->size - start) : 0;
}

// Copies `wanted` bytes, as many of them as there are; the rest is zero.
void copyBytes(std::uint8_t *to, const std::uint8_t *from, std::int64_t wanted, std::int64_t readable)
{
    const auto copied = static_cast<std::size_t>(std::clamp<std::int64_t>(readable, 0, wanted));
    std::memcpy(to, from, copied);
    std::memset(to + copied, 0, static_cast<std::size_t>(wanted) - copied);
}

// A copy of a plane, `rows` rows of the frame's line size each, in display order. `bottomUpRows`: how many rows are
// copied if the picture is stored bottom-up.
Plane copyPlane(const AVFrame &frame, int plane, std::int32_t rows, std::int32_t bottomUpRows)
{
    const std::int64_t lineSize = frame.linesize[plane];
    const std::int64_t stride = std::abs(lineSize);
    const std::uint8_t *start = frame.data[plane];
    Plane copy(new std::uint8_t[static_cast<std::size_t>(stride * rows)]);

    if (lineSize >= 0) {
        copyBytes(copy.get(), start, stride * rows, bytesAfter(frame, plane, start));
        return copy;
    }
    for (std::int32_t row = 0; row < rows; ++row) {
        const std::uint8_t *line = start + row * lineSize;
        const std::int64_t readable = row < bottomUpRows ? bytesAfter(frame, plane, line) : 0;
        copyBytes(copy.get() + row * stride, line, stride, readable);
    }
    return copy;
}

// Rows of plane `plane` that are copied from a picture of `height` rows.
std::int32_t rowsOf(PlaneLayout layout, int plane, std::int32_t height)
{
    return layout == PlaneLayout::Planar420 && plane > 0 ? height / 2 : height;
}

int planesOf(PlaneLayout layout)
{
    switch (layout) {
    case PlaneLayout::None:
        return 0;
    case PlaneLayout::Packed:
        return 1;
    case PlaneLayout::Planar420:
    case PlaneLayout::PlanarFullHeight:
        return 3;
    case PlaneLayout::PlanarWithAlpha:
        return 4;
    }
    return 0;
}

void label(BridgeImage &image, int avFormat)
{
    if (avFormat == AV_PIX_FMT_NONE)
        std::fputs("FFMPEG doesn't know\n", stderr);
    else if (const auto format = labelOf(avFormat))
        image.format = *format;
    else
        std::fprintf(stderr, "FFMPEG pixel format is something else, %d\n", avFormat);
}

} // namespace

bool copyPicture(const AVFrame &frame, std::int32_t bottomUpRows, BridgeImage &image)
{
    image.width = frame.width;
    image.height = frame.height;
    label(image, frame.format);

    const PlaneLayout layout = planeLayoutOf(frame.format);
    if (layout == PlaneLayout::None)
        return false;

    // All planes are made before `image` owns the first, so that none is lost when memory runs out.
    std::array<Plane, 4> copies;
    const int planes = planesOf(layout);
    for (int plane = 0; plane < planes; ++plane)
        copies.at(plane) = copyPlane(frame, plane, rowsOf(layout, plane, image.height), bottomUpRows);

    image.planes = planes;
    for (int plane = 0; plane < 4; ++plane) {
        image.data[plane] = copies.at(plane).release(); // owned by the caller
        image.stride[plane] = plane < planes ? std::abs(frame.linesize[plane]) : 0;
    }
    return true;
}

} // namespace quorvale::ffmpeg
