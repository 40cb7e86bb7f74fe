#pragma once

#include "video/bitstream/bitreader.h"

namespace quorvale::hevc {

/// Passes over scaling_list_data() of an SPS or PPS, of which nothing is of use here.
void skipScalingListData(BitReader &reader);

} // namespace quorvale::hevc
