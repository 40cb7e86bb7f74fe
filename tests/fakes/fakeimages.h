#pragma once

#include <CoreGraphics/CoreGraphics.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace fakes {

using Rgba = std::array<std::uint8_t, 4>; ///< red, green, blue (each times alpha), alpha

/// An image of the fake system, `width` x `height` pixels row by row, top row first. Released with releaseObject().
/// It may claim a size for which it has no pixels, as long as nobody draws it.
CGImageRef makeImage(std::size_t width, std::size_t height, std::vector<Rgba> pixels);

/// From now on CGBitmapContextCreate() gives null, or a context again.
void refuseContexts(bool refuse);

} // namespace fakes
