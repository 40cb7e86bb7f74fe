#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace quorvale {

/// A file on a volume that this program made: the options, the day for which the index is written, and the program's
/// own files. A volume without a stamp belongs to someone else.
struct Stamp
{
    int version = 0; ///< of the disk's content
    int recordings = 0;
    int length = 0;
    std::string day{};     ///< the index's "today", as in "2024-02-29"
    bool complete = false; ///< false from before the first file is written until after the last one
    /// The program's own files, relative to the volume, and their sizes in bytes; the sizes are valid when the volume
    /// is complete.
    std::map<std::string, std::uintmax_t> files{};
};

/// Reads the stamp of `volume`; nothing when it has none of this program.
[[nodiscard]] std::optional<Stamp> readStamp(const std::filesystem::path &volume);

/// Whether a volume without a stamp can be taken over: it does not exist, or is a folder that is empty or holds only
/// what a run left that was interrupted at its first step.
[[nodiscard]] bool isFree(const std::filesystem::path &volume);

/// Writes the stamp of `volume`, replacing an older one in one step.
/// Throws std::runtime_error when it cannot be written.
void writeStamp(const std::filesystem::path &volume, const Stamp &stamp);

} // namespace quorvale
