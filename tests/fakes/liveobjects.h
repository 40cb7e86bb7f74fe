#pragma once

#include <functional>

namespace fakes {

/// How many objects of the fake system are alive. A test compares it before and after: a leak is a difference.
int liveObjects();

/// The book of live objects, kept by the fakes themselves. Callable from any thread.
void enterObject(const void *object, std::function<void()> destroy);

/// Destroys `object`; ends the program with a message when it is null or not alive.
void releaseObject(const void *object);

bool isAlive(const void *object);

} // namespace fakes
