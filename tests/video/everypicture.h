#pragma once

#include "video/ffvideo.h"

#include <QByteArray>
#include <QString>
#include <QVector>

// Reading pictures by number and comparing each with what the ffmpeg program decoded at that number.

// What a decoder conceals in a damaged picture, and in those that refer to it, depends on what it had in memory, and so
// differs from run to run. In a `damaged` stream a picture may therefore be one that is expected nowhere; it must never
// be the one of another number.

/// Reads the pictures `numbers`, one after the other, from an open reader. Empty when each of them was the expected
/// one; otherwise what went wrong first. A picture below `reachableFrom` may also be refused with `lastError` 1.
[[nodiscard]] QString compareEach(FFVideo &video, const QVector<int> &numbers, const QVector<QByteArray> &expected,
                                  int reachableFrom = 0, bool damaged = false);

/// Reads forward from picture `first` until the end of the file; the number of the first picture that does not exist.
/// -1, with a message on stderr, where a picture is not the expected one, or where more than half are expected nowhere.
[[nodiscard]] int readToTheEnd(FFVideo &video, int first, const QVector<QByteArray> &expected, bool damaged = false);

/// Every `step`th number below `count`, the last one included, in descending order. With QUORVALE_EVERY_PICTURE in the
/// environment the step is 1: some streams take minutes then. Under a memory checker it is eight times as wide.
[[nodiscard]] QVector<int> descending(int count, int step);

/// The same numbers in an order that looks random and is the same in every run.
[[nodiscard]] QVector<int> shuffled(int count, int step);

/// How many of the last pictures the decoder may keep back at the end of the file, for want of being drained.
inline constexpr int kMostHeldBack = 4;
