#pragma once

#include "tests/support/files.h"

#include <QSize>
#include <QStringList>

#include <optional>

/// Path of a real capture; nothing if the folder with captures is absent on this machine.
[[nodiscard]] std::optional<QString> samplePath(const QString &name);

/// The words of a command line, which are parted by single blanks.
[[nodiscard]] inline QStringList words(const QString &line)
{
    return line.split(' ');
}

/// A small numbered stream to be made: 320x240, 25 pictures in a second unless the encoder's options say otherwise.
struct TestStream
{
    QString fileName;
    QStringList encoder; ///< encoders, their options and the container's
    int frames = 100;
    QSize size{320, 240};
    QSize sampleAspect{1, 1};
    bool interlaced = false;
    bool sound = false;
    unsigned firstNumber = 0;
};

/// Makes the stream in `folder` and returns its path; empty, with the encoder's message on stderr, if that fails.
[[nodiscard]] QString makeStream(const QString &folder, const TestStream &stream);

/// Makes a stream of generated sound or pictures with the ffmpeg program's own arguments; its path, or empty.
[[nodiscard]] QString makeWithFFmpeg(const QString &folder, const QString &fileName, const QStringList &arguments);

/// Writes `content` to `fileName` in `folder`; the path, or empty.
[[nodiscard]] QString writeFile(const QString &folder, const QString &fileName, const QByteArray &content);
