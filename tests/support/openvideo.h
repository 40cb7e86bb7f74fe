#pragma once

#include "video/ffvideo.h"

#include <QFile>

/// Opens a file; `quick`: without reading it to its end.
[[nodiscard]] inline bool open(FFVideo &video, const QString &path, bool quick = true)
{
    return video.Open(QFile::encodeName(path).constData(), quick, FFVideo::FF_ACCESS_READ);
}
