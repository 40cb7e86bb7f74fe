#include "platform/descriptorlimit.h"

#include <algorithm>
#include <climits>

#include <sys/resource.h>

namespace quorvale {

void raiseDescriptorLimit()
{
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    rlim_t most = limit.rlim_max;
#ifdef __APPLE__
    most = std::min<rlim_t>(most, OPEN_MAX); // More is refused, whatever the limit says.
#endif
    limit.rlim_cur = std::max(limit.rlim_cur, most);
    (void)setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace quorvale
