#include "video/ffmpeg/largepieces.h"

#include "video/ffmpeg/picturelimits.h"

extern "C" {
#include <libavutil/mem.h>
}

#include <mutex>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace quorvale::ffmpeg {

namespace {

std::mutex holdersMutex;
int holders = 0;

void change(int difference)
{
    const std::lock_guard<std::mutex> lock(holdersMutex);
    holders += difference;
    av_max_alloc(holders > 0 ? kMostUncompressedBytes : kMostBytesInOnePiece);
}

} // namespace

void boundPieces()
{
    change(0);
#ifdef __GLIBC__
    mallopt(M_MMAP_THRESHOLD, 3 * kMiB); // by itself it grows to 32 MiB; usual pictures have smaller pieces
    mallopt(M_TRIM_THRESHOLD, 8 * kMiB);
#endif
}

LargePieces::LargePieces()
{
    change(1);
}

LargePieces::~LargePieces()
{
    change(-1);
}

} // namespace quorvale::ffmpeg
