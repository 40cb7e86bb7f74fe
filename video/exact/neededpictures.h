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
    /// HEVC: leaves out what reference picture lists (ITU-T H.265, 8.3.4) do not reach from the last one; false, and
    /// nothing is left out, where they do not tell.
    bool leaveOutUnreached(const PictureList &pictures);
    /// H.264: has the decoder shown the headers only of what reference picture lists (ITU-T H.264, 8.2.4) do not reach
    /// from the last one, unless it is left out; nothing changes where they do not tell.
    void skimUnreached(const PictureList &pictures);

    [[nodiscard]] bool isNeeded(PictureIndex picture) const { return m_isNeeded[placeOf(picture)]; }
    /// Whether it is needed with all that it holds, and not with its headers only.
    [[nodiscard]] bool isDecoded(PictureIndex picture) const
    {
        return isNeeded(picture) && !m_isSkimmed[placeOf(picture)];
    }

private:
    [[nodiscard]] std::size_t placeOf(PictureIndex picture) const
    {
        return static_cast<std::size_t>(picture - m_entry);
    }
    [[nodiscard]] bool keepsCounts(const PictureList &pictures, const std::vector<bool> &isReached) const;

    PictureIndex m_entry;
    std::vector<bool> m_isNeeded;
    std::vector<bool> m_isSkimmed;
};

} // namespace quorvale
