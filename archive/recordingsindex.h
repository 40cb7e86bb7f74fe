#pragma once

#include "archive/programme.h"

#include <optional>
#include <string>
#include <vector>

/// Reads the index of the recorder's disk at `devicePath` (bytes, as the file system knows the path).
///
/// The programmes come in the index's order, up to the first record that is none; an index without a valid first
/// record gives an empty list. nullopt when the index cannot be opened, or is a pipe or a device. The file is closed on
/// return.
std::optional<std::vector<Programme>> readRecordingsIndex(const std::string &devicePath);
