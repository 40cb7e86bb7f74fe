#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

/// Checksums of all pictures of a video, in the order in which they are decoded, as the ffmpeg program finds them (with
/// one thread, and with its decoder drained at the end). Empty if the program fails. A file is decoded once and
/// remembered.
[[nodiscard]] QVector<QByteArray> pictureChecksums(const QString &path);

/// The audio of a video as interleaved samples of `format` ("s16le", "f32le", ...), as the ffmpeg program decodes it.
[[nodiscard]] QByteArray audioSamples(const QString &path, const QString &format);
