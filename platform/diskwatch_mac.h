#pragma once

#include <DiskArbitration/DiskArbitration.h>

// What the disk arbitration service calls, on a thread of the queue it was given. `context` is the NewDiskNotifier.
// Both raise disksChanged() at once and do not look at the disk; they may run at the same time. One that comes when the
// notifier is gone does nothing.

/// A disk appeared.
void NewDiskhelloDisk(DADiskRef disk, void *context);

/// A disk disappeared.
void NewDiskgoodbyeDisk(DADiskRef disk, void *context);
