#include "video/ffmpeg/probing.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/picturelimits.h"

extern "C" {
#include <libavutil/dict.h>
}

#include <vector>

namespace quorvale::ffmpeg {

namespace {

// Options for the decoders with which probing looks at the streams that are known by now, one set for each. Of streams
// that it meets only later it knows no options; the bound on single pieces of memory is left for them.
class ProbeOptions
{
public:
    explicit ProbeOptions(unsigned streams)
        : m_options(streams)
    {
        for (AVDictionary *&options : m_options) {
            av_dict_set_int(&options, "max_pixels", kMostPixels, 0);
            // What probing keeps of a picture is its kind, its size and its place; nobody sees its samples.
            av_dict_set(&options, "skip_loop_filter", "all", 0);
            av_dict_set(&options, "skip_idct", "all", 0);
        }
    }
    ~ProbeOptions()
    {
        for (AVDictionary *&options : m_options)
            av_dict_free(&options);
    }
    ProbeOptions(const ProbeOptions &) = delete;
    ProbeOptions &operator=(const ProbeOptions &) = delete;

    AVDictionary **get() { return m_options.empty() ? nullptr : m_options.data(); }

private:
    std::vector<AVDictionary *> m_options;
};

} // namespace

bool probeStreams(AVFormatContext &input)
{
    ProbeOptions options(input.nb_streams);
    return avformat_find_stream_info(&input, options.get()) >= 0;
}

} // namespace quorvale::ffmpeg
