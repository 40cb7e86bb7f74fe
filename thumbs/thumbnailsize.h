#pragma once

#include <QImage>
#include <QSize>

namespace quorvale {

/// How a picture is scaled to a thumbnail: to exactly `size`, or to the largest size of its own shape inside it.
struct ThumbnailSize
{
    QSize size;
    Qt::AspectRatioMode aspect = Qt::KeepAspectRatio;
};

/// Rows of a thumbnail for screens of standard and of double density.
constexpr int kSmallRows = 120;
constexpr int kLargeRows = 240;

/// The size of a thumbnail of `rows` rows.
///
/// `display`: the video's size on a display with square pixels; `decoded`: the picture's own size in pixels. Where both
/// are the same, the picture keeps its shape within a box of 4:3. Otherwise the thumbnail gets the display's shape,
/// whatever the picture's own, with the width rounded down; at least 1 and at most kWidestThumbnail pixels wide.
[[nodiscard]] ThumbnailSize thumbnailSize(QSize display, QSize decoded, int rows);

/// Bound for files that claim an absurd pixel shape, about thirty times as wide as high.
constexpr int kWidestThumbnail = 8192;

/// A smoothly scaled copy; null if `picture` is. Any thread.
[[nodiscard]] QImage scaledTo(const ThumbnailSize &thumbnail, const QImage &picture);

} // namespace quorvale
