// A program that gave its own meaning to names that the house uses inside, and includes the headers of video/ all the
// same. A name that one of them brings along is a name that is declared twice here, and this does not compile.

using Bytes = int;
using ChromaBlock = int;
using ChromaRow = int;
using Deleter = int;
using ExactReader = int;
using FramePtr = int;
using InputPtr = int;
using Owner = int;
using PacketPtr = int;
using PacketScanner = int;
using PictureIndex = int;
using Plane = int;
using PlaneLayout = int;
using Sequence = int;
using SkipAhead = int;
using SkipAheadCounters = int;
using copyPicture = int;
using ffmpeg = int;
using kMostPixels = int;
using kNoTimestamp = int;
using likelyFrameCount = int;
using makeDecoder = int;
using makeFrame = int;
using makePacket = int;
using openSingleInput = int;
using release = int;
using rowsHeld = int;
using saturateToInt32 = int;
using truncateToInt32 = int;

#include "video/bridgeimage.h"
#include "video/ffvideo.h"
#include "video/keyframetable.h"
#include "video/yuv2rgb.h"
#if __has_include("video/exact/exactreader.h")
#include "video/exact/exactreader.h"
#endif

int main()
{
    const ffmpeg own = 7;
    KeyFrameTable table;
    return own == 7 && GetEntryIndex(&table, 0) == -1 ? 0 : 1;
}
