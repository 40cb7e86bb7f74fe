#include "video/bitstream/hevc_scalinglist.h"

#include <algorithm>

namespace quorvale::hevc {

// ITU-T H.265, 7.3.4, scaling_list_data()
void skipScalingListData(BitReader &reader)
{
    for (int sizeId = 0; sizeId < 4; ++sizeId) {
        for (int matrixId = 0; matrixId < 6; matrixId += sizeId == 3 ? 3 : 1) {
            if (!reader.readFlag()) { // scaling_list_pred_mode_flag[sizeId][matrixId]
                reader.readUe();      // scaling_list_pred_matrix_id_delta[sizeId][matrixId]
                continue;
            }
            if (sizeId > 1)
                reader.readSe(); // scaling_list_dc_coef_minus8[sizeId - 2][matrixId]
            const int coefNum = std::min(64, 1 << (4 + (sizeId << 1)));
            for (int i = 0; i < coefNum && !reader.failed(); ++i)
                reader.readSe(); // scaling_list_delta_coef
        }
    }
}

} // namespace quorvale::hevc
