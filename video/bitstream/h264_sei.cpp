#include "video/bitstream/h264_sei.h"

namespace quorvale::h264 {

namespace {

constexpr std::int64_t kRecoveryPointPayload = 6; // payloadType, D.1.1

// ITU-T H.264, 7.3.2.3.1: ff_byte and last_payload_type_byte or last_payload_size_byte
std::int64_t readPayloadNumber(BitReader &reader)
{
    std::int64_t value = 0;
    for (std::uint32_t byte = 0xFF; byte == 0xFF && !reader.failed();) {
        byte = reader.readBits(8);
        value += byte;
    }
    return value;
}

// ITU-T H.264, D.1.8, recovery_point()
std::optional<RecoveryPoint> parseRecoveryPoint(BitReader &reader)
{
    RecoveryPoint point;
    point.recoveryFrameCnt = reader.readUe(); // recovery_frame_cnt
    point.exactMatch = reader.readFlag();     // exact_match_flag
    point.brokenLink = reader.readFlag();     // broken_link_flag
    reader.skipBits(2);                       // changing_slice_group_idc
    return reader.failed() ? std::nullopt : std::optional(point);
}

} // namespace

// ITU-T H.264, 7.3.2.3, sei_rbsp()
std::optional<RecoveryPoint> findRecoveryPoint(BitReader reader)
{
    while (!reader.failed()) {
        const std::int64_t payloadType = readPayloadNumber(reader);
        const std::int64_t payloadSize = readPayloadNumber(reader);
        if (!reader.failed() && payloadType == kRecoveryPointPayload)
            return parseRecoveryPoint(reader);
        reader.skipBits(8 * payloadSize);
    }
    return std::nullopt;
}

} // namespace quorvale::h264
