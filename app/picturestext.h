#pragma once

#include <QString>

struct ThumbnailEntry;

// Texts about a recording's moving pictures, for screen readers and for the tool tip, below the path.

namespace quorvale {

/// How many pictures of the recording can be seen; a frame that could not be read does not count.
[[nodiscard]] QString picturesText(const ThumbnailEntry &series);

/// Why a recording has no series of pictures. `awaited`: the scan that runs has not come by it yet.
[[nodiscard]] QString noPicturesText(bool awaited);

} // namespace quorvale
