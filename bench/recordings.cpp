#include "bench/recordings.h"

#include "tools/testpicture/numberedstream.h"

#include <cstdio>
#include <filesystem>
#include <stdexcept>

using namespace quorvale;

namespace {

std::string recording(const std::string &name, int width, int height, int frames, std::vector<std::string> encoder)
{
    const std::filesystem::path folder = QUORVALE_RECORDINGS_DIR;
    const std::filesystem::path path = folder / name;
    if (std::filesystem::exists(path))
        return path.string();

    std::fprintf(stderr, "making %s (once)\n", path.c_str());
    std::filesystem::create_directories(folder);
    NumberedStream stream;
    // Under another name until it is complete, so that the next run does not use what an interrupted one left.
    stream.path = (folder / ("unfinished-" + name)).string();
    stream.picture = {width, height, ChromaFormat::Yuv420, false};
    stream.frames = frames;
    stream.toneFrequency = 440;
    stream.encoderArguments = std::move(encoder);
    const ProcessEnd result = encodeNumberedStream(stream);
    if (!result.ok())
        throw std::runtime_error("the recording could not be made: " + result.errors);
    std::filesystem::rename(stream.path, path);
    return path.string();
}

std::vector<std::string> h264(const std::string &group, const std::string &bPictures)
{
    return {"-c:v", "libx264", "-preset",       "veryfast", "-crf", "20",  "-g",   group,
            "-bf",  bPictures, "-sc_threshold", "0",        "-c:a", "mp2", "-b:a", "192k"};
}

} // namespace

std::string highDefinitionMinute()
{
    return recording("hd-1min.ts", 1920, 1080, kPicturesAMinute, h264("24", "2"));
}

std::string tenMinutesWithoutBPictures()
{
    return recording("ip-10min.ts", 720, 576, 10 * kPicturesAMinute, h264("12", "0"));
}

std::string tenMinutesWithBPictures()
{
    return recording("ipb-10min.ts", 720, 576, 10 * kPicturesAMinute, h264("12", "2"));
}
