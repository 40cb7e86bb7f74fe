#include "video/ffvideo.h"

#include "video/saturate.h"

using namespace quorvale;

bool FFVideo::LoadKeyTable(const char *path)
{
    if (keyFrames.entries)
        ReleaseKFT(&keyFrames);
    return LoadKeyFrameTable(&keyFrames, path);
}

bool FFVideo::SaveKeyTable(const char *path, bool markSaved)
{
    return SaveKeyFrameTable(&keyFrames, path, markSaved);
}

bool FFVideo::SetKeyTable(const KeyFrameTable *table)
{
    if (!table)
        return false;
    // Copied before anything is released: `table` may be this reader's own.
    KeyFrameTable copy;
    CopyKFT(&copy, table);
    ReleaseKFT(&keyFrames);
    keyFrames = copy;
    return true;
}

// Decodes from the last picture scanned to the end of the file.
void FFVideo::completeSeekTable()
{
    if (keyFrames.complete || !formatContext)
        return;
    const std::int64_t furthest = std::int64_t{keyFrames.frames} + FIRST_FRAME_INDEX - 1;
    // Without a first row there is nothing to seek to, and no need to seek.
    if (!seekToNearestKeyFrame(saturateToInt32(furthest), 0) && !forceKeyEntry)
        return;
    while (!endOfStream)
        stepForward();
}

bool FFVideo::GetFramesUntilComplete(int maxFrames)
{
    for (int step = 0; step < maxFrames && formatContext && !keyFrames.complete && !endOfStream; ++step)
        stepForward();
    return keyFrames.complete;
}
