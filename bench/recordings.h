#pragma once

#include <functional>
#include <string>
#include <vector>

// Recordings to measure with. Making them takes minutes, so they are kept in the build folder: each is made when it is
// first asked for, and by every later run found there.

/// 1920x1080, one minute, H.264 with B pictures: what a recorder takes from a satellite.
[[nodiscard]] std::string highDefinitionMinute();

/// 720x576, ten minutes, H.264 with a key picture every 12 and no B pictures.
[[nodiscard]] std::string tenMinutesWithoutBPictures();

/// 720x576, ten minutes, H.264 with a key picture every 12 and two B pictures between the others.
[[nodiscard]] std::string tenMinutesWithBPictures();

inline constexpr int kPicturesAMinute = 60 * 25;

/// A recording of a minute or more as broadcasters make them.
struct BroadcastRecording
{
    const char *name;                  ///< of its file, without the extension
    const char *what;                  ///< for a table
    std::function<std::string()> make; ///< its path; empty where it is made from a capture that is not there
};

[[nodiscard]] const std::vector<BroadcastRecording> &broadcastRecordings();

/// Ten minutes of HD H.264 with reordering: a real group of pictures over and over, or a made one.
[[nodiscard]] std::string tenMinutesOfHighDefinition();
