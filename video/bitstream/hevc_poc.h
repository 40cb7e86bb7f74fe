#pragma once

#include "video/bitstream/hevc_sliceheader.h"

#include <cstdint>
#include <vector>

namespace quorvale::hevc {

/// Works out the picture order counts of the pictures of a stream, one after the other in decode order (ITU-T H.265,
/// 8.3.1), and which of them begin a coded video sequence (NoRaslOutputFlag, 8.1.3).
class PictureOrderCounter
{
public:
    struct Picture
    {
        std::int64_t count = 0;            ///< PicOrderCntVal
        bool startsSequence = false;       ///< IRAP picture with NoRaslOutputFlag 1
        bool followsEndOfSequence = false; ///< the first one after an end of sequence
        bool isPrevTid0Pic = false;        ///< the counts of pictures after it are told from this one's
    };

    /// The picture with this header of its first slice segment.
    [[nodiscard]] Picture next(const SliceHeader &slice, const Sps &sps);
    /// An end of sequence or end of bitstream NAL unit was seen.
    void endSequence() { m_sequenceEnded = true; }

private:
    std::int64_t m_prevTid0PicOrderCnt = 0; ///< PicOrderCntVal of prevTid0Pic
    bool m_isFirst = true;                  ///< in the stream
    bool m_sequenceEnded = false;
};

/// The pictures that the one of count `count` may refer to itself: those in `slice.refPicLists`, by their counts
/// (8.3.2). False if a long-term one is known by the lowest bits of its count only; it is left out then.
[[nodiscard]] bool findReferences(const SliceHeader &slice, const Sps &sps, std::int64_t count,
                                  std::vector<std::int64_t> &references);

} // namespace quorvale::hevc
