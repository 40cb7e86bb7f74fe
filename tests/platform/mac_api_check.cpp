// What the macOS sources assume about the system's functions. Compiled with the stand-ins on other systems and with the
// real headers on a Mac, so that both stay alike. It tests that the calls are possible, not that the types are the
// same: the real functions may be noexcept or take a wider type.

#include "platform/cgimage_mac.h"
#include "platform/diskwatch_mac.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <DiskArbitration/DiskArbitration.h>
#include <dispatch/dispatch.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace {

template <typename Result, typename Function, typename... Arguments>
constexpr bool kCallable = std::is_invocable_r_v<Result, Function, Arguments...>;

// dispatch
static_assert(kCallable<dispatch_queue_t, decltype(&dispatch_get_global_queue), long, unsigned long>);
static_assert(DISPATCH_QUEUE_PRIORITY_DEFAULT == 0);

// DiskArbitration
static_assert(kCallable<DASessionRef, decltype(&DASessionCreate), CFAllocatorRef>);
static_assert(kCallable<void, decltype(&DASessionSetDispatchQueue), DASessionRef, dispatch_queue_t>);
static_assert(kCallable<void, decltype(&DARegisterDiskAppearedCallback), DASessionRef, CFDictionaryRef,
                        DADiskAppearedCallback, void *>);
static_assert(kCallable<void, decltype(&DARegisterDiskDisappearedCallback), DASessionRef, CFDictionaryRef,
                        DADiskDisappearedCallback, void *>);
static_assert(std::is_convertible_v<decltype(&NewDiskhelloDisk), DADiskAppearedCallback>);
static_assert(std::is_convertible_v<decltype(&NewDiskgoodbyeDisk), DADiskDisappearedCallback>);

// CoreFoundation
static_assert(std::is_convertible_v<decltype(kCFAllocatorDefault), CFAllocatorRef>);
static_assert(std::is_convertible_v<DASessionRef, CFTypeRef>);
static_assert(kCallable<void, decltype(&CFRelease), CFTypeRef>);

// CoreGraphics
static_assert(kCallable<std::size_t, decltype(&CGImageGetWidth), CGImageRef>);
static_assert(kCallable<std::size_t, decltype(&CGImageGetHeight), CGImageRef>);
static_assert(kCallable<CGColorSpaceRef, decltype(&CGColorSpaceCreateDeviceRGB)>);
static_assert(kCallable<void, decltype(&CGColorSpaceRelease), CGColorSpaceRef>);
static_assert(kCallable<CGContextRef, decltype(&CGBitmapContextCreate), void *, std::size_t, std::size_t, std::size_t,
                        std::size_t, CGColorSpaceRef, std::uint32_t>);
static_assert(kCallable<void, decltype(&CGContextRelease), CGContextRef>);
static_assert(kCallable<CGRect, decltype(&CGRectMake), CGFloat, CGFloat, CGFloat, CGFloat>);
static_assert(kCallable<void, decltype(&CGContextDrawImage), CGContextRef, CGRect, CGImageRef>);
static_assert((std::uint32_t{kCGImageAlphaPremultipliedLast} | std::uint32_t{kCGBitmapByteOrder32Big}) == 16385);

// The room's own
static_assert(kCallable<QPixmap, decltype(&fromCGImageRef), CGImageRef>);

} // namespace
