#pragma once

#include "video/colour/yuv2rgbkernel.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quorvale {

/// Converts whole rows of pixels to RGB, to the byte as `yuv2rgb` does one by one: a channel is the low eight bits of
/// what yuv2rgb gives, so that a negative one wraps round.
///
/// For planes whose chroma has half the columns of luma (4:2:0, 4:2:2): the chroma is taken over once and then serves
/// one row of luma or two.
///
///     ChromaRow chroma;
///     chroma.assign(cb, cr, 960);
///     chroma.toRgb(luma, 1920, rgb);
///     chroma.toRgb(luma + stride, 1920, rgb + rgbStride);
///
/// Nothing that is handed in is kept. Not thread-safe: one object belongs to one thread at a time.
class ChromaRow
{
public:
    /// With the kernel that is the fastest on this processor.
    ChromaRow();
    explicit ChromaRow(const Yuv2RgbKernel &kernel);

    /// Takes over `samples` samples of each plane; sample n serves the pixels 2n and 2n + 1.
    void assign(const std::uint8_t *cb, const std::uint8_t *cr, std::size_t samples);

    /// Converts `columns` pixels into 3 * `columns` bytes in the order red, green, blue. `columns` is at most twice the
    /// number of samples.
    void toRgb(const std::uint8_t *luma, std::size_t columns, std::uint8_t *rgb) const;

private:
    const Yuv2RgbKernel *m_kernel;
    std::vector<ChromaBlock> m_blocks;
};

} // namespace quorvale
