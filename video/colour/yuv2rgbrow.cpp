#include "video/colour/yuv2rgbrow.h"

#include <algorithm>
#include <cassert>

namespace quorvale {

ChromaRow::ChromaRow()
    : ChromaRow(yuv2rgbKernels().front())
{
}

ChromaRow::ChromaRow(const Yuv2RgbKernel &kernel)
    : m_kernel(&kernel)
{
}

void ChromaRow::assign(const std::uint8_t *cb, const std::uint8_t *cr, std::size_t samples)
{
    constexpr std::size_t kSamples = ChromaBlock::kSamples;
    m_blocks.resize((samples + kSamples - 1) / kSamples);
    for (ChromaBlock &block : m_blocks) {
        const std::size_t taken = std::min(samples, kSamples);
        m_kernel->prepare(cb, cr, taken, block);
        cb += taken;
        cr += taken;
        samples -= taken;
    }
}

void ChromaRow::toRgb(const std::uint8_t *luma, std::size_t columns, std::uint8_t *rgb) const
{
    constexpr std::size_t kColumns = 2 * ChromaBlock::kSamples;
    assert(columns <= m_blocks.size() * kColumns);
    for (const ChromaBlock &block : m_blocks) {
        const std::size_t taken = std::min(columns, kColumns);
        m_kernel->convert(luma, block, taken, rgb);
        luma += taken;
        rgb += 3 * taken;
        columns -= taken;
    }
}

} // namespace quorvale
