#pragma once

#include "video/bitstream/bitreader.h"
#include "video/bitstream/hevc_sliceheader.h"

#include <cstdint>

namespace quorvale::hevc {

/// What the parts of one slice segment header have in common while it is read, from slice_pic_parameter_set_id on. Each
/// part is false if something is out of its range.
struct SliceHeaderParser
{
    BitReader reader;
    const Sps &sps;
    const Pps &pps;
    SliceHeader &slice;

    bool parse();

private:
    // Number of lists of reference pictures.
    [[nodiscard]] std::size_t lists() const
    {
        return slice.sliceType == SliceType::I ? 0 : slice.sliceType == SliceType::P ? 1 : 2;
    }

    bool parseAddress();
    bool parseIndependent();
    bool parsePictureOrderCountAndReferences();
    bool parseShortTermReferences();
    bool parseLongTermReferences();
    bool parseLongTermPicture(std::uint32_t i, std::uint32_t numLongTermSps);
    bool parsePrediction();
    bool parseLists();
    bool parseCollocatedPicture();
    bool parsePredWeightTable();
    bool parseQp();
    bool parseLoopFilters(bool saoIsOn);
    bool parseEntryPoints();
    bool parseEnd();
};

} // namespace quorvale::hevc
