#include "bench/recordings.h"

#include "tools/loopedgroup/loopedgroup.h"
#include "tools/testpicture/ffmpegprocess.h"
#include "tools/testpicture/numberedstream.h"

#include <cstdio>
#include <filesystem>
#include <stdexcept>

using namespace quorvale;

namespace {

namespace fs = std::filesystem;

constexpr int kGroupOfTheCapture = 27; // pictures

// Made under another name until it is whole: an interrupted run leaves nothing that the next one takes for a recording.
template <typename Make>
std::string kept(const std::string &name, const Make &make)
{
    const fs::path folder = QUORVALE_RECORDINGS_DIR;
    const fs::path path = folder / (name + ".ts");
    if (fs::exists(path))
        return path.string();
    std::fprintf(stderr, "making %s (once)\n", path.c_str());
    fs::create_directories(folder);
    const fs::path unfinished = folder / ("unfinished-" + name + ".ts");
    make(unfinished.string());
    fs::rename(unfinished, path);
    return path.string();
}

std::string looped(const std::string &name, const std::string &source, int group, int times, bool inexact)
{
    if (!fs::exists(source))
        return {};
    return kept(name, [&](const std::string &path) {
        LoopedGroup recording;
        recording.source = source;
        recording.path = path;
        recording.group = group;
        recording.times = times;
        recording.changes.clearsExactMatch = inexact;
        writeLoopedGroup(recording);
    });
}

std::string capture(const char *name)
{
    return std::string(QUORVALE_SAMPLES_DIR) + '/' + name;
}

// With a camera's grain: without it no encoder needs its bit rate.
std::string encoded(const std::string &name, const PictureFormat &format, const std::vector<std::string> &encoder)
{
    return kept(name, [&](const std::string &path) {
        NumberedStream stream;
        stream.path = path;
        stream.picture = format;
        stream.frames = 900;
        stream.toneFrequency = 440;
        stream.videoFilters = "noise=alls=9:allf=t";
        stream.encoderArguments = encoder;
        const ProcessEnd result = encodeNumberedStream(stream);
        if (!result.ok())
            throw std::runtime_error("the recording could not be made: " + result.errors);
    });
}

// A copy of an encoded recording whose times jump by an eighth of a second at picture 640.
std::string withGap(const std::string &name, const std::string &source)
{
    return kept(name, [&](const std::string &path) {
        const char *shifted = "setts=pts=PTS+gte(N\\,640)*11250:dts=DTS+gte(N\\,640)*11250";
        const ProcessEnd result =
            runFFmpeg({"-v", "error", "-nostdin", "-y", "-i", source, "-c", "copy", "-bsf:v", shifted, path});
        if (!result.ok())
            throw std::runtime_error("the recording could not be made: " + result.errors);
    });
}

constexpr PictureFormat kHd = {1920, 1080, ChromaFormat::Yuv420, true};
constexpr PictureFormat kHdProgressive = {1920, 1080, ChromaFormat::Yuv420, false};
constexpr PictureFormat kSd = {720, 576, ChromaFormat::Yuv420, true};

// Groups and their B pictures in a fixed pattern, and a decoder's buffer that is kept to. The groups' lengths have the
// wanted pictures lie in the middle of their groups, on average.
std::vector<std::string> h264(const char *group, const char *parameters)
{
    return {"-c:v",     "libx264", "-preset",     "veryfast", "-g",   group,    "-sc_threshold", "0",
            "-bf",      "3",       "-b_strategy", "0",        "-b:v", "8M",     "-maxrate",      "10M",
            "-bufsize", "8M",      "-c:a",        "ac3",      "-f",   "mpegts", "-x264-params",  parameters};
}

std::vector<std::string> hevc(const std::string &parameters)
{
    return {"-c:v", "libx265", "-preset", "ultrafast", "-b:v", "8M", "-x265-params", "log-level=error:" + parameters,
            "-c:a", "aac",     "-f",      "mpegts"};
}

const std::vector<std::string> kMpeg2 = {
    "-c:v", "mpeg2video", "-g", "13",       "-sc_threshold", "1000000000", "-bf", "2",  "-b:v",
    "4M",   "-maxrate",   "6M", "-bufsize", "1835k",         "-c:a",       "mp2", "-f", "mpegts"};

} // namespace

const std::vector<BroadcastRecording> &broadcastRecordings()
{
    static const std::vector<BroadcastRecording> recordings = {
        {"real-1080i", "1080i H.264, a real group of 27 looped: fields and MBAFF, exact_match_flag 0, no IDR",
         [] { return looped("real-1080i", capture("h264-1080i-ac3.ts"), 1, 60, false); }},
        {"real-1080i5994", "1080i 29.97 H.264, a real group of 20 looped, exact_match_flag 0",
         [] { return looped("real-1080i5994", capture("h264-1080i5994-dirtystart-mp2.ts"), 3, 80, true); }},
        {"hd-28", "1080i H.264, groups of 28 with IDR", [] { return encoded("hd-28", kHd, h264("28", "open-gop=0")); }},
        {"hd-open-inexact", "1080i H.264, open groups of 28, MBAFF, 4 slices, exact_match_flag 0, no IDR",
         [] {
             const std::string source = encoded("hd-open", kHd, h264("28", "open-gop=1:slices=4"));
             return looped("hd-open-inexact", source, 2, 60, true);
         }},
        {"sd-mpeg2", "576i MPEG-2, groups of 13", [] { return encoded("sd-mpeg2", kSd, kMpeg2); }},
        {"hevc-28", "1080p HEVC, groups of 28",
         [] { return encoded("hevc-28", kHdProgressive, hevc("keyint=28:min-keyint=28:scenecut=0:bframes=3")); }},
        {"hevc-101-gap", "1080p HEVC, open groups of 101, a gap in its times",
         [] {
             return withGap("hevc-101-gap",
                            encoded("hevc-101", kHdProgressive,
                                    hevc("keyint=101:min-keyint=101:scenecut=0:bframes=4:open-gop=1:b-pyramid=1")));
         }},
        {"hevc-50", "1080p HEVC, open groups of 50",
         [] {
             return encoded("hevc-50", kHdProgressive,
                            hevc("keyint=50:min-keyint=50:scenecut=0:bframes=4:open-gop=1:b-pyramid=1"));
         }},
    };
    return recordings;
}

std::string tenMinutesOfHighDefinition()
{
    constexpr int kTimes = 10 * kPicturesAMinute / kGroupOfTheCapture + 1;
    const std::string real = looped("real-1080i-10min", capture("h264-1080i-ac3.ts"), 1, kTimes, false);
    if (!real.empty())
        return real;
    return looped("hd-10min", highDefinitionMinute(), 1, 10 * kPicturesAMinute / 24, false);
}
