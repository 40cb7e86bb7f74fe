#include "video/ffmpeg/jpeg2000blocks.h"

#include "video/ffmpeg/jpeg2000header.h"
#include "video/ffmpeg/picturelimits.h"

extern "C" {
#include <libavcodec/packet.h>
}

#include <algorithm>
#include <cstdint>

namespace quorvale::ffmpeg {

namespace {

using Area = Jpeg2000Header::Area;
using Component = Jpeg2000Header::Component;

constexpr std::int64_t kUsualBlockBytes = 96 * kMiB;
constexpr std::int64_t kLargeBlockBytes = 512 * kMiB; // 7680x4320 with three components in blocks of 16x16 takes 500
constexpr std::int64_t kMostSteps = 1'000'000;
constexpr std::int64_t kMostTiles = 1024; // 510 of 256x256 make the largest picture

// What FFmpeg keeps of each.
constexpr std::int64_t kBytesATile = 24'576;
constexpr std::int64_t kBytesOfASample = 4;
constexpr std::int64_t kBytesAPrecinct = 400; // of one band, with its two tag trees
constexpr std::int64_t kBytesABlock = 160;

std::int64_t divideUp(std::int64_t a, std::int64_t b)
{
    return (a + b - 1) / b;
}

std::int64_t dividePow2Up(std::int64_t a, int exponent)
{
    return (a + (std::int64_t{1} << exponent) - 1) >> exponent;
}

struct Cost
{
    std::int64_t bytes = 0;
    std::int64_t steps = 0; ///< packets, and places where the decoder looks for one

    [[nodiscard]] bool fits(bool isLarge) const
    {
        return bytes <= (isLarge ? kLargeBlockBytes : kUsualBlockBytes) && steps <= kMostSteps;
    }
};

// ITU-T T.800, B.5 to B.7: what one resolution of a tile of a component is divided into. At most; the bands of a
// resolution may have a row and a column less.
void addResolution(Cost &cost, const Component &component, const Area &tile, std::size_t resolution,
                   std::int64_t layers)
{
    const int reduction = static_cast<int>(component.style.levels - resolution);
    const Area area{dividePow2Up(tile.left, reduction), dividePow2Up(tile.top, reduction),
                    dividePow2Up(tile.right, reduction), dividePow2Up(tile.bottom, reduction)};
    if (area.left >= area.right || area.top >= area.bottom)
        return;
    const int precinctWidth = component.style.log2PrecinctWidths[resolution];
    const int precinctHeight = component.style.log2PrecinctHeights[resolution];
    const std::int64_t columns = dividePow2Up(area.right, precinctWidth) - (area.left >> precinctWidth);
    const std::int64_t rows = dividePow2Up(area.bottom, precinctHeight) - (area.top >> precinctHeight);

    const int halving = resolution > 0 ? 1 : 0; // The bands of all but the lowest have half the size, and there are 3.
    const int bands = resolution > 0 ? 3 : 1;
    const int blockWidth = std::min(component.style.log2BlockWidth + halving, precinctWidth);
    const int blockHeight = std::min(component.style.log2BlockHeight + halving, precinctHeight);
    const std::int64_t blockColumns = dividePow2Up(area.right, blockWidth) - (area.left >> blockWidth);
    const std::int64_t blockRows = dividePow2Up(area.bottom, blockHeight) - (area.top >> blockHeight);
    cost.bytes += bands * (columns * rows * kBytesAPrecinct + blockColumns * blockRows * kBytesABlock);
    cost.steps += columns * rows * std::max<std::int64_t>(layers, 1);
}

// B.12.1: in three of the five orders, the decoder goes over the tile by the smallest distance between precincts.
std::int64_t places(const Jpeg2000Header &header, const Area &tile)
{
    int width = 31;
    int height = 31;
    std::int64_t resolutions = 0;
    for (const Component &component : header.components) {
        for (std::size_t resolution = 0; resolution <= component.style.levels; ++resolution) {
            const int reduction = static_cast<int>(component.style.levels - resolution);
            width = std::min(width, component.style.log2PrecinctWidths[resolution] + reduction);
            height = std::min(height, component.style.log2PrecinctHeights[resolution] + reduction);
            ++resolutions;
        }
    }
    return resolutions * (((tile.right - tile.left) >> width) + 1) * (((tile.bottom - tile.top) >> height) + 1);
}

void addTile(Cost &cost, const Jpeg2000Header &header, const Area &tile)
{
    cost.bytes += kBytesATile;
    cost.steps += places(header, tile);
    for (const Component &component : header.components) {
        const Area own{divideUp(tile.left, component.dx), divideUp(tile.top, component.dy),
                       divideUp(tile.right, component.dx), divideUp(tile.bottom, component.dy)};
        cost.bytes += (own.right - own.left) * (own.bottom - own.top) * kBytesOfASample;
        for (std::size_t resolution = 0; resolution <= component.style.levels; ++resolution)
            addResolution(cost, component, own, resolution, header.layers);
    }
}

} // namespace

bool hasBoundedBlocks(const AVPacket &packet)
{
    const auto header = readJpeg2000Header(packet.data, static_cast<std::size_t>(std::max(packet.size, 0)));
    if (!header)
        return false;
    const Area &picture = header->picture;
    const Area &first = header->firstTile;
    const std::int64_t width = first.right - first.left;
    const std::int64_t height = first.bottom - first.top;
    const std::int64_t pixels = (picture.right - picture.left) * (picture.bottom - picture.top);
    if (pixels > kMostPixels ||
        divideUp(picture.right - first.left, width) * divideUp(picture.bottom - first.top, height) > kMostTiles)
        return false;
    Cost cost;
    const bool isLarge = pixels > kUsualPixels;
    for (std::int64_t top = first.top; top < picture.bottom && cost.fits(isLarge); top += height) {
        for (std::int64_t left = first.left; left < picture.right && cost.fits(isLarge); left += width)
            addTile(cost, *header,
                    {std::max(left, picture.left), std::max(top, picture.top), std::min(left + width, picture.right),
                     std::min(top + height, picture.bottom)});
    }
    return cost.fits(isLarge);
}

} // namespace quorvale::ffmpeg
