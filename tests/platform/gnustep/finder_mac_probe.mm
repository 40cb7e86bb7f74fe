// A program that reveals the file named by its first argument, and then says on the standard output how many strings
// the call has left.

#include "platform/finder.h"

#import <AppKit/AppKit.h>
#import <Foundation/NSDebug.h>

#include <cstdio>

namespace {

void reveal(const char *path)
{
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    OpenFinderWindowAt(path);
    [pool release];
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return 1;
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    const char *path = argv[1];

    // The class that such a string really has: the runtime counts its objects.
    NSString *example = [[NSString alloc] initWithCString:path encoding:NSUTF8StringEncoding];
    Class stringClass = [example class];
    [example release];

    reveal(path); // what is allocated once is allocated here
    GSDebugAllocationActive(YES);
    const int before = GSDebugAllocationCount(stringClass);
    reveal(path);
    std::printf("strings left: %d\n", GSDebugAllocationCount(stringClass) - before);
    [pool release];
    return 0;
}
