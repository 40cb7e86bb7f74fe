#include "video/bitstream/h264_sei.h"

#include "video/bitstream/sei.h"

namespace quorvale::h264 {

namespace {

constexpr std::int64_t kRecoveryPointPayload = 6; // payloadType, D.1.1

} // namespace

// ITU-T H.264, D.1.8, recovery_point()
std::optional<RecoveryPoint> findRecoveryPoint(BitReader reader)
{
    std::optional<BitReader> payload = findSeiPayload(reader, kRecoveryPointPayload);
    if (!payload)
        return std::nullopt;
    RecoveryPoint point;
    point.recoveryFrameCnt = payload->readUe(); // recovery_frame_cnt
    point.exactMatch = payload->readFlag();     // exact_match_flag
    point.brokenLink = payload->readFlag();     // broken_link_flag
    payload->skipBits(2);                       // changing_slice_group_idc
    return payload->failed() ? std::nullopt : std::optional(point);
}

} // namespace quorvale::h264
