#pragma once

#include <QString>

namespace quorvale {

/// `markup` as it is; if spans of columns could give its tables more than `mostCells` cells, with a `colspan` and a
/// `rowspan` of 1 everywhere. Qt makes every claimed cell while it parses: with spans of 999 columns, 1 KB of markup
/// takes 50 seconds. In fewer columns, a span of rows alone would push two cells into one. No character outside of the
/// value of a span changes.
[[nodiscard]] QString withBoundedSpans(const QString &markup, qint64 mostCells);

} // namespace quorvale
