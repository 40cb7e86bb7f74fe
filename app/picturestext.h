#pragma once

#include "app/scanprogress.h"

#include <QString>

struct ThumbnailEntry;

// Texts about a recording's moving pictures, for screen readers and for the tool tip, below the path.

namespace quorvale {

/// How many pictures of the recording can be seen; a frame that could not be read does not count.
[[nodiscard]] QString picturesText(const ThumbnailEntry &series);

/// Why no picture of the recording can be seen.
[[nodiscard]] QString noPicturesText(ScanProgress::Turn turn);

} // namespace quorvale
