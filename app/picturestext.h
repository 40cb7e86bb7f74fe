#pragma once

#include <QString>

struct ThumbnailEntry;

// Texts about a recording's moving pictures, for screen readers and for the tool tip, below the path.

namespace quorvale {

/// Whether this recording is one of the latest scan's.
enum class PicturesTurn { ThisScan, NoScan };

/// How many pictures of the recording can be seen; a frame that could not be read does not count.
[[nodiscard]] QString picturesText(const ThumbnailEntry &series);

/// Why a recording has no series of pictures.
[[nodiscard]] QString noPicturesText(PicturesTurn turn, bool scanRuns);

} // namespace quorvale
