#pragma once

#include "tools/testpicture/ffmpegprocess.h"
#include "tools/testpicture/numberedpicture.h"

#include <string>
#include <vector>

namespace quorvale {

/// A video file to be made whose pictures carry their own numbers (see numberedpicture.h).
struct NumberedStream
{
    std::string path{}; ///< written over when it exists
    PictureFormat picture{720, 576, ChromaFormat::Yuv420, false};
    int frames = 0;             ///< coded pictures; an interlaced one has two fields, which carry the same number
    int fpsNumerator = 25;      ///< coded pictures in
    int fpsDenominator = 1;     ///< so many seconds
    int sarNumerator = 1;       ///< a sample's width
    int sarDenominator = 1;     ///< to its height
    unsigned firstNumber = 0;   ///< the first picture's number
    unsigned look = 0;          ///< colours, see drawNumberedPicture()
    int toneFrequency = 0;      ///< in Hz, a sine of two channels as long as the pictures; 0: no sound
    std::string videoFilters{}; ///< the ffmpeg program's, applied to the pictures before they are encoded
    /// The encoders with their options and the container's, as the ffmpeg program takes them before an output:
    /// {"-c:v", "libx264", "-c:a", "ac3"}. Interlaced coding is switched on where `picture` asks for it.
    std::vector<std::string> encoderArguments{};
};

/// The arguments that encodeNumberedStream() gives to the ffmpeg program.
[[nodiscard]] std::vector<std::string> ffmpegArguments(const NumberedStream &stream);

/// Draws the pictures and makes the file with the ffmpeg program; `path` may be half written when the result is not ok.
/// May be called from several threads at once.
[[nodiscard]] ProcessEnd encodeNumberedStream(const NumberedStream &stream);

} // namespace quorvale
