#include "tools/testpicture/numberedstream.h"

#include "tools/testpicture/keptstreams.h"

#include <cstdint>
#include <filesystem>

namespace quorvale {

namespace {

std::string ratio(int numerator, int denominator, char sign)
{
    return std::to_string(numerator) + sign + std::to_string(denominator);
}

std::string toneSource(const NumberedStream &stream)
{
    const std::int64_t microseconds =
        std::int64_t(stream.frames) * 1000000 * stream.fpsDenominator / stream.fpsNumerator;
    return "sine=frequency=" + std::to_string(stream.toneFrequency) +
           ":sample_rate=48000:duration=" + std::to_string(microseconds) + "us,aformat=channel_layouts=stereo";
}

} // namespace

std::vector<std::string> ffmpegArguments(const NumberedStream &stream)
{
    const PictureFormat &picture = stream.picture;
    std::vector<std::string> arguments{"-hide_banner", "-nostdin", "-loglevel", "error", "-y"};
    const auto add = [&arguments](std::vector<std::string> more) {
        arguments.insert(arguments.end(), more.begin(), more.end());
    };
    add({"-f", "rawvideo", "-pix_fmt", picture.chroma == ChromaFormat::Yuv420 ? "yuv420p" : "yuv422p"});
    add({"-video_size", ratio(picture.width, picture.height, 'x')});
    add({"-framerate", ratio(stream.fpsNumerator, stream.fpsDenominator, '/'), "-i", "pipe:0"});
    if (stream.toneFrequency > 0)
        add({"-f", "lavfi", "-i", toneSource(stream), "-map", "0:v", "-map", "1:a"});

    std::string filters = "setsar=" + ratio(stream.sarNumerator, stream.sarDenominator, '/');
    if (picture.interlaced) {
        filters += ",setfield=tff";
        add({"-flags:v", "+ildct+ilme"});
    }
    if (!stream.videoFilters.empty())
        filters += "," + stream.videoFilters;
    add({"-vf", filters});
    add(stream.encoderArguments);
    arguments.push_back("file:" + stream.path); // the path may have a colon or a leading dash
    return arguments;
}

ProcessEnd encodeNumberedStream(const NumberedStream &stream)
{
    NumberedStream nameless = stream;
    nameless.path = std::filesystem::path(stream.path).extension().string(); // It says which container is meant.
    std::string recipe;
    for (const std::string &argument : ffmpegArguments(nameless))
        recipe += argument + '\n';
    for (const unsigned number : {static_cast<unsigned>(stream.frames), stream.firstNumber, stream.look})
        recipe += std::to_string(number) + '\n';

    return keptstreams::makeOnce(stream.path, recipe, [&stream] {
        int drawn = 0;
        return runFFmpeg(ffmpegArguments(stream), [&stream, &drawn](std::vector<std::uint8_t> &bytes) {
            if (drawn == stream.frames)
                return false;
            bytes.resize(stream.picture.size());
            drawNumberedPicture(bytes.data(), stream.picture, stream.firstNumber + static_cast<unsigned>(drawn),
                                stream.look);
            ++drawn;
            return true;
        });
    });
}

} // namespace quorvale
