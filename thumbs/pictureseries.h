#pragma once

#include "video/exact/exactreader.h"

#include <memory>
#include <vector>

class FFVideo;
struct BridgeImage;

namespace quorvale {

/// Delivers the pictures of one recording that FFVideo::Read would deliver if it were asked for the same numbers in the
/// same order, and decodes less: it asks an ExactReader, and the FFVideo when that refuses.
class PictureSeries
{
public:
    /// `video`: opened quickly, and not yet read from; borrowed. Its position may differ from that of the last picture.
    /// `frames`: the numbers that will be asked for.
    PictureSeries(FFVideo &video, const std::vector<int> &frames);

    /// Copies picture number `frame` into `image`, which must hold no planes; false when FFVideo::Read would fail.
    bool read(int frame, BridgeImage &image);
    [[nodiscard]] ExactCounters counters() const { return m_exactCounters; }

private:
    enum class Outcome { Delivered, Missing, Unknown };

    Outcome readExactly(int frame, BridgeImage &image);
    Outcome missingPicture(int frame, BridgeImage &image);
    bool readLiterally(int frame, BridgeImage &image);

    FFVideo &m_video;
    std::unique_ptr<ExactReader> m_exact; ///< null once pictures are asked for in another order
    ExactCounters m_exactCounters;
    int m_last = -1;              ///< the number that was asked for last
    std::vector<int> m_delivered; ///< by the ExactReader, and not yet passed by the FFVideo
    bool m_passedEnd = false;     ///< the picture just past the last one was delivered
};

} // namespace quorvale
