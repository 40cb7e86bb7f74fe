#pragma once

#include <cstdint>

/// Draws `number` in decimal, white on a black box in the middle of 8 bit limited range luma, for a person to read.
/// The digits are as large as a quarter of the height allows, never wider than the picture; `stride` is in bytes.
/// Draws nothing where a digit's dot would be smaller than a pixel.
void drawDigits(std::uint8_t *luma, int width, int height, int stride, unsigned number);
