#pragma once

#include "tests/thumbs/expectedrgb.h"
#include "tools/testpicture/ffmpegprocess.h"

#include <QProcess>

/// Picture `number` of a file as the ffmpeg program decodes it, in the layout it calls `pixelFormat`, which must be the
/// file's own: then nothing is converted. No bytes where it has no such picture.
inline RawPicture rawPicture(const QString &path, int number, const QString &pixelFormat, QSize size)
{
    QProcess ffmpeg;
    ffmpeg.setStandardInputFile(QProcess::nullDevice());
    ffmpeg.start("ffmpeg", {"-v", "error", "-threads", "1", "-i", path, "-map", "0:v:0", "-vf",
                            QString("select=eq(n\\,%1)").arg(number), quorvale::passthroughOption(), "passthrough",
                            "-frames:v", "1", "-pix_fmt", pixelFormat, "-f", "rawvideo", "-"});
    ffmpeg.waitForFinished(60000);
    return {size.width(), size.height(), ffmpeg.readAllStandardOutput()};
}
