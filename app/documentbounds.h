#pragma once

#include <QtGlobal>

class QTextDocument;

namespace quorvale {

/// The cost of laying out `document`: its paragraphs, each counted as often as it is laid out. Qt lays out every cell
/// of a table twice, once to learn its width; so each level of nested tables doubles the count.
[[nodiscard]] qint64 layoutCost(const QTextDocument &document);

/// How many fonts the letters of `document` have. For a letter that a font does not have, Qt looks through all others
/// of the system: once for each of these.
[[nodiscard]] int fontCount(const QTextDocument &document);

/// Whether a length or a size in `document` is beyond what a page can show.
[[nodiscard]] bool hasLargeLengths(const QTextDocument &document);

/// Replaces every such length and size in `document` by the default. The text stays as it is.
void dropLargeLengths(QTextDocument &document);

} // namespace quorvale
