#include "video/ffvideo.h"

#include "video/exact/skipahead.h"
#include "video/ffmpeg/compat.h"
#include "video/saturate.h"

#include <optional>

namespace {

// While it lives, pictures are decoded as far as their number, their kind and their timestamps go, and look rough. For
// decoding to the end of a file that can be sought: the reader then stands behind the last picture, and every road back
// to one leads over a seek, which empties the decoder. The decoder must outlive it.
class PicturesUnseen
{
public:
    explicit PicturesUnseen(AVCodecContext &decoder)
        : m_decoder(decoder)
    {
        m_decoder.skip_loop_filter = AVDISCARD_ALL;
        m_decoder.skip_idct = AVDISCARD_ALL;
    }
    ~PicturesUnseen()
    {
        m_decoder.skip_loop_filter = AVDISCARD_DEFAULT;
        m_decoder.skip_idct = AVDISCARD_DEFAULT;
    }
    PicturesUnseen(const PicturesUnseen &) = delete;
    PicturesUnseen &operator=(const PicturesUnseen &) = delete;

private:
    AVCodecContext &m_decoder;
};

} // namespace

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
    // Copied before anything is released: a table can be set on the reader that it comes from.
    KeyFrameTable copy;
    CopyKFT(&copy, table);
    ReleaseKFT(&keyFrames);
    keyFrames = copy;
    return true;
}

// From the furthest picture scanned to the end of the file.
void FFVideo::completeSeekTable()
{
    if (keyFrames.complete || !formatContext)
        return;
    const std::int64_t furthest = std::int64_t{keyFrames.frames} + FIRST_FRAME_INDEX - 1;
    // Before the first row is made there is nothing to seek to, and nothing that needs a seek.
    if (!seekToNearestKeyFrame(saturateToInt32(furthest), 0) && !forceKeyEntry)
        return;
    // Behind a skip the file may have to be opened again on the way, with another decoder.
    const bool keepsDecoder = !skipAhead || !skipAhead->hasRestarted();
    std::optional<PicturesUnseen> unseen;
    const bool seekable = formatContext->pb && (formatContext->pb->seekable & AVIO_SEEKABLE_NORMAL) != 0;
    const bool canReturn = isHevc || (rowsHeld(&keyFrames) > 0 && keyFrames.entries[0].seekDts != kNoTimestamp);
    if (seekable && canReturn && keepsDecoder)
        unseen.emplace(*videoCodec);
    while (!endOfStream)
        stepForward();
}

bool FFVideo::GetFramesUntilComplete(int maxFrames)
{
    for (int step = 0; step < maxFrames && formatContext && !keyFrames.complete && !endOfStream; ++step)
        stepForward();
    return keyFrames.complete;
}
