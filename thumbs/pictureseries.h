#pragma once

#include "video/exact/exactreader.h"

#include <memory>
#include <vector>

class FFVideo;
struct BridgeImage;

namespace quorvale {

/// Delivers pictures of one recording exactly as FFVideo::Read would that is asked for the same ones, one after the
/// other, and decodes less: it asks an ExactReader, and the FFVideo itself where that refuses.
class PictureSeries
{
public:
    /// `video`: opened quickly, and not yet read from; borrowed. From now on it may stand elsewhere than where the
    /// pictures were read. `frames`: the numbers that will be asked for.
    PictureSeries(FFVideo &video, const std::vector<int> &frames);

    /// Picture number `frame` into `image`, which must hold no planes; false where FFVideo::Read fails.
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
