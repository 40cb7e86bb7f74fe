#pragma once

#include <QString>

namespace quorvale {

/// The markup of a description, with no number in a tag large enough to keep the toolkit busy: a table of a few hundred
/// bytes can ask for a million columns, and is then laid out for minutes on the main thread. Columns and rows that a
/// cell spans are 9 at most, other numbers 999; colours and everything outside of tags stay as they are.
[[nodiscard]] QString boundedMarkup(const QString &markup);

} // namespace quorvale
