#pragma once

#include "tools/testpicture/blockcode.h"
#include "tools/testpicture/ffmpegprocess.h"

#include <QByteArray>
#include <QProcess>

#include <optional>
#include <vector>

/// Decodes the pictures of a file with the ffmpeg program, passes them through `filters` and returns the number that
/// each one's block code says; nothing for the ones that cannot be read. Every decoded picture counts: none is dropped
/// or doubled for the sake of timestamps.
inline std::vector<std::optional<unsigned>> decodedNumbers(const QString &path, int width, int height,
                                                           const QString &filters = QStringLiteral("null"))
{
    QProcess ffmpeg;
    ffmpeg.setStandardInputFile(QProcess::nullDevice());
    ffmpeg.start("ffmpeg", {"-v", "error", "-i", path, "-map", "0:v:0", "-vf", filters, quorvale::passthroughOption(),
                            "passthrough", "-pix_fmt", "gray", "-f", "rawvideo", "-"});
    std::vector<std::optional<unsigned>> numbers;
    const int pictureSize = width * height;
    QByteArray waiting;
    bool running = ffmpeg.waitForStarted();
    while (running) {
        running = ffmpeg.waitForReadyRead(60000);
        waiting += ffmpeg.readAllStandardOutput();
        int used = 0;
        for (; waiting.size() - used >= pictureSize; used += pictureSize) {
            const auto *luma = reinterpret_cast<const std::uint8_t *>(waiting.constData()) + used;
            numbers.push_back(quorvale::readBlockCode(luma, width, height, width));
        }
        waiting.remove(0, used);
    }
    ffmpeg.waitForFinished(60000);
    return numbers;
}

/// What decodedNumbers() returns for a file of `count` pictures that say their own place, from `first` on.
inline std::vector<std::optional<unsigned>> consecutiveNumbers(unsigned first, unsigned count)
{
    std::vector<std::optional<unsigned>> numbers;
    for (unsigned i = 0; i < count; ++i)
        numbers.emplace_back(first + i);
    return numbers;
}
