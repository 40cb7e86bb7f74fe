#include "platform/cgimage_mac.h"

#include <QImage>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>

namespace {

constexpr std::size_t kBitsPerComponent = 8;

// Premultiplied alpha last, components in the order R, G, B, A in memory.
constexpr std::uint32_t kBitmapInfo = 16385;

struct ColourSpaceReleaser
{
    void operator()(CGColorSpaceRef space) const { CGColorSpaceRelease(space); }
};
using ColourSpace = std::unique_ptr<std::remove_pointer_t<CGColorSpaceRef>, ColourSpaceReleaser>;

struct ContextReleaser
{
    void operator()(CGContextRef context) const { CGContextRelease(context); }
};
using Context = std::unique_ptr<std::remove_pointer_t<CGContextRef>, ContextReleaser>;

/// Whether there is anything to copy, in a size that a QImage can have: it counts rows, and the bytes of a row, in
/// ints.
bool canBeHeld(std::size_t width, std::size_t height)
{
    constexpr auto kMost = static_cast<std::size_t>(std::numeric_limits<int>::max());
    return width > 0 && height > 0 && width <= kMost / sizeof(std::uint32_t) && height <= kMost;
}

/// Draws `image` into `pixels`, `width` x `height` of them. False when the system gives no context to draw in.
bool draw(CGImageRef image, std::uint32_t *pixels, std::size_t width, std::size_t height)
{
    const ColourSpace space(CGColorSpaceCreateDeviceRGB());
    const Context context(CGBitmapContextCreate(pixels, width, height, kBitsPerComponent, width * sizeof(*pixels),
                                                space.get(), kBitmapInfo));
    if (!context)
        return false;
    CGContextDrawImage(context.get(), CGRectMake(0, 0, static_cast<CGFloat>(width), static_cast<CGFloat>(height)),
                       image);
    return true;
}

/// Exchanges the lowest and the third byte: red and blue.
constexpr std::uint32_t withRedAndBlueExchanged(std::uint32_t pixel)
{
    return (pixel & 0xFF00FF00U) | (pixel & 0xFFU) << 16U | (pixel >> 16U & 0xFFU);
}

} // namespace

QPixmap fromCGImageRef(CGImageRef image)
{
    const std::size_t width = CGImageGetWidth(image);
    const std::size_t height = CGImageGetHeight(image);
    if (!canBeHeld(width, height))
        return {};

    const std::size_t count = width * height;
    const std::unique_ptr<std::uint32_t[]> pixels(new (std::nothrow) std::uint32_t[count]());
    if (!pixels || !draw(image, pixels.get(), width, height))
        return {};

    for (std::size_t i = 0; i < count; ++i)
        pixels[i] = withRedAndBlueExchanged(pixels[i]);

    const QImage view(reinterpret_cast<const uchar *>(pixels.get()), static_cast<int>(width), static_cast<int>(height),
                      QImage::Format_ARGB32);
    return QPixmap::fromImage(view); // copies: the pixels go when this returns
}
