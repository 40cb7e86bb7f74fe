#pragma once

#include <QString>

#include <optional>

namespace quorvale {

/// The size in KiB of the recording whose main file is `mainFile`, and of the pieces that follow it: its path with 1,
/// 2, 3, ... appended, up to the first number that has no file. Each file counts in whole KiB. At most 2^31 - 1;
/// nullopt when there is no main file. Looks at the disk once for each file, and once for the first missing one.
std::optional<int> recordingSizeKB(const QString &mainFile);

} // namespace quorvale
