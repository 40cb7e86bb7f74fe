#include "platform/oneheap.h"

#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace quorvale {

void useOneHeap()
{
#ifdef __GLIBC__
    mallopt(M_ARENA_MAX, 1);
#endif
}

} // namespace quorvale
