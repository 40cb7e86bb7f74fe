#include "platform/diskwatch.h"

#include <cstdio>

/// For a system whose disk events this program does not know: there is nothing to hold.
class DiskWatch::Source
{
};

DiskWatch::DiskWatch(NewDiskNotifier *)
{
    std::fputs("DiskWatch: this system's disk events are not known, disks that come and go are not noticed\n", stderr);
}

DiskWatch::~DiskWatch() = default;
