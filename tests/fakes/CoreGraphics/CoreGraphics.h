#pragma once

// A stand-in for the system's header of this name: the few declarations the program uses, so that its macOS sources
// compile and run elsewhere.

#include <cstddef>
#include <cstdint>

using CGFloat = double;
using CGImageRef = struct FakeImage *;
using CGContextRef = struct FakeContext *;
using CGColorSpaceRef = struct FakeColourSpace *;

struct CGRect
{
    CGFloat x;
    CGFloat y;
    CGFloat width;
    CGFloat height;
};

enum CGImageAlphaInfo : std::uint32_t { kCGImageAlphaPremultipliedLast = 1 };
enum CGBitmapInfo : std::uint32_t { kCGBitmapByteOrder32Big = 4U << 12U };

CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height);

/// 0 for no image.
std::size_t CGImageGetWidth(CGImageRef image);
std::size_t CGImageGetHeight(CGImageRef image);

CGColorSpaceRef CGColorSpaceCreateDeviceRGB();

/// Unlike CFRelease(), the releases of this library accept null.
void CGColorSpaceRelease(CGColorSpaceRef space);

/// A context that writes R, G, B, A into `data`; null for anything else than 8 bits a component, a live colour space
/// and premultiplied alpha last, for an empty bitmap, and after fakes::refuseContexts(true).
CGContextRef CGBitmapContextCreate(void *data, std::size_t width, std::size_t height, std::size_t bitsPerComponent,
                                   std::size_t bytesPerRow, CGColorSpaceRef space, std::uint32_t bitmapInfo);
void CGContextRelease(CGContextRef context);

/// Draws over what is there: a pixel that is not opaque lets it through. The rectangle must be the whole bitmap.
void CGContextDrawImage(CGContextRef context, CGRect rectangle, CGImageRef image);
