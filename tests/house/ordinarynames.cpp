// A program that has names of its own, ordinary ones and some that the house uses inside, and includes every header
// that other code relies on: they bring their own names and no others. A name that one of them brings along is declared
// twice here, and this does not compile.

using AccessUnit = int;
using Bytes = int;
using ChromaBlock = int;
using ChromaRow = int;
using DateOrder = int;
using Deleter = int;
using ExactReader = int;
using FileManager = int;
using FramePtr = int;
using InputPtr = int;
using Owner = int;
using PacketPtr = int;
using PacketReplay = int;
using PictureIndex = int;
using PictureList = int;
using PictureSeries = int;
using Plane = int;
using PlaneLayout = int;
using ProcessEnd = int;
using RecordBytes = int;
using ScanThreads = int;
using Stretch = int;
using ThumbnailSize = int;
using copyPicture = int;
using dateOrder = int;
using displayText = int;
using ffmpeg = int;
using formatFileSize = int;
using kMostPixels = int;
using kNoTimestamp = int;
using likelyFrameCount = int;
using makeDecoder = int;
using makeFrame = int;
using makePacket = int;
using notifyIfAlive = int;
using openSingleInput = int;
using patience = int;
using release = int;
using rgbPicture = int;
using rowsHeld = int;
using runProgram = int;
using saturateToInt32 = int;
using say = int;
using scaledTo = int;
using thumbnailSize = int;
using today = int;
using truncateToInt32 = int;
using twoDigits = int;

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
#include "thumbs/thumbnailscanner.h"
#include "video/bridgeimage.h"
#include "video/exact/exactreader.h"
#include "video/ffvideo.h"
#include "video/keyframetable.h"
#include "video/yuv2rgb.h"

int main()
{
    const ffmpeg own = 7;
    KeyFrameTable table;
    return own == 7 && GetEntryIndex(&table, 0) == -1 ? 0 : 1;
}
