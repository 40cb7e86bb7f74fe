#pragma once

#include <cstddef>

// Sanitizers bring an allocator of their own, with a count of its own.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define QUORVALE_SANITIZED_HEAP
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define QUORVALE_SANITIZED_HEAP
#endif

#ifdef QUORVALE_SANITIZED_HEAP
#include <sanitizer/allocator_interface.h>
#else
#include <malloc.h>
#endif

/// The bytes that the process holds on the heap: allocated and not freed.
inline std::size_t heapBytes()
{
#ifdef QUORVALE_SANITIZED_HEAP
    return __sanitizer_get_current_allocated_bytes();
#else
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}
