#pragma once

#include <QPixmap>

#include <CoreGraphics/CoreGraphics.h>

/// A copy of `image` in the same size, in pixels. `image` stays the caller's.
/// A null pixmap where there is nothing to copy: no image, an empty one, or one that is too large to hold.
/// Main thread only.
QPixmap fromCGImageRef(CGImageRef image);
