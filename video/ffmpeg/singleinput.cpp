#include "video/ffmpeg/singleinput.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
}

#include <cstring>

namespace quorvale::ffmpeg {

namespace {

// What marks an input that has asked for another file, in the place that the library leaves to its user.
bool hasAskedForMore(const AVFormatContext &input)
{
    return input.opaque != nullptr;
}

// A playlist waits before it looks again, for as long as it likes. This ends the wait, and every further read.
int isToStop(void *input)
{
    return hasAskedForMore(*static_cast<const AVFormatContext *>(input)) ? 1 : 0;
}

int openNothingElse(AVFormatContext *input, AVIOContext **file, const char *url, int flags, AVDictionary **options)
{
    // Nor the same one again, while it is open: that is how a playlist looks for what it has grown by.
    if (input->pb || std::strcmp(url, input->url) != 0) {
        input->opaque = input;
        return AVERROR(EPERM);
    }
    return avio_open2(file, url, flags, &input->interrupt_callback, options);
}

} // namespace

bool openSingleInput(AVFormatContext *&input, const char *path)
{
    input = avformat_alloc_context();
    if (!input)
        return false;
    input->io_open = openNothingElse;
    input->interrupt_callback = {isToStop, input};
    // Some containers open what they name with a context of their own. That inherits the protocols which are allowed.
    if (av_opt_set(input, "protocol_whitelist", "none", 0) < 0) {
        avformat_free_context(input);
        input = nullptr;
        return false;
    }
    return avformat_open_input(&input, path, nullptr, nullptr) >= 0; // which frees it where it fails
}

} // namespace quorvale::ffmpeg
