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

std::mutex countMutex;
int count = 0;

void change(int difference)
{
    const std::lock_guard<std::mutex> lock(countMutex);
    count += difference;
    av_max_alloc(count > 0 ? kMostUncompressedBytes : kMostBytesInOnePiece);
}

} // namespace

void boundPieces()
{
    change(0);
#ifdef __GLIBC__
    mallopt(M_MMAP_THRESHOLD, 4 * kMiB); // by itself it grows to 32 MiB
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
