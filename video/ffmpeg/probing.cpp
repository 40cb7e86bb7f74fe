#include "video/ffmpeg/probing.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/picturelimits.h"

extern "C" {
#include <libavutil/dict.h>
}

#include <algorithm>
#include <cstdint>
#include <vector>

namespace quorvale::ffmpeg {

namespace {

// Options for the decoders with which probing looks at the streams that are known by now, one set for each. Each
// stream's pictures are held until all are known, so the bound of one picture is shared among them. Of streams that it
// meets only later it knows no options; the bound on single pieces of memory is left for them.
class ProbeOptions
{
public:
    explicit ProbeOptions(const AVFormatContext &input)
        : m_options(input.nb_streams)
    {
        std::int64_t videoStreams = 0;
        for (unsigned i = 0; i < input.nb_streams; ++i)
            videoStreams += input.streams[i]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO ? 1 : 0;
        for (AVDictionary *&options : m_options) {
            av_dict_set_int(&options, "max_pixels", kMostPixels / std::max<std::int64_t>(videoStreams, 1), 0);
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
    ProbeOptions options(input);
    return avformat_find_stream_info(&input, options.get()) >= 0;
}

} // namespace quorvale::ffmpeg
