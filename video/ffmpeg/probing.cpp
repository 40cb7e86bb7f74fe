#include "video/ffmpeg/probing.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/decoder.h"
#include "video/ffmpeg/inputformats.h"
#include "video/ffmpeg/picturebudget.h"
#include "video/ffmpeg/picturelimits.h"
#include "video/ffmpeg/probingcost.h"
#include "video/ffmpeg/regularfile.h"
#include "video/ffmpeg/singleinput.h"

extern "C" {
#include <libavutil/dict.h>
}

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace quorvale::ffmpeg {

namespace {

// Options for the decoders with which probing looks at the streams that are known by now, one set for each. Of streams
// that it meets only later it knows no options; what these may hold was counted.
class ProbeOptions
{
public:
    explicit ProbeOptions(const AVFormatContext &input, const std::vector<std::int64_t> &pixels)
        : m_options(input.nb_streams)
    {
        for (std::size_t i = 0; i < m_options.size(); ++i) {
            AVDictionary *&options = m_options[i];
            const std::int64_t claimed = i < pixels.size() ? pixels[i] : kUsualPixels;
            av_dict_set_int(&options, "max_pixels", std::min(claimed, kMostPixels), 0);
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

constexpr std::int64_t kMostTableBytesTwice = 52 * kMiB;

InputPtr openInput(const char *path)
{
    AVFormatContext *input = nullptr;
    return InputPtr(openSingleInput(input, path) ? input : nullptr);
}

// Closes the file before it is opened to be read: the tables of a long one do not fit into memory twice. The disk goes
// on reading what comes next.
std::optional<ProbingCost> costOf(const char *path)
{
    const InputPtr ahead = openInput(path);
    if (!ahead)
        return std::nullopt;
    readBeginningAhead(*ahead->pb);
    return probingCost(*ahead);
}

// What a decoder with a budget finds out about the stream with `index`: FFmpeg's own while it probes have none.
void describeByDecoding(AVStream &stream, AVFormatContext &input, const AVCodec &codec)
{
    const DecoderPtr decoder = makeDecoder(*stream.codecpar, stream.time_base, &codec);
    const PictureBudget budget;
    if (!decoder)
        return;
    budget.limit(*decoder);
    if (avcodec_open2(decoder.get(), &codec, nullptr) < 0)
        return;
    const PacketPtr packet = makePacket();
    const FramePtr picture = makeFrame();
    bool isDecoded = false;
    for (std::int64_t bytes = 0; !isDecoded && bytes < input.probesize && readPacket(input, *packet) >= 0;) {
        bytes += packet->size;
        if (packet->stream_index == stream.index && send(*decoder, *packet) >= 0)
            isDecoded = avcodec_receive_frame(decoder.get(), picture.get()) >= 0;
        av_packet_unref(packet.get());
    }
    if (decoder->width > 0)
        avcodec_parameters_from_context(stream.codecpar, decoder.get());
}

// The pictures of all streams could take too much: only those of the stream that will be read are decoded.
bool probeWithinBudget(AVFormatContext &input)
{
    if (!restrictToSound(input) || !findStreams(input, nullptr) || !restrictToVideo(input))
        return false;
    const AVCodec *codec = nullptr;
    const int index = findBestStream(&input, AVMEDIA_TYPE_VIDEO, codec);
    // The header of a file with long tables says enough.
    const bool fitsTwice = tableBytes(*input.pb) <= kMostTableBytesTwice;
    const InputPtr again = index >= 0 && fitsTwice ? openInput(input.url) : nullptr;
    if (again)
        describeByDecoding(*input.streams[index], *again, *codec);
    return true;
}

} // namespace

bool openProbed(AVFormatContext *&input, const char *path)
{
    const std::optional<ProbingCost> cost = costOf(path);
    if (!cost || !openSingleInput(input, path))
        return false;
    if (!cost->fits)
        return probeWithinBudget(*input);
    ProbeOptions options(*input, cost->pixels);
    return findStreams(*input, options.get());
}

} // namespace quorvale::ffmpeg
