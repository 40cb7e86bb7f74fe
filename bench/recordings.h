#pragma once

#include <string>

// Recordings to measure with. Making them takes minutes, so they are kept in the build folder: each is made when it is
// first asked for, and by every later run found there.

/// 1920x1080, one minute, H.264 with B pictures: what a recorder takes from a satellite.
[[nodiscard]] std::string highDefinitionMinute();

/// 720x576, ten minutes, H.264 with a key picture every 12 and no B pictures.
[[nodiscard]] std::string tenMinutesWithoutBPictures();

/// 720x576, ten minutes, H.264 with a key picture every 12 and two B pictures between the others.
[[nodiscard]] std::string tenMinutesWithBPictures();

inline constexpr int kPicturesAMinute = 60 * 25;
