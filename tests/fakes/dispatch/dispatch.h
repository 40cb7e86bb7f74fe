#pragma once

// A stand-in for the system's header of this name: the few declarations the program uses, so that its macOS sources
// compile and run elsewhere.

using dispatch_queue_t = struct FakeQueue *;

constexpr long DISPATCH_QUEUE_PRIORITY_DEFAULT = 0;

/// The queue of default priority. This stand-in has no other one: null for other priorities, and, as from the system,
/// for flags that are not 0.
dispatch_queue_t dispatch_get_global_queue(long priority, unsigned long flags);
