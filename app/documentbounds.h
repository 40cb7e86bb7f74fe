#pragma once

#include <QtGlobal>

class QTextDocument;

namespace quorvale {

/// What it costs to lay `document` out: its paragraphs, each counted as often as it is laid out. Qt lays every cell of
/// a table out twice, once to learn how wide it has to be, and what is in nested cells twice as often with each level.
[[nodiscard]] qint64 layoutCost(const QTextDocument &document);

/// Whether a length or a size in `document` is beyond what a page can show.
[[nodiscard]] bool hasLargeLengths(const QTextDocument &document);

/// Gives everything in `document` that has such a length or size its usual one. The text stays as it is.
void dropLargeLengths(QTextDocument &document);

} // namespace quorvale
