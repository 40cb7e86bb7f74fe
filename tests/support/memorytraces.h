#pragma once

#include <QString>
#include <QVector>

/// Numbers of the pictures of a video that show old memory. If slices of a damaged picture are missing and nothing
/// conceals it, the decoder leaves the buffer as it was, and pictures that refer to this one inherit that. How they
/// look is not defined and changes from run to run. Found by decoding twice, into buffers with different contents. The
/// result for a file is remembered; numbers are in the order of pictureChecksums().
[[nodiscard]] QVector<int> picturesWithTracesOfMemory(const QString &path);
