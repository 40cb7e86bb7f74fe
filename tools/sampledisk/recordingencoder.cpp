#include "tools/sampledisk/recordingencoder.h"

#include "tools/sampledisk/transportstream.h"
#include "tools/testpicture/numberedstream.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace quorvale {

namespace fs = std::filesystem;

namespace {

constexpr int kPicturesPerSecond = 25;
constexpr int kShortLength = 260; // less than the 400 pictures that the third thumbnail needs

using Arguments = std::vector<std::string>;

Arguments words(const std::string &line)
{
    std::istringstream stream(line);
    return {std::istream_iterator<std::string>(stream), std::istream_iterator<std::string>()};
}

// One thread for each encoder, so that the same bytes come out on every machine; several recordings are made at once
// instead.
const Arguments kMpeg2 = words("-c:v mpeg2video -threads:v 1 -b:v 4M -maxrate 8M -bufsize 1835k -g 12 -bf 2");
const Arguments kH264 = words("-c:v libx264 -threads:v 1 -preset ultrafast -coder 1 -crf 26 -g 48 -bf 2");
const Arguments kHevc = words("-c:v libx265 -preset ultrafast -crf 30 "
                              "-x265-params log-level=error:pools=1:frame-threads=1:keyint=50:bframes=3");
const Arguments kMp2 = words("-c:a mp2 -b:a 192k");
const Arguments kAc3 = words("-c:a ac3 -b:a 256k");
const Arguments kAac = words("-c:a aac -b:a 128k");

Arguments joined(Arguments first, const Arguments &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

NumberedStream streamOf(RecordingKind kind)
{
    NumberedStream stream;
    stream.fpsNumerator = kPicturesPerSecond;
    switch (kind) {
    case RecordingKind::HighDefinition:
        stream.picture = {1440, 1080, ChromaFormat::Yuv420, true};
        stream.sarNumerator = 4;
        stream.sarDenominator = 3;
        stream.encoderArguments = joined(kH264, kAc3);
        break;
    case RecordingKind::ShortHighDefinition:
        stream.picture = {1920, 1080, ChromaFormat::Yuv420, true};
        stream.encoderArguments = joined(kH264, kAc3);
        break;
    case RecordingKind::StandardDefinition:
    case RecordingKind::Split:
        stream.picture = {720, 576, ChromaFormat::Yuv420, true};
        // MPEG-2 states the shape of the picture, 16:9; 720 columns of it have samples of 64:45.
        stream.sarNumerator = 64;
        stream.sarDenominator = 45;
        stream.encoderArguments = joined(kMpeg2, kMp2);
        break;
    case RecordingKind::WideSamples:
    case RecordingKind::Damaged:
        stream.picture = {720, 576, ChromaFormat::Yuv420, true};
        stream.sarNumerator = 16;
        stream.sarDenominator = 11;
        stream.encoderArguments = joined(kH264, kMp2);
        break;
    case RecordingKind::Hevc:
        stream.picture = {1280, 720, ChromaFormat::Yuv420, false};
        stream.encoderArguments = joined(kHevc, kAac);
        break;
    case RecordingKind::Radio:
    case RecordingKind::Missing:
        throw std::logic_error("a recording without pictures");
    }
    return stream;
}

// The tones of an octave, so that recordings sound different.
int toneOf(const Recording &recording)
{
    return 220 + 20 * static_cast<int>(recording.look % 12);
}

ProcessEnd encodeRadio(const Recording &recording, int length, const fs::path &path)
{
    const int milliseconds = length * 1000 / kPicturesPerSecond;
    const std::string source = "sine=frequency=" + std::to_string(toneOf(recording)) +
                               ":sample_rate=48000:duration=" + std::to_string(milliseconds) +
                               "ms,aformat=channel_layouts=stereo";
    Arguments arguments{"-hide_banner", "-nostdin", "-loglevel", "error", "-y", "-f", "lavfi", "-i", source};
    arguments = joined(joined(std::move(arguments), kMp2), {"-f", "mpegts", "file:" + path.string()});
    return runFFmpeg(arguments);
}

ProcessEnd encodeVideo(const Recording &recording, int length, const fs::path &path)
{
    NumberedStream stream = streamOf(recording.kind);
    stream.path = path.string();
    stream.frames = pictureCount(recording.kind, length);
    stream.look = recording.look;
    stream.toneFrequency = toneOf(recording);
    stream.encoderArguments = joined(std::move(stream.encoderArguments), {"-f", "mpegts"});
    return encodeNumberedStream(stream);
}

} // namespace

std::vector<std::string> fileExtensions(RecordingKind kind)
{
    if (kind == RecordingKind::Missing)
        return {};
    if (kind == RecordingKind::Split)
        return {".ts", ".ts1", ".ts2"};
    return {".ts"};
}

int pictureCount(RecordingKind kind, int length)
{
    return kind == RecordingKind::ShortHighDefinition ? std::min(length, kShortLength) : length;
}

void encodeRecording(const Recording &recording, int length, const fs::path &work, const fs::path &folder)
{
    if (recording.kind == RecordingKind::Missing)
        return;
    const std::string &name = recording.record.fileName;
    const fs::path whole = work / name;
    const ProcessEnd result = recording.kind == RecordingKind::Radio ? encodeRadio(recording, length, whole)
                                                                     : encodeVideo(recording, length, whole);
    if (!result.ok())
        throw std::runtime_error("ffmpeg failed with status " + std::to_string(result.exitStatus) + ": " +
                                 result.errors);

    if (recording.kind == RecordingKind::Damaged)
        damageStream(whole);
    if (recording.kind != RecordingKind::Split) {
        fs::rename(whole, folder / (name + ".ts"));
        return;
    }
    std::vector<fs::path> pieces;
    for (const std::string &extension : fileExtensions(recording.kind))
        pieces.push_back(work / (name + extension));
    cutIntoPieces(whole, pieces);
    fs::remove(whole);
    for (const fs::path &piece : pieces)
        fs::rename(piece, folder / piece.filename());
}

} // namespace quorvale
