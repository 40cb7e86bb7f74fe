#include "video/ffvideo.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/decoder.h"
#include "video/saturate.h"

#include <limits>

using namespace quorvale;

// Tried in this order: to stay; one step; decoding forward from a picture between the key picture and the target;
// seeking to the key picture, or to an earlier one if that is missed, and decoding forward from there.

bool FFVideo::seekToFrame(int target)
{
    if (currentFrame == target)
        return true;
    if (!formatContext)
        return false;
    if (std::int64_t{currentFrame} + 1 == target) {
        stepForward();
        if (currentFrame == target)
            return true;
    }

    if (restartSeeks || isHevc) {
        // These files are read from their beginning, whatever the table says; from where the demuxer is, if that fails.
        if (currentFrame > target)
            seekToNearestKeyFrame(FIRST_FRAME_INDEX, 0);
    } else if (!seekToNearestKeyFrame(target, 0)) {
        return false;
    }

    while (currentFrame < target) {
        stepForward();
        // The number is tested first: the step that finds the end of the file is counted, too.
        if (currentFrame < target && endOfStream)
            return false;
    }
    return currentFrame == target;
}

bool FFVideo::seekToNearestKeyFrame(int target, int stepsBack)
{
    if (!formatContext)
        return false;
    if (isHevc) {
        restartAtFirstByte();
        return true;
    }

    for (;; stepsBack = saturateToInt32(std::int64_t{stepsBack} + 1)) {
        const std::int64_t index = std::int64_t{GetEntryIndex(&keyFrames, target)} - stepsBack;
        if (index < 0 || index >= rowsHeld(&keyFrames))
            return false;
        const KeyFrameEntry row = keyFrames.entries[index];
        if (row.frame == currentFrame)
            return true;

        // K . . . c . t     c, the current picture, is between the key picture and the target: to go on from here is
        //                   cheaper than to decode the same pictures again from K.
        if (row.frame < currentFrame && currentFrame < target) {
            while (!endOfStream && currentFrame < target)
                stepForward();
            if (currentFrame == target)
                return true;
        }

        if (!seekTo(row))
            return false;
        const Landing landing = landOn(row);
        if (landing == Landing::OnKeyFrame)
            return true;
        if (landing == Landing::Doubted) {
            // Tries the row before, as if the doubted picture were the target.
            if (row.frame == std::numeric_limits<std::int32_t>::min())
                return false;
            target = row.frame - 1;
            stepsBack = -1;
        }
    }
}

// Raw HEVC has no timestamps to seek by; the next picture is the first one again. The result of the seek is ignored on
// purpose: a raw stream has byte positions.
void FFVideo::restartAtFirstByte()
{
    av_seek_frame(formatContext, videoStream, 0, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_BYTE);
    ffmpeg::flush(*videoCodec);
    currentFrame = -1;
    endOfStream = false;
}

// Seeks to the row's place. The position is unknown afterwards.
bool FFVideo::seekTo(const KeyFrameEntry &row)
{
    currentFrame = -1;
    endOfStream = false;
    // Forward, any packet will do: nothing after it has been decoded yet.
    const int flags = row.seekDts > lastDts ? AVSEEK_FLAG_ANY : AVSEEK_FLAG_BACKWARD;
    if (av_seek_frame(formatContext, videoStream, row.seekDts, flags) < 0)
        return false;
    ffmpeg::flush(*videoCodec);
    return true;
}

// Decodes forward after a seek until the packet that completed the row's picture has been read.
FFVideo::Landing FFVideo::landOn(const KeyFrameEntry &row)
{
    currentFrame = saturateToInt32(std::int64_t{row.frame} - 1);
    stepForward();
    if (endOfStream)
        return Landing::Missed; // `currentFrame` stays the row's number
    while (!endOfStream && lastDts < row.frameDts)
        stepForward();

    // The end of the file counts as missed: a table that belongs to another file names timestamps that never come.
    if (endOfStream || lastDts != row.frameDts) {
        currentFrame = -1; // The position is not known.
        return Landing::Missed;
    }
    if (row.frame != FIRST_FRAME_INDEX && !ffmpeg::isKeyFrame(*frame))
        return Landing::Doubted;
    currentFrame = row.frame;
    return Landing::OnKeyFrame;
}
