#pragma once

#include <cstdint>
#include <vector>

namespace quorvale {

/// What is coded as one picture: picture_structure (ITU-T H.262, 6.3.10), field_pic_flag and bottom_field_flag (ITU-T
/// H.264, 7.4.3).
enum class PictureStructure : std::uint8_t { Frame, TopField, BottomField };

/// How decoding can begin at a picture, if at all.
enum class RandomAccess : std::uint8_t {
    None,
    Idr,                  ///< H.264, HEVC: instantaneous decoding refresh
    Bla,                  ///< HEVC: broken link access
    Cra,                  ///< HEVC: clean random access
    RecoveryPoint,        ///< H.264: I slices, recovery_frame_cnt 0, exact_match_flag 1, broken_link_flag 0
    InexactRecoveryPoint, ///< the same with exact_match_flag 0: the standard promises nothing
    SequenceHeader,       ///< H.262: an I picture with a sequence header of its own
};

/// What one access unit says about itself without being decoded. A field in a unit of its own counts as one.
/// Everything is read from untrusted bytes: what cannot be understood makes `onePicture` false or a flag true.
struct AccessUnit
{
    /// Holds the slices of exactly one frame or field, from its first one on and in order. Where it is false, only the
    /// three flags about parameters and output say anything.
    bool onePicture = false;
    PictureStructure structure = PictureStructure::Frame;
    RandomAccess randomAccess = RandomAccess::None;
    bool isReference = true; ///< other pictures may refer to it; false only where none does
    /// Picture order counts start again. H.264: IDR, memory_management_control_operation 5; HEVC: IDR, BLA, and a CRA
    /// that begins the stream or follows an end of sequence.
    bool startsSequence = false;
    /// Within one coded video sequence pictures are output by ascending count. For H.262, which has none, made from
    /// the types of the pictures.
    std::int64_t pictureOrderCount = 0;
    /// H.264 with CABAC: the bytes of its slices' NAL units in which their headers end, at most; 0: not known.
    std::uint16_t sliceHeaderBytes = 0;
    std::uint32_t frameNum = 0; ///< H.264: frame_num, the same in both fields of a frame
    bool hasBSlices = false;    ///< H.264

    std::uint8_t temporalId = 0;     ///< HEVC: TemporalId
    bool isRasl = false;             ///< HEVC: random access skipped leading picture
    bool referencesAreKnown = false; ///< H.264, HEVC: `references` is complete
    /// H.264, HEVC: picture order counts of the pictures of this sequence that this one may refer to itself, see
    /// HevcReferences. H.264: without those before what was lost, and without the other field of its frame.
    std::vector<std::int64_t> references;
    bool isPrevTid0Pic = false;          ///< HEVC: the counts of pictures after it are told from this one's (8.3.1)
    std::uint32_t maxPicOrderCntLsb = 0; ///< HEVC: MaxPicOrderCntLsb; from counts less than half of it away

    /// H.262: holds both fields of one frame, one after the other, each with a picture header of its own. onePicture,
    /// which is of one header, is false then; what else stands here is true of the frame.
    bool bothFields = false;

    bool parametersChanged = false; ///< a parameter set differs from the last one with its id, or cannot be read
    bool newParameters = false;     ///< holds a parameter set with an id that was not seen before
    bool mayWithholdOutput = false; ///< the stream may tell the decoder not to output pictures
};

} // namespace quorvale
