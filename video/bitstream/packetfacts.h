#pragma once

#include <cstdint>

enum class PictureShape : std::uint8_t { Frame, TopField, BottomField };

/// Why a packet cannot be counted on to be one picture, delivered in its turn. Bits of PacketFacts::doubts.
enum Doubt : std::uint32_t {
    kCorruptNear = 1U << 0,         ///< transport packets were lost or repeated in this packet or one beside it
    kNotOnePicture = 1U << 1,       ///< no picture, a torn one, or pieces of several
    kUnpairedField = 1U << 2,       ///< a field without the other one of its frame is not delivered
    kParametersChanged = 1U << 3,   ///< a parameter set differs from the last one with its number
    kPicturesWithheld = 1U << 4,    ///< the stream may tell the decoder to drop pictures
    kOrderRepeated = 1U << 5,       ///< two pictures claim the same place in the order
    kReorderedTooDeep = 1U << 6,    ///< the decoder would have to deliver a picture before it got it
    kDisplayTimeUnsteady = 1U << 7, ///< display times do not rise steadily in the order of delivery
    kDecodeTimeUnsteady = 1U << 8,  ///< decode times go back, or jump
    kNoDisplayTime = 1U << 9,       ///< nothing to check the order number against
    kDecoderFailed = 1U << 10,      ///< the decoder complained
    kTableRowUnclear = 1U << 11,    ///< whether the picture enters the key frame table cannot be told
    kLastOfFile = 1U << 12,         ///< a recording that was cut ends in a torn picture
};

/// What one video packet says about itself, without being decoded.
struct PacketFacts
{
    std::int64_t pts = INT64_MIN; ///< in the stream's time base; INT64_MIN: none
    std::int64_t dts = INT64_MIN;
    std::int64_t order = 0;        ///< pictures of one sequence are delivered by ascending order
    std::uint32_t doubts = 0;      ///< see Doubt
    std::uint32_t frameNumber = 0; ///< the same in both fields of a frame (H.264)
    PictureShape shape = PictureShape::Frame;
    bool corrupt = false;        ///< flagged by the demuxer
    bool reference = true;       ///< other pictures may refer to it; false only where none does
    bool beginsSequence = false; ///< order starts anew
    bool closedKey = false;      ///< decoding can begin here: what is delivered from it on needs nothing before it
    bool strict = false;         ///< a closed key behind which any complaint of the decoder means damage
    bool tableRow = false;       ///< the reader would enter the picture in the key frame table
    bool newParameters = false;  ///< holds a parameter set with a number that was not seen before
};
