#pragma once

#include "video/colour/yuv2rgbkernel.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quorvale {

/// Converts whole rows of pixels to RGB, with the bytes that `yuv2rgb` gives one by one: a channel is the low eight
/// bits of its result, so a negative one wraps.
///
/// For planes whose chroma has half the columns of luma (4:2:0, 4:2:2): the chroma is assigned once and then used for
/// one row of luma or two.
///
///     ChromaRow chroma;
///     chroma.assign(cb, cr, 960);
///     chroma.toRgb(luma, 1920, rgb);
///     chroma.toRgb(luma + stride, 1920, rgb + rgbStride);
///
/// Keeps no pointers. Not thread-safe: one object belongs to one thread at a time.
class ChromaRow
{
public:
    /// Uses the fastest kernel of this processor.
    ChromaRow();
    explicit ChromaRow(const Yuv2RgbKernel &kernel);

    /// Assigns `samples` samples of each plane; sample n is for the pixels 2n and 2n + 1.
    void assign(const std::uint8_t *cb, const std::uint8_t *cr, std::size_t samples);

    /// Converts `columns` pixels into 3 * `columns` bytes in the order red, green, blue. `columns` is at most twice the
    /// number of samples.
    void toRgb(const std::uint8_t *luma, std::size_t columns, std::uint8_t *rgb) const;

private:
    const Yuv2RgbKernel *m_kernel;
    std::vector<ChromaBlock> m_blocks;
};

} // namespace quorvale
