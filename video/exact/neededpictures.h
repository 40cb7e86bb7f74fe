#pragma once

#include "video/exact/picturelist.h"

#include <vector>

namespace quorvale {

/// Of a run of pictures in decode order, those that a decoder has to be shown for the last one.
class NeededPictures
{
public:
    /// Everything from `entry` up to but not including `end`.
    NeededPictures(PictureIndex entry, PictureIndex end);

    void leaveOut(PictureIndex picture) { m_isNeeded[placeOf(picture)] = false; }
    /// Leaves out what reference picture lists (ITU-T H.265, 8.3.4) do not reach from the last one; false, and nothing
    /// is left out, where they do not tell.
    bool leaveOutUnreached(const PictureList &pictures);

    [[nodiscard]] bool isNeeded(PictureIndex picture) const { return m_isNeeded[placeOf(picture)]; }

private:
    [[nodiscard]] std::size_t placeOf(PictureIndex picture) const
    {
        return static_cast<std::size_t>(picture - m_entry);
    }
    [[nodiscard]] bool keepsCounts(const PictureList &pictures, const std::vector<bool> &isReached) const;

    PictureIndex m_entry;
    std::vector<bool> m_isNeeded;
};

} // namespace quorvale
