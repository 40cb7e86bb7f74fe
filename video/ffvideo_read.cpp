#include "video/ffvideo.h"

#include "video/ffmpeg/picturecopy.h"

bool FFVideo::Read(int frameNumber, BridgeImage &image)
{
    if (frameNumber < 0 || (keyFrames.complete && frameNumber >= frameCount)) {
        lastError = FF_ERROR_RANGE;
        return false;
    }
    if (!seekToFrame(frameNumber)) {
        lastError = FF_ERROR_SEEK;
        return false;
    }
    if (!quorvale::ffmpeg::copyPicture(*frame, height, image)) {
        lastError = FF_ERROR_LAYOUT;
        return false;
    }
    return true;
}
