#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace quorvale {

/// What of an access unit must go on where the stream is repeated.
struct UnitFacts
{
    bool canBeEntered = false;        ///< an I picture that repeats what decoders need: decoding may begin there
    bool startsSequence = false;      ///< IDR: everything is counted anew
    std::uint32_t frameNum = 0;       ///< H.264: frame_num
    std::uint32_t picOrderCntLsb = 0; ///< H.264: pic_order_cnt_lsb; HEVC: slice_pic_order_cnt_lsb
};

/// What is added to these elements, modulo what they can hold.
struct UnitShift
{
    std::uint32_t frameNum = 0;
    std::uint32_t picOrderCntLsb = 0;
};

/// What is changed beside.
struct UnitChanges
{
    bool clearsExactMatch = false; ///< H.264: exact_match_flag becomes 0
    /// H.264: pictures of I slices without a recovery point get one, with exact_match_flag 0, though those after them
    /// may refer to pictures before them.
    bool forgesRecoveryPoints = false;
};

/// Reads and rewrites the access units of one stream, in the order in which they come: what parameter sets say counts
/// for the units after them.
class UnitEditor
{
public:
    using ByteVector = std::vector<std::uint8_t>;

    virtual ~UnitEditor() = default;
    [[nodiscard]] virtual UnitFacts look(const ByteVector &unit) = 0;
    [[nodiscard]] virtual ByteVector changed(const ByteVector &unit, const UnitShift &shift,
                                             const UnitChanges &changes) = 0;
};

[[nodiscard]] std::unique_ptr<UnitEditor> makeMpeg2Editor();
[[nodiscard]] std::unique_ptr<UnitEditor> makeH264Editor();
[[nodiscard]] std::unique_ptr<UnitEditor> makeHevcEditor();

} // namespace quorvale
