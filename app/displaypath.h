#pragma once

#include <QString>

// Paths as people read them: from left to right, name after name, on every desktop and in every script. Invisible
// characters keep them so.

namespace quorvale {

/// `path` with each name on its own, for a line that reads from left to right. Two neighbours in a script that reads
/// from right to left would otherwise change places. A name's own characters that would do so are left out.
[[nodiscard]] QString withNamesApart(const QString &path);

/// `path` as part of a sentence, which may read from right to left.
[[nodiscard]] QString pathInText(const QString &path);

} // namespace quorvale
