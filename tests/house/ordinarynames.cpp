// A program that has names of its own, ordinary ones, and includes every header that other code relies on: they bring
// their own names and no others. It only has to compile.

#include "app/viewer.h"
#include "archive/archivediscovery.h"
#include "archive/archivepaths.h"
#include "archive/programme.h"
#include "archive/recordingsindex.h"
#include "platform/diskwatch.h"
#include "platform/finder.h"
#include "platform/newdisknotifier.h"
#include "thumbs/multiframethumb.h"
#include "thumbs/thumbnailcache.h"

// Of other types than any name of the house would have.
struct Own
{
};
struct DateOrder : Own
{
};
struct FileManager : Own
{
};
struct ProcessEnd : Own
{
};
struct RecordBytes : Own
{
};
struct ScanThreads : Own
{
};
struct ThumbnailSize : Own
{
};

Own displayText;
Own dateOrder;
Own ffmpeg;
Own formatFileSize;
Own notifyIfAlive;
Own patience;
Own rgbPicture;
Own runProgram;
Own say;
Own scaledTo;
Own thumbnailSize;
Own today;
Own twoDigits;

int main()
{
    return 0;
}
