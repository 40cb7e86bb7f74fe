#pragma once

namespace fakes {

/// A disk is plugged in or pulled out. Each session with a queue is told from threads of their own, one for each event,
/// which may run at the same time; a session without a queue is not told. A session that has been released is told
/// nothing.
void insertDisk();
void ejectDisk();

/// Waits for every callback that is on its way.
void waitForCallbacks();

/// How many callbacks have been run so far.
int callbacksRun();

/// From now on DASessionCreate() gives null, or a session again.
void refuseSessions(bool refuse);

} // namespace fakes
