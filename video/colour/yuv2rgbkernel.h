#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quorvale {

// The loops of ChromaRow (see yuv2rgbrow.h), which alone calls them; tests run each of them.

/// What chroma does to its pixels: each channel is luma plus `raise`, white at most, and then minus `lower`; one of the
/// two is 0. An element is for the two pixels of a chroma sample and holds the amount twice, in each byte. The channels
/// are red, green and blue.
struct alignas(32) ChromaBlock
{
    static constexpr std::size_t kSamples = 256;

    std::uint16_t raise[3][kSamples];
    std::uint16_t lower[3][kSamples];
};

/// The two loops, compiled for one kind of processor.
struct Yuv2RgbKernel
{
    const char *name;
    /// Computes `samples` elements of a block from as many chroma samples.
    void (*prepare)(const std::uint8_t *cb, const std::uint8_t *cr, std::size_t samples, ChromaBlock &block);
    /// Converts `columns` pixels, two for each element of the block; `rgb` takes three times as many bytes.
    void (*convert)(const std::uint8_t *luma, const ChromaBlock &block, std::size_t columns, std::uint8_t *rgb);
};

/// The kernels that this processor can run, the fastest one first. The last one is plain and runs everywhere.
[[nodiscard]] const std::vector<Yuv2RgbKernel> &yuv2rgbKernels();

} // namespace quorvale
