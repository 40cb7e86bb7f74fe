#pragma once

/// Whether this is checked by a sanitizer: AddressSanitizer keeps what was freed, and everything takes longer.
#ifdef QUORVALE_SANITIZED
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif
