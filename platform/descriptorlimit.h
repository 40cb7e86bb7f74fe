#pragma once

#include <cstdint>

namespace quorvale {

/// Lets this process have as many descriptors as the system allows it: systems begin with few (256 on macOS), and Qt
/// aborts where none is left. Where that cannot be had the limit stays as it is.
void raiseDescriptorLimit();

/// How many descriptors the process was to have before that; 0 where nothing was raised. Programs that this one starts
/// are given this many: those that wait with select() break with more.
[[nodiscard]] std::uint64_t descriptorLimitAtStart();

} // namespace quorvale
