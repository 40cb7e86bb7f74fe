#include "video/ffmpeg/singleinput.h"

#include "video/ffmpeg/inputformats.h"
#include "video/ffmpeg/regularfile.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
}

namespace quorvale::ffmpeg {

namespace {

int openNothingElse(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **)
{
    return AVERROR(EPERM);
}

// Some containers open what they name with a context of their own. That inherits the protocols which are allowed.
bool restrictToItself(AVFormatContext &input)
{
    input.io_open = openNothingElse;
    return av_opt_set(&input, "protocol_whitelist", "none", 0) >= 0;
}

} // namespace

bool openSingleInput(AVFormatContext *&input, const char *path)
{
    input = nullptr;
    AVIOContext *file = openRegularFile(path);
    if (!file)
        return false;
    AVFormatContext *opening = avformat_alloc_context();
    if (!opening || !restrictToItself(*opening) || !restrictToVideo(*opening)) {
        avformat_free_context(opening);
        closeRegularFile(file);
        return false;
    }
    opening->pb = file;
    if (avformat_open_input(&opening, path, nullptr, nullptr) < 0) { // which frees it where it fails
        closeRegularFile(file);
        return false;
    }
    input = opening;
    return true;
}

void closeSingleInput(AVFormatContext *&input)
{
    if (!input)
        return;
    // What FFmpeg has not opened itself it does not close.
    AVIOContext *file = (input->flags & AVFMT_FLAG_CUSTOM_IO) != 0 ? input->pb : nullptr;
    avformat_close_input(&input);
    closeRegularFile(file);
}

} // namespace quorvale::ffmpeg
