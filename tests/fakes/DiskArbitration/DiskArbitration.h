#pragma once

// A stand-in for the system's header of this name: the few declarations the program uses, so that its macOS sources
// compile and run elsewhere.

#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>

using DASessionRef = struct FakeSession *;
using DADiskRef = struct FakeDisk *;
using DADiskAppearedCallback = void (*)(DADiskRef disk, void *context);
using DADiskDisappearedCallback = void (*)(DADiskRef disk, void *context);

/// Null after fakes::refuseSessions(true).
DASessionRef DASessionCreate(CFAllocatorRef allocator);

/// Events of a session are delivered from now on, those that already wait at once. A session that has a queue is
/// retained by the system: it lives, and its callbacks are called, until it is given no queue (null), also after its
/// creator has released it.
void DASessionSetDispatchQueue(DASessionRef session, dispatch_queue_t queue);

/// Reports also the disks that are already there. A registration with a match dictionary matches nothing.
void DARegisterDiskAppearedCallback(DASessionRef session, CFDictionaryRef match, DADiskAppearedCallback callback,
                                    void *context);
void DARegisterDiskDisappearedCallback(DASessionRef session, CFDictionaryRef match, DADiskDisappearedCallback callback,
                                       void *context);
