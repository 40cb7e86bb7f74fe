#pragma once

#include "video/bitstream/accessunitreader.h"
#include "video/bitstream/hevc_poc.h"
#include "video/bitstream/hevc_sliceheader.h"
#include "video/bitstream/parametersethistory.h"

namespace quorvale::hevc {

/// Access units of ITU-T H.265, Annex B (7.4.2.4.4), of one layer: each at most one coded picture.
class AccessUnitReader final : public quorvale::AccessUnitReader
{
public:
    explicit AccessUnitReader(HevcReferences references)
        : m_references(references)
    {
    }
    [[nodiscard]] AccessUnit read(const std::uint8_t *data, std::size_t size) override;

private:
    struct Contents;

    void readNalUnit(Bytes bytes, Contents &contents, AccessUnit &unit);
    void readVps(Bytes bytes, AccessUnit &unit);
    void readSps(Bytes bytes, AccessUnit &unit);
    void readPps(Bytes bytes, AccessUnit &unit);
    void describe(const SliceHeader &slice, const PictureOrderCounter::Picture &picture, AccessUnit &unit) const;

    HevcReferences m_references;
    SpsTable m_spsTable;
    PpsTable m_ppsTable;
    ParameterSetHistory m_parameterSets;
    PictureOrderCounter m_pictureOrderCounter;
    bool m_hasFilmGrain = false; ///< from here on: decoders add it, also to later pictures, and forget it in a seek
    bool m_irapIsBla = false;    ///< the latest one, with which RASL pictures are associated
};

} // namespace quorvale::hevc
