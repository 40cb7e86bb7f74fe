#pragma once

namespace fakes {

/// A disk is plugged in or pulled out. Each session with a queue is told, also one that its creator has released, from
/// threads of their own, one for each event, which may run at the same time: more than the system does with one
/// session, so that nobody relies on an order. A session that has no queue yet is told when it gets one.
void insertDisk();
void ejectDisk();

/// Waits for every callback that is on its way.
void waitForCallbacks();

/// How many callbacks have been run so far.
int callbacksRun();

/// How many sessions their creators have not released.
int sessionsHeld();

/// Takes the queue from every session, as at the end of a program: those that nobody else holds are gone.
void endSessions();

/// From now on DASessionCreate() gives null, or a session again.
void refuseSessions(bool refuse);

} // namespace fakes
