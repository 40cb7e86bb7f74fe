#pragma once

#include "video/exact/stretch.h"

#include <deque>

namespace quorvale {

/// All stretches in the part of a file that was scanned, in order.
class Stretches
{
public:
    /// Adds what was scanned since the last call.
    void extend(PictureList &pictures);

    [[nodiscard]] std::size_t count() const { return m_stretches.size(); }
    [[nodiscard]] const Stretch &at(std::size_t index) const { return m_stretches[index]; }

private:
    [[nodiscard]] bool isOpen() const { return !m_stretches.empty() && !m_stretches.back().isClosed(); }
    void finishFile(PictureList &pictures);

    std::deque<Stretch> m_stretches;
    PictureIndex m_next; ///< the first picture that was not looked at yet
};

} // namespace quorvale
