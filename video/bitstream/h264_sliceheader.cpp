#include "video/bitstream/h264_sliceheader.h"

#include <algorithm>

namespace quorvale::h264 {

bool SliceHeader::hasMemoryManagementControl5() const
{
    return std::any_of(memoryManagement.begin(), memoryManagement.end(),
                       [](const MemoryManagementControl &control) { return control.operation == 5; });
}

bool SliceHeader::isOfSamePicture(const SliceHeader &other) const
{
    return spsId == other.spsId && frameNum == other.frameNum && structure == other.structure &&
           (nalRefIdc == 0) == (other.nalRefIdc == 0) && idrPicFlag == other.idrPicFlag && idrPicId == other.idrPicId &&
           picOrderCntLsb == other.picOrderCntLsb && deltaPicOrderCntBottom == other.deltaPicOrderCntBottom &&
           deltaPicOrderCnt == other.deltaPicOrderCnt && noOutputOfPriorPics == other.noOutputOfPriorPics &&
           longTermReference == other.longTermReference && memoryManagement == other.memoryManagement;
}

bool SliceHeader::namesLongTerm() const
{
    return std::any_of(modifications.begin(), modifications.end(), [](const auto &list) {
        return std::any_of(list.begin(), list.end(), [](const auto &modification) { return modification.idc == 2; });
    });
}

bool SliceHeader::hasSameLists(const SliceHeader &other) const
{
    return sliceType == other.sliceType && numRefIdxActive == other.numRefIdxActive &&
           modifications == other.modifications;
}

} // namespace quorvale::h264
