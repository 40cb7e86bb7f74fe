#pragma once

#include <QString>

namespace quorvale {

/// `markup` as it is, or, where its tables could have more than `mostCells` cells, without the columns that their cells
/// span. Qt makes every cell that is claimed while it parses: with spans of 999 columns, 1 KB of markup takes 50
/// seconds. No character outside of the value of a `colspan` changes.
[[nodiscard]] QString withBoundedColumnSpans(const QString &markup, qint64 mostCells);

} // namespace quorvale
