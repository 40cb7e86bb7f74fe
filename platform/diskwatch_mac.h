#pragma once

#include <DiskArbitration/DiskArbitration.h>

// What the disk arbitration service calls, on a thread of the queue it was given. `context` is the NewDiskNotifier.
// Both raise disksChanged() at once, whatever the disk: they neither look at it nor touch anything shared, and may run
// at the same time.

/// A disk appeared.
void NewDiskhelloDisk(DADiskRef disk, void *context);

/// A disk disappeared.
void NewDiskgoodbyeDisk(DADiskRef disk, void *context);
