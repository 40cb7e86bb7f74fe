#pragma once

#include "video/bitstream/accessunitreader.h"
#include "video/bitstream/h264_poc.h"
#include "video/bitstream/h264_referenceframes.h"
#include "video/bitstream/h264_sliceheader.h"
#include "video/bitstream/parametersethistory.h"

namespace quorvale::h264 {

/// Access units of ITU-T H.264, Annex B (7.4.1.2): each at most one primary coded picture.
class AccessUnitReader final : public quorvale::AccessUnitReader
{
public:
    [[nodiscard]] AccessUnit read(const std::uint8_t *data, std::size_t size) override;

private:
    struct Contents;

    void readNalUnit(Bytes bytes, Contents &contents, AccessUnit &unit);
    void readSps(Bytes bytes, AccessUnit &unit);
    void readPps(Bytes bytes, AccessUnit &unit);
    static void describe(const Contents &contents, std::int64_t pictureOrderCount, AccessUnit &unit);

    SpsTable m_spsTable;
    PpsTable m_ppsTable;
    ParameterSetHistory m_parameterSets;
    PictureOrderCounter m_pictureOrderCounter;
    ReferenceFrames m_referenceFrames;
    bool m_hasFilmGrain = false; ///< from here on: decoders add it, also to later pictures, and forget it in a seek
};

} // namespace quorvale::h264
