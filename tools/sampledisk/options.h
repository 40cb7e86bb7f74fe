#pragma once

#include <filesystem>
#include <string>

namespace quorvale {

/// What the command line asks for.
struct Options
{
    int recordings = 12; ///< entries of the index, 1 to kMostRecordings
    int length = 900;    ///< pictures of a long recording, 1 to kMostPictures; 900 are 36 seconds
    std::filesystem::path directory{};
    bool help = false;
};

constexpr int kMostRecordings = 9999; // four digits in a file name
constexpr int kMostPictures = 65536;  // the block code has 16 bits

/// Reads the command line.
/// Throws std::invalid_argument with a message for the user when it cannot be understood.
[[nodiscard]] Options parseOptions(int argc, const char *const argv[]);

/// What `--help` prints.
[[nodiscard]] std::string helpText();

} // namespace quorvale
