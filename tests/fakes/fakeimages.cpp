#include "tests/fakes/fakeimages.h"

#include "tests/fakes/liveobjects.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

struct FakeImage
{
    std::size_t width;
    std::size_t height;
    std::vector<fakes::Rgba> pixels;
};

struct FakeColourSpace
{
};

struct FakeContext
{
    std::uint8_t *data;
    std::size_t width;
    std::size_t height;
    std::size_t bytesPerRow;
};

namespace {

bool contextsRefused = false;

template <typename T>
T *alive(T *object)
{
    fakes::enterObject(object, [object] { delete object; });
    return object;
}

} // namespace

CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height)
{
    return {x, y, width, height};
}

std::size_t CGImageGetWidth(CGImageRef image)
{
    return image ? image->width : 0;
}

std::size_t CGImageGetHeight(CGImageRef image)
{
    return image ? image->height : 0;
}

CGColorSpaceRef CGColorSpaceCreateDeviceRGB()
{
    return alive(new FakeColourSpace);
}

void CGColorSpaceRelease(CGColorSpaceRef space)
{
    if (space)
        fakes::releaseObject(space);
}

CGContextRef CGBitmapContextCreate(void *data, std::size_t width, std::size_t height, std::size_t bitsPerComponent,
                                   std::size_t bytesPerRow, CGColorSpaceRef space, std::uint32_t bitmapInfo)
{
    constexpr std::uint32_t kPremultipliedLast =
        std::uint32_t{kCGImageAlphaPremultipliedLast} | std::uint32_t{kCGBitmapByteOrder32Big};
    const bool understood = bitsPerComponent == 8 && fakes::references(space) > 0 && bitmapInfo == kPremultipliedLast;
    const bool fits = width > 0 && height > 0 && bytesPerRow >= width * sizeof(fakes::Rgba);
    if (contextsRefused || !understood || !fits)
        return nullptr;
    return alive(new FakeContext{static_cast<std::uint8_t *>(data), width, height, bytesPerRow});
}

void CGContextRelease(CGContextRef context)
{
    if (context)
        fakes::releaseObject(context);
}

void CGContextDrawImage(CGContextRef context, CGRect rectangle, CGImageRef image)
{
    const bool wholeBitmap = rectangle.x == 0 && rectangle.y == 0 && rectangle.width == CGFloat(context->width) &&
                             rectangle.height == CGFloat(context->height);
    if (!wholeBitmap || image->width != context->width || image->height != context->height) {
        std::fputs("fakes: drawn into something else than the whole bitmap\n", stderr);
        std::abort();
    }
    for (std::size_t y = 0; y < image->height; ++y) {
        std::uint8_t *row = context->data + y * context->bytesPerRow;
        for (std::size_t x = 0; x < image->width; ++x) {
            const fakes::Rgba &pixel = image->pixels[y * image->width + x];
            for (std::size_t c = 0; c < pixel.size(); ++c) {
                std::uint8_t &target = row[x * pixel.size() + c];
                target = static_cast<std::uint8_t>(pixel[c] + target * (255 - pixel[3]) / 255);
            }
        }
    }
}

namespace fakes {

CGImageRef makeImage(std::size_t width, std::size_t height, std::vector<Rgba> pixels)
{
    return alive(new FakeImage{width, height, std::move(pixels)});
}

void refuseContexts(bool refuse)
{
    contextsRefused = refuse;
}

} // namespace fakes
