#include "video/bitstream/sei.h"

namespace quorvale {

namespace {

// ITU-T H.264, 7.3.2.3.1; ITU-T H.265, 7.3.5: ff_byte and last_payload_type_byte or last_payload_size_byte
std::int64_t readPayloadNumber(BitReader &reader)
{
    std::int64_t value = 0;
    for (std::uint32_t byte = 0xFF; byte == 0xFF && !reader.failed();) {
        byte = reader.readBits(8);
        value += byte;
    }
    return value;
}

} // namespace

std::optional<BitReader> findSeiPayload(BitReader reader, std::int64_t payloadType)
{
    while (!reader.failed()) {
        const std::int64_t type = readPayloadNumber(reader);
        const std::int64_t payloadSize = readPayloadNumber(reader);
        if (!reader.failed() && type == payloadType)
            return reader;
        reader.skipBits(8 * payloadSize);
    }
    return std::nullopt;
}

} // namespace quorvale
