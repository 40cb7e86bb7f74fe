#include "thumbs/thumbnailsize.h"

#include <algorithm>

namespace quorvale {

ThumbnailSize thumbnailSize(QSize display, QSize decoded, int rows)
{
    // A stream whose size was unknown when it was opened has no display shape either.
    if (display == decoded || display.isEmpty())
        return {QSize(rows * 4 / 3, rows), Qt::KeepAspectRatio};

    // In this order, and in double precision: the width is rounded down, so the last bit can matter.
    const double width = static_cast<double>(rows) / display.height() * display.width();
    return {QSize(static_cast<int>(std::clamp<double>(width, 1, kWidestThumbnail)), rows), Qt::IgnoreAspectRatio};
}

QImage scaledTo(const ThumbnailSize &thumbnail, const QImage &picture)
{
    return picture.isNull() ? QImage() : picture.scaled(thumbnail.size, thumbnail.aspect, Qt::SmoothTransformation);
}

} // namespace quorvale
