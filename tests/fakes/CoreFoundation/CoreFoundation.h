#pragma once

// A stand-in for the system's header of this name: the few declarations the program uses, so that its macOS sources
// compile and run elsewhere.

using CFTypeRef = const void *;
using CFAllocatorRef = const struct FakeAllocator *;
using CFDictionaryRef = const struct FakeDictionary *;

extern const CFAllocatorRef kCFAllocatorDefault;

/// Gives up the caller's reference. Ends the program with a message when `object` is null or no longer alive.
void CFRelease(CFTypeRef object);
