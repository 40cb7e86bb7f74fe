#pragma once

#include "archive/programme.h"

#include <optional>
#include <string>
#include <vector>

/// Reads the index of the recorder's disk at `devicePath` (bytes, as the file system knows the path).
///
/// The programmes are in the index's order and end before the first invalid record; if that is the first one, the list
/// is empty. nullopt when the index cannot be opened, or is a pipe or a device. The file is closed on return.
std::optional<std::vector<Programme>> readRecordingsIndex(const std::string &devicePath);

/// The same. `failed`: whether the disk failed to deliver something of the open index, which may then hold more.
std::optional<std::vector<Programme>> readRecordingsIndex(const std::string &devicePath, bool &failed);
