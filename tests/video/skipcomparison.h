#pragma once

#include "tests/video/exactcomparison.h"
#include "video/exact/skipaheadcounters.h"

#include <QString>
#include <QVector>

// Reading with and without skipping ahead, side by side.

/// What a comparison found.
struct SkipComparison
{
    QString difference; ///< empty where everything was the same
    SkipAheadCounters counters;
    int delivered = 0;    ///< pictures that both readers delivered
    int unrepeatable = 0; ///< damaged pictures that come out differently from one plain reader to the next, too
};

/// Opens the file with two readers, one of which skips ahead, and reads the pictures `targets` from both, one after the
/// other. The same: success, error, every visible byte of the planes, the reader's position, and at the end every row
/// of the key frame table.
[[nodiscard]] SkipComparison compareSkipping(const QString &path, const QVector<int> &targets);
