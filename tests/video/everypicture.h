#pragma once

#include "video/ffvideo.h"

#include <QByteArray>
#include <QString>
#include <QVector>

// Reading pictures by number and comparing each with what the ffmpeg program decoded at that number.

/// How a damaged stream may differ from what is expected. A whole one may not.
struct Allowance
{
    /// Pictures below this one may be refused with `lastError` 1, when they are sought.
    int reachableFrom = 0;
    /// How these look is not defined (see picturesWithTracesOfMemory()), so they are not compared: each must be
    /// delivered, and must not be the picture of another number.
    QVector<int> undefined{};
};

/// Reads the pictures `numbers`, one after the other, from an open reader. Empty when each of them was the expected
/// one; otherwise what went wrong first.
[[nodiscard]] QString compareEach(FFVideo &video, const QVector<int> &numbers, const QVector<QByteArray> &expected,
                                  const Allowance &allowance = {});

/// Reads forward from picture `first` until the end of the file; the number of the first picture that does not exist.
/// -1, with a message on stderr, where a picture is not the expected one.
[[nodiscard]] int readToTheEnd(FFVideo &video, int first, const QVector<QByteArray> &expected,
                               const Allowance &allowance = {});

/// Every `step`th number below `count`, the last one included, in descending order. With QUORVALE_EVERY_PICTURE in the
/// environment the step is 1: some streams take minutes then. Under a memory checker it is eight times as wide.
[[nodiscard]] QVector<int> descending(int count, int step);

/// The same numbers in an order that looks random and is the same in every run.
[[nodiscard]] QVector<int> shuffled(int count, int step);

/// How many of the last pictures the decoder may hold back at the end of the file, because it is not drained.
inline constexpr int kMostHeldBack = 4;
