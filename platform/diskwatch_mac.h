#pragma once

#include <DiskArbitration/DiskArbitration.h>

// What the disk arbitration service calls, on a thread of the queue it was given. `context` is the NewDiskNotifier.
// Both raise disksChanged() at once and do not look at the disk; they may run at the same time, and do nothing once the
// notifier is gone.

/// A disk appeared.
void NewDiskhelloDisk(DADiskRef disk, void *context);

/// A disk disappeared.
void NewDiskgoodbyeDisk(DADiskRef disk, void *context);
