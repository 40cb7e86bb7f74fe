#pragma once

#include <functional>
#include <vector>

namespace quorvale {

/// Runs the jobs, in their order, on as many threads as there are processors, and returns when all have ended. After
/// one has thrown, no further one is started; the first exception is rethrown.
void runParallel(const std::vector<std::function<void()>> &jobs);

} // namespace quorvale
