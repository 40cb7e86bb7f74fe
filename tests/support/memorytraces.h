#pragma once

#include <QString>
#include <QVector>

/// Numbers of the pictures of a video in which something shows that was in memory before: where slices of a damaged
/// picture are missing and nothing conceals it, the decoder leaves the buffer as it was, and pictures that refer to it
/// inherit that. What these pictures look like is defined by nobody and changes from run to run. Found by decoding
/// twice, into buffers with different contents. A file that stays as it is is decoded once; numbers are in the order of
/// pictureChecksums().
[[nodiscard]] QVector<int> picturesWithTracesOfMemory(const QString &path);
