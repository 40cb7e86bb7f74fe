#pragma once

#include <cstdint>

extern "C" {
#include <libavcodec/codec_id.h>
}

struct AVPacket;

namespace quorvale::ffmpeg {

/// 600 slices are the most that ITU-T H.265 allows (table A.8); 3 MB in pieces for a network are two thousand.
inline constexpr int kMostUnits = 2048;

/// The header of a stream: what FFmpeg calls its extradata.
struct StreamHeader
{
    const std::uint8_t *data;
    int size;
};

/// Of how many bytes the lengths before the NAL units of a stream of H.264, HEVC or VVC are; 0 where there are start
/// codes (Annex B).
[[nodiscard]] int lengthBytes(AVCodecID codec, const StreamHeader &header);

/// Whether `packet` has about as many NAL units or OBUs as pictures have, if it is of a `codec` that is made of them.
/// FFmpeg keeps up to 4 KiB for each, and one takes 2 to 4 bytes.
[[nodiscard]] bool hasBoundedUnits(AVCodecID codec, const StreamHeader &header, const AVPacket &packet);

} // namespace quorvale::ffmpeg
