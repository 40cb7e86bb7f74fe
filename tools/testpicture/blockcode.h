#pragma once

#include <cstdint>
#include <optional>

namespace quorvale {

// A number that a program can read back from the luma of a decoded picture. Everything is relative to the picture, so
// the code survives scaling; it is one row of 20 cells across the whole width:
//
//     cell    0      1      2 ... 17                     18           19
//           white  black   16 bits, highest bit first   even parity  black
//
// Cell c spans the columns [c*W/20, (c+1)*W/20) and the rows [H/12, 2H/12). White is 1.

/// Draws the low 16 bits of `number` into 8 bit limited range luma; `stride` is in bytes.
/// Draws nothing where a cell would have no pixel (less than 20 columns or 12 rows).
void drawBlockCode(std::uint8_t *luma, int width, int height, int stride, unsigned number);

/// Reads the number (0 to 65535) that drawBlockCode() drew, after any scaling or encoding of the picture.
/// Nothing when white and black are too close, when the parity is wrong or when the last cell is not black.
[[nodiscard]] std::optional<unsigned> readBlockCode(const std::uint8_t *luma, int width, int height, int stride);

} // namespace quorvale
