#pragma once

#include <functional>

namespace fakes {

/// How many objects of the fake system are alive. A test compares it before and after: a leak is a difference.
int liveObjects();

/// The book of live objects, kept by the fakes themselves. Callable from any thread. A new object has one reference,
/// its creator's.
void enterObject(const void *object, std::function<void()> destroy);

/// One reference more or less; the last one destroys `object`. Both end the program with a message when it is null or
/// not alive.
void retainObject(const void *object);
void releaseObject(const void *object);

/// How many references `object` has; 0 when it is not alive.
int references(const void *object);

} // namespace fakes
