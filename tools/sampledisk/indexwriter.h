#pragma once

#include "tools/sampledisk/calendar.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace quorvale {

/// One programme as the recorder's index holds it; the texts are UTF-8.
struct IndexRecord
{
    Day day{}; ///< 1792 to 2047
    int hour = 0;
    int minute = 0;
    int second = 0;
    std::string fileName{};            ///< without folder and extension, at most 29 bytes
    std::string channel{};             ///< at most 1023 bytes
    std::string title{};               ///< at most 1023 bytes
    std::string description{};         ///< at most 1023 bytes, may hold HTML
    std::optional<int> playPosition{}; ///< in seconds, 0 to 65535; none: the record has no marker
};

/// Writes the recorder's index: an unused first block and one block per record. The file appears at `path` when it is
/// complete and replaces an older one at that moment.
/// Throws std::runtime_error when a value does not fit its field or the file cannot be written.
void writeIndex(const std::filesystem::path &path, const std::vector<IndexRecord> &records);

} // namespace quorvale
