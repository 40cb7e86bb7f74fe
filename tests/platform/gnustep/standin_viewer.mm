// Stands in for the workspace's file viewer: registers under its name, says "ready", and writes a line for each file it
// is asked to show, with the root path in brackets. Ends with its input.

#import <AppKit/AppKit.h>

#include <cstdio>
#include <cstdlib>

@interface StandInViewer : NSObject
- (BOOL)selectFile:(NSString *)file inFileViewerRootedAtPath:(NSString *)root;
- (void)inputEnded:(NSNotification *)notification;
@end

@implementation StandInViewer

- (BOOL)selectFile:(NSString *)file inFileViewerRootedAtPath:(NSString *)root
{
    std::printf("%s [%s]\n", [file UTF8String], [root UTF8String]);
    std::fflush(stdout);
    return YES;
}

- (void)inputEnded:(NSNotification *)notification
{
    std::exit(0);
}

@end

int main()
{
    NSAutoreleasePool *pool = [[NSAutoreleasePool alloc] init];
    StandInViewer *viewer = [[StandInViewer alloc] init];
    NSConnection *connection = [NSConnection defaultConnection];
    [connection setRootObject:viewer];
    if (![connection registerName:@"GWorkspace"]) {
        std::fputs("the viewer's name could not be registered\n", stderr);
        return 1;
    }

    NSFileHandle *input = [NSFileHandle fileHandleWithStandardInput];
    [[NSNotificationCenter defaultCenter] addObserver:viewer
                                             selector:@selector(inputEnded:)
                                                 name:NSFileHandleReadToEndOfFileCompletionNotification
                                               object:input];
    [input readToEndOfFileInBackgroundAndNotify];

    std::puts("ready");
    std::fflush(stdout);
    [[NSRunLoop currentRunLoop] run];
    [pool release];
    return 0;
}
