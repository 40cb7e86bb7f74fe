#pragma once

#include <QString>

#include <optional>

namespace quorvale {

/// The size in KiB of the recording whose main file is `mainFile`, with the pieces that follow it: the main file's
/// path with 1, 2, 3, ... appended, up to the first number that has no file. Each file counts in whole KiB.
/// At most 2^31 - 1; nullopt when there is no main file. One look at the disk a file and one behind the last.
std::optional<int> recordingSizeKB(const QString &mainFile);

} // namespace quorvale
