#include "thumbs/pictureconversion.h"

#include "video/bridgeimage.h"
#include "video/colour/yuv2rgbrow.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace quorvale {

namespace {

constexpr int kBytesPerPixel = 3; // red, green, blue

enum class ChromaRows { Full, Half };

// The samples of one row of pixels: column x is made of luma[x], cb[x / 2] and cr[x / 2].
struct PlanarRow
{
    const std::uint8_t *luma = nullptr;
    const std::uint8_t *cb = nullptr;
    const std::uint8_t *cr = nullptr;
    std::int64_t columns = 0; // pixels that have all three
};

PlanarRow planarRow(const BridgeImage &picture, ChromaRows chroma, int row)
{
    const int chromaRows = chroma == ChromaRows::Half ? picture.height / 2 : picture.height;
    // A picture of odd height has one chroma row less than its last row asks for; the one above serves.
    const int chromaRow = std::min(chroma == ChromaRows::Half ? row / 2 : row, chromaRows - 1);
    if (chromaRow < 0)
        return {};

    // Both chroma planes are walked with the stride of the first.
    const std::int64_t chromaOffset = std::int64_t{picture.stride[1]} * chromaRow;
    const std::int64_t crBytes = std::int64_t{picture.stride[2]} * chromaRows - chromaOffset;
    PlanarRow samples;
    samples.columns = std::min<std::int64_t>({picture.width, picture.stride[0], 2 * std::int64_t{picture.stride[1]},
                                              2 * std::max<std::int64_t>(crBytes, 0)});
    if (samples.columns > 0) {
        samples.luma = picture.data[0] + std::int64_t{picture.stride[0]} * row;
        samples.cb = picture.data[1] + chromaOffset;
        samples.cr = picture.data[2] + chromaOffset;
    }
    return samples;
}

void convertPlanes(const BridgeImage &picture, ChromaRows chroma, QImage &rgb)
{
    quorvale::ChromaRow chromaRow;
    const std::uint8_t *assigned = nullptr;
    for (int row = 0; row < picture.height; ++row) {
        const PlanarRow samples = planarRow(picture, chroma, row);
        if (samples.columns <= 0)
            continue;
        const auto columns = static_cast<std::size_t>(samples.columns);
        if (samples.cb != assigned) {
            chromaRow.assign(samples.cb, samples.cr, (columns + 1) / 2);
            assigned = samples.cb;
        }
        // A negative channel wraps to its low eight bits, as thumbnails have always been made.
        chromaRow.toRgb(samples.luma, columns, rgb.scanLine(row));
    }
}

// Rows are taken at the plane's stride; a layout of fewer bytes per pixel fills them from the left.
void copyPlane(const BridgeImage &picture, QImage &rgb)
{
    const int bytes = std::min(picture.stride[0], picture.width * kBytesPerPixel);
    if (bytes <= 0)
        return;
    for (int row = 0; row < picture.height; ++row) {
        const std::uint8_t *from = picture.data[0] + std::int64_t{picture.stride[0]} * row;
        std::memcpy(rgb.scanLine(row), from, static_cast<std::size_t>(bytes));
    }
}

} // namespace

QImage rgbPicture(const BridgeImage &picture)
{
    QImage rgb(picture.width, picture.height, QImage::Format_RGB888);
    if (rgb.isNull())
        return rgb;
    rgb.fill(Qt::black);

    switch (picture.format) {
    case FF_PIX_RGB24:
        copyPlane(picture, rgb);
        break;
    case FF_PIX_YUV422P:
    case FF_PIX_YUVJ422P:
        convertPlanes(picture, ChromaRows::Full, rgb);
        break;
    case FF_PIX_YUV420P:
    case FF_PIX_YUVJ420P:
        convertPlanes(picture, ChromaRows::Half, rgb);
        break;
    default:
        std::fputs("Invalid pixel format\n", stderr);
        copyPlane(picture, rgb);
        break;
    }
    return rgb;
}

} // namespace quorvale
