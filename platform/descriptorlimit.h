#pragma once

namespace quorvale {

/// Lets this process have as many descriptors as the system allows it: each scan's thread keeps one or two until the
/// program ends, and systems begin with few (256 on macOS). Where that cannot be had the limit stays as it is.
void raiseDescriptorLimit();

} // namespace quorvale
