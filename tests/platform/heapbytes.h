#pragma once

#include <cstddef>

// Sanitizers bring an allocator of their own, with a count of its own.
#ifdef QUORVALE_SANITIZED
extern "C" std::size_t __sanitizer_get_current_allocated_bytes(); // NOLINT(bugprone-reserved-identifier): its name
#else
#include <malloc.h>
#endif

/// The bytes that the process holds on the heap: allocated and not freed.
inline std::size_t heapBytes()
{
#ifdef QUORVALE_SANITIZED
    return __sanitizer_get_current_allocated_bytes();
#else
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}
