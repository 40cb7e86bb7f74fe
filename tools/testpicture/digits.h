#pragma once

#include <cstdint>

namespace quorvale {

/// An area of a picture, in pixels of luma; nothing has a width of 0.
struct PictureArea
{
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

/// Draws `number` in decimal, white on a black box in the middle of 8 bit limited range luma, for a person to read.
/// The digits are as large as a quarter of the height allows, never wider than the picture; `stride` is in bytes.
/// Draws nothing where a digit's dot would be smaller than a pixel. Returns the area of the box.
PictureArea drawDigits(std::uint8_t *luma, int width, int height, int stride, unsigned number);

} // namespace quorvale
