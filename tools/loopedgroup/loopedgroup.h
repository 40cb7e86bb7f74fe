#pragma once

#include "tools/loopedgroup/uniteditor.h"

#include <string>

namespace quorvale {

/// A long recording out of one group of pictures of a short one.
struct LoopedGroup
{
    std::string source{}; ///< a transport stream
    std::string path{};   ///< written over when it exists
    /// Which group, from the first picture on where decoding can begin, counted from 0. It must be followed by another.
    int group = 0;
    int groups = 1; ///< consecutive groups that are repeated together
    int times = 1;
    bool keepsBeginning = false; ///< what comes before the group is written once, first
    /// The pictures that follow the very first one and are shown before it, and refer to what is not there, are left
    /// out.
    bool dropsLeading = false;
    UnitChanges changes{};
};

/// Writes a transport stream in which the group stands `times` times. Frame numbers, picture order counts and times go
/// on from each to the next; all of them have a fixed length in slice headers, so that nothing after them moves. Only
/// the video is kept. Returns how many access units the group has. Throws std::runtime_error.
int writeLoopedGroup(const LoopedGroup &looped);

} // namespace quorvale
