#pragma once

#include <QFileInfo>
#include <QString>

#include <optional>

namespace quorvale {

/// The files of the recording whose main file is `mainFile`: that one and the pieces that follow it, its path with 1,
/// 2, 3, ... appended, up to the first number that has no file. None when there is no main file. Looks at the disk once
/// for each file, and once for the first missing one.
QFileInfoList recordingPieces(const QString &mainFile);

/// The size in KiB of the recording whose main file is `mainFile`, all pieces together. Each file counts in whole KiB.
/// At most 2^31 - 1; nullopt when there is no main file. Looks at the disk no more often than recordingPieces().
std::optional<int> recordingSizeKB(const QString &mainFile);

} // namespace quorvale
