#include "platform/finder.h"

#import <AppKit/AppKit.h>

void OpenFinderWindowAt(const char *path)
{
    NSString *file = [[NSString alloc] initWithCString:path encoding:NSUTF8StringEncoding];
    // An empty root: a window on the file's own folder. The result is ignored.
    [[NSWorkspace sharedWorkspace] selectFile:file inFileViewerRootedAtPath:@""];
    NSLog(@"Opening file %@", file);
    [file release];
}
