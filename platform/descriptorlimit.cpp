#include "platform/descriptorlimit.h"

#include <algorithm>
#include <climits>

#include <sys/resource.h>

namespace quorvale {

namespace {

std::uint64_t limitAtStart = 0;

} // namespace

void raiseDescriptorLimit()
{
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    rlim_t most = limit.rlim_max;
#ifdef __APPLE__
    most = std::min<rlim_t>(most, OPEN_MAX); // More is refused, whatever the limit says.
#endif
    const rlim_t before = limit.rlim_cur;
    limit.rlim_cur = std::max(limit.rlim_cur, most);
    if (limit.rlim_cur != before && setrlimit(RLIMIT_NOFILE, &limit) == 0)
        limitAtStart = before;
}

std::uint64_t descriptorLimitAtStart()
{
    return limitAtStart;
}

} // namespace quorvale
