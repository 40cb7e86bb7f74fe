#pragma once

#include <cstdint>

namespace quorvale {

/// Reasons to doubt that a coded picture is exactly one picture and is output in its place. Bits of
/// CodedPicture::doubts.
enum Doubt : std::uint16_t {
    kCorruptNear = 1U << 0,         ///< transport packets were lost or repeated in this packet or one next to it
    kNotOnePicture = 1U << 1,       ///< no picture, a torn one, or pieces of several
    kUnpairedField = 1U << 2,       ///< a field without the other one of its frame is not output
    kParametersChanged = 1U << 3,   ///< a parameter set differs from the last one with its id
    kOutputWithheld = 1U << 4,      ///< the stream may tell the decoder not to output pictures
    kDisplayTimeUnsteady = 1U << 5, ///< display times do not rise steadily in output order
    kDecodeTimeUnsteady = 1U << 6,  ///< decode times go back, or jump
    kNoDisplayTime = 1U << 7,       ///< nothing to check the picture order count against
    kOutOfOrder = 1U << 8,          ///< its place in output order is taken, or too far from its place in decode order
    kLastOfFile = 1U << 9,          ///< a recording that was cut ends in a torn picture
    kDecoderFailed = 1U << 10,      ///< decoding found damage that no packet showed
};

} // namespace quorvale
