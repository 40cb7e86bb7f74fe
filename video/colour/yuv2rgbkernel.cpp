#include "video/colour/yuv2rgbkernel.h"

// Plain loops over integers of 8 and 16 bits, which the compiler turns into vectors; so this file is compiled with -O3.
// The loops are compiled for several kinds of processors, and chosen at run time.
//
// With k = Cr - 127 and j = Cb - 127, the arithmetic of yuv2rgb comes down to
//
//     R = Y + 1.5748 k        B = Y + 1.8556 j        G = Y - 0.468124 k - 0.187324 j
//
// each without its fraction. Y is a whole number. So what chroma adds can be rounded down by itself, before Y is known;
// where the sum is negative it must be rounded up instead, which is one more. No amount but 0 lies so close to a whole
// number that the roundings of yuv2rgb could cross it. A test compares all inputs.

namespace quorvale {

namespace {

constexpr int kChromaCentre = 127;

using Byte = std::uint8_t;

#define QUORVALE_ALWAYS_INLINE inline __attribute__((always_inline))

QUORVALE_ALWAYS_INLINE std::int16_t narrow(int value)
{
    return static_cast<std::int16_t>(value);
}

// floor(x * (256 * high + low) / 65536). Every product fits 16 bits for an `x` from -128 to 128.
QUORVALE_ALWAYS_INLINE std::int16_t scaled(std::int16_t x, int high, int low)
{
    const std::int16_t carry = narrow(narrow(x * low) >> 8);
    return narrow(narrow(x * high + carry) >> 8);
}

QUORVALE_ALWAYS_INLINE std::int16_t redShift(std::int16_t k)
{
    return narrow(k + scaled(k, 147, 36)); // 37668 / 65536 = 0.5748
}

QUORVALE_ALWAYS_INLINE std::int16_t blueShift(std::int16_t j)
{
    return narrow(j + scaled(j, 219, 8)); // 56072 / 65536 = 0.8556
}

// floor(-(61358 k + 24553 j) / 131072), in two steps whose sums fit 16 bits: 61358 = 512 * 120 - 82 and
// 24553 = 512 * 48 - 23. It takes all 17 bits to tell the closest amounts from whole numbers.
QUORVALE_ALWAYS_INLINE std::int16_t greenShift(std::int16_t k, std::int16_t j)
{
    const std::int16_t carry = narrow(narrow(82 * k + 23 * j) >> 9);
    return narrow(narrow(carry - narrow(120 * k + 48 * j)) >> 8);
}

// The amount if it is above 0, in both bytes of an element.
QUORVALE_ALWAYS_INLINE std::uint16_t twice(std::int16_t amount)
{
    return static_cast<std::uint16_t>((amount > 0 ? amount : 0) * 0x0101);
}

QUORVALE_ALWAYS_INLINE void put(std::int16_t shift, std::uint16_t &raise, std::uint16_t &lower)
{
    raise = twice(shift);
    lower = twice(narrow(-shift));
}

QUORVALE_ALWAYS_INLINE void prepare(const Byte *__restrict__ cb, const Byte *__restrict__ cr, std::size_t samples,
                                    ChromaBlock &__restrict__ block)
{
    for (std::size_t sample = 0; sample < samples; ++sample) {
        const std::int16_t k = narrow(cr[sample] - kChromaCentre);
        const std::int16_t j = narrow(cb[sample] - kChromaCentre);
        put(redShift(k), block.raise[0][sample], block.lower[0][sample]);
        put(greenShift(k, j), block.raise[1][sample], block.lower[1][sample]);
        put(blueShift(j), block.raise[2][sample], block.lower[2][sample]);
    }
}

QUORVALE_ALWAYS_INLINE Byte smaller(Byte a, Byte b)
{
    return a < b ? a : b;
}

QUORVALE_ALWAYS_INLINE Byte larger(Byte a, Byte b)
{
    return a > b ? a : b;
}

QUORVALE_ALWAYS_INLINE Byte shifted(Byte luma, Byte raise, Byte lower)
{
    const Byte room = static_cast<Byte>(255 - luma);
    const Byte raised = static_cast<Byte>(luma + smaller(raise, room));
    // Below 0 a channel wraps to its low eight bits, and has been rounded up.
    const Byte below = static_cast<Byte>(larger(raised, lower) - raised);
    return static_cast<Byte>(raised - lower + smaller(below, 1));
}

QUORVALE_ALWAYS_INLINE const Byte *bytesOf(const std::uint16_t (&amounts)[ChromaBlock::kSamples])
{
    return reinterpret_cast<const Byte *>(amounts);
}

// For vectors that can be interleaved by threes.
QUORVALE_ALWAYS_INLINE void convertAtOnce(const Byte *__restrict__ luma, const ChromaBlock &__restrict__ block,
                                          std::size_t columns, Byte *__restrict__ rgb)
{
    const Byte *redRaise = bytesOf(block.raise[0]);
    const Byte *redLower = bytesOf(block.lower[0]);
    const Byte *greenRaise = bytesOf(block.raise[1]);
    const Byte *greenLower = bytesOf(block.lower[1]);
    const Byte *blueRaise = bytesOf(block.raise[2]);
    const Byte *blueLower = bytesOf(block.lower[2]);
    for (std::size_t x = 0; x < columns; ++x) {
        rgb[3 * x] = shifted(luma[x], redRaise[x], redLower[x]);
        rgb[3 * x + 1] = shifted(luma[x], greenRaise[x], greenLower[x]);
        rgb[3 * x + 2] = shifted(luma[x], blueRaise[x], blueLower[x]);
    }
}

// For those that cannot: only the second loop goes pixel by pixel.
[[maybe_unused]] QUORVALE_ALWAYS_INLINE void convertByChannel(const Byte *__restrict__ luma,
                                                              const ChromaBlock &__restrict__ block,
                                                              std::size_t columns, Byte *__restrict__ rgb)
{
    Byte channels[3][2 * ChromaBlock::kSamples];
    for (int channel = 0; channel < 3; ++channel) {
        const Byte *raise = bytesOf(block.raise[channel]);
        const Byte *lower = bytesOf(block.lower[channel]);
        for (std::size_t x = 0; x < columns; ++x)
            channels[channel][x] = shifted(luma[x], raise[x], lower[x]);
    }
    for (std::size_t x = 0; x < columns; ++x) {
        rgb[3 * x] = channels[0][x];
        rgb[3 * x + 1] = channels[1][x];
        rgb[3 * x + 2] = channels[2][x];
    }
}

void preparePlain(const Byte *cb, const Byte *cr, std::size_t samples, ChromaBlock &block)
{
    prepare(cb, cr, samples, block);
}

#ifdef __x86_64__

void convertPlain(const Byte *luma, const ChromaBlock &block, std::size_t columns, Byte *rgb)
{
    convertByChannel(luma, block, columns, rgb);
}

#define QUORVALE_FOR(feature) __attribute__((target(feature)))

QUORVALE_FOR("ssse3") void prepareSsse3(const Byte *cb, const Byte *cr, std::size_t samples, ChromaBlock &block)
{
    prepare(cb, cr, samples, block);
}

QUORVALE_FOR("ssse3") void convertSsse3(const Byte *luma, const ChromaBlock &block, std::size_t columns, Byte *rgb)
{
    convertAtOnce(luma, block, columns, rgb);
}

QUORVALE_FOR("avx2") void prepareAvx2(const Byte *cb, const Byte *cr, std::size_t samples, ChromaBlock &block)
{
    prepare(cb, cr, samples, block);
}

QUORVALE_FOR("avx2") void convertAvx2(const Byte *luma, const ChromaBlock &block, std::size_t columns, Byte *rgb)
{
    convertAtOnce(luma, block, columns, rgb);
}

std::vector<Yuv2RgbKernel> kernelsHere()
{
    std::vector<Yuv2RgbKernel> kernels;
    if (__builtin_cpu_supports("avx2"))
        kernels.push_back({"AVX2", prepareAvx2, convertAvx2});
    if (__builtin_cpu_supports("ssse3"))
        kernels.push_back({"SSSE3", prepareSsse3, convertSsse3});
    kernels.push_back({"plain", preparePlain, convertPlain});
    return kernels;
}

#else

void convertPlain(const Byte *luma, const ChromaBlock &block, std::size_t columns, Byte *rgb)
{
    convertAtOnce(luma, block, columns, rgb);
}

std::vector<Yuv2RgbKernel> kernelsHere()
{
    return {{"plain", preparePlain, convertPlain}};
}

#endif

} // namespace

const std::vector<Yuv2RgbKernel> &yuv2rgbKernels()
{
    static const std::vector<Yuv2RgbKernel> kernels = kernelsHere();
    return kernels;
}

} // namespace quorvale
