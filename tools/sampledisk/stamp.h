#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace quorvale {

/// The program's note on a volume that it made: what it was asked for, which day the index is written for and which
/// files are its own. A volume without such a note belongs to someone else.
struct Stamp
{
    int version = 0; ///< of the disk's content
    int recordings = 0;
    int length = 0;
    std::string day{};     ///< the index's "today", as in "2024-02-29"
    bool complete = false; ///< false from before the first file is written until after the last one
    /// The files that are the program's own, relative to the volume, and their sizes in bytes; the sizes hold when the
    /// volume is complete.
    std::map<std::string, std::uintmax_t> files{};
};

/// Reads the stamp of `volume`; nothing when there is none or it is not one of this program.
[[nodiscard]] std::optional<Stamp> readStamp(const std::filesystem::path &volume);

/// Whether a volume without a stamp can be taken: it does not exist, or it is a folder that holds nothing, or nothing
/// but what a run that was interrupted at its very first step left there.
[[nodiscard]] bool isFree(const std::filesystem::path &volume);

/// Writes the stamp of `volume`, replacing an older one at once.
/// Throws std::runtime_error when it cannot be written.
void writeStamp(const std::filesystem::path &volume, const Stamp &stamp);

} // namespace quorvale
