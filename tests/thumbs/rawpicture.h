#pragma once

#include "tests/thumbs/expectedrgb.h"
#include "tools/testpicture/ffmpegprocess.h"

#include <QProcess>
#include <QStringList>

/// Picture `number` of a file as the ffmpeg program decodes it, in the layout it calls `pixelFormat`, which must be the
/// file's own: then nothing is converted. No bytes where it has no such picture.
inline RawPicture rawPicture(const QString &path, int number, const QString &pixelFormat, QSize size)
{
    QProcess ffmpeg;
    ffmpeg.setStandardInputFile(QProcess::nullDevice());
    ffmpeg.start(QStringLiteral("ffmpeg"),
                 {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-threads"), QStringLiteral("1"),
                  QStringLiteral("-i"), path, QStringLiteral("-map"), QStringLiteral("0:v:0"), QStringLiteral("-vf"),
                  QStringLiteral("select=eq(n\\,%1)").arg(number), quorvale::passthroughOption(),
                  QStringLiteral("passthrough"), QStringLiteral("-frames:v"), QStringLiteral("1"),
                  QStringLiteral("-pix_fmt"), pixelFormat, QStringLiteral("-f"), QStringLiteral("rawvideo"),
                  QStringLiteral("-")});
    ffmpeg.waitForFinished(60000);
    return {size.width(), size.height(), ffmpeg.readAllStandardOutput()};
}
