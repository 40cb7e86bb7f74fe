#include "tests/video/h262fieldpairs.h"

#include "tests/support/bitwriter.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr int kWidth = 160;
constexpr int kHeight = 128;
constexpr int kMacroblock = 16;
constexpr int kFirstDc = 128; // 7.2.1: what the first coefficient of a slice is predicted from

enum Type : std::uint32_t { I = 1, P = 2, B = 3 };             // picture_coding_type
enum Parity : std::uint32_t { TopField = 1, BottomField = 2 }; // picture_structure

struct Field
{
    Type type;
    Parity parity;
    int frame; // in output order
    int temporalReference;
    bool refersToFrameBefore; // besides the first field of its own frame
};

QByteArray startCode(int value, const QByteArray &payload)
{
    return QByteArray("\0\0\1", 3) + char(value) + payload;
}

// 6.2.2.1, sequence_header(); 6.2.2.3, sequence_extension()
QByteArray sequenceHeader()
{
    BitWriter header;
    header.u(kWidth, 12).u(kHeight, 12).u(2, 4).u(3, 4).u(10000, 18).flag(true).u(112, 10);
    header.flag(false).flag(false).flag(
        false); // constrained_parameters_flag, load_intra_, load_non_intra_quantiser_matrix
    BitWriter extension;
    extension.u(1, 4).u(0x48, 8).flag(false).u(1, 2).u(0, 2).u(0, 2).u(0, 12).flag(true).u(0, 8).flag(false);
    extension.u(0, 2).u(0, 5);
    return startCode(0xB3, header.padded()) + startCode(0xB5, extension.padded());
}

// 6.2.2.6, group_of_pictures_header()
QByteArray groupHeader(bool isFirst)
{
    BitWriter header;
    header.u(1 << 12, 25).flag(isFirst).flag(false); // time_code with its marker, closed_gop, broken_link
    return startCode(0xB8, header.padded());
}

// 6.2.3, picture_header(); 6.2.3.1, picture_coding_extension()
QByteArray pictureHeader(const Field &field)
{
    BitWriter header;
    header.u(std::uint32_t(field.temporalReference), 10).u(field.type, 3).u(0xFFFF, 16);
    if (field.type != I)
        header.flag(false).u(7, 3); // full_pel_forward_vector, forward_f_code
    if (field.type == B)
        header.flag(false).u(7, 3);
    header.flag(false);
    BitWriter extension;
    const std::uint32_t forward = field.type == I ? 15 : 1; // f_code
    const std::uint32_t backward = field.type == B ? 1 : 15;
    extension.u(8, 4).u(forward, 4).u(forward, 4).u(backward, 4).u(backward, 4).u(0, 2).u(field.parity, 2);
    extension.u(0, 10); // top_field_first to composite_display_flag, all 0 in fields
    return startCode(0x00, header.padded()) + startCode(0xB5, extension.padded());
}

// B.5: dct_dc_size_luminance and dct_dc_differential, then the end of the block
void writeDc(BitWriter &bits, int difference)
{
    static constexpr std::array<const char *, 8> kSizes = {"100", "00", "01", "101", "110", "1110", "11110", "111110"};
    int size = 0;
    while (std::abs(difference) >> size != 0)
        ++size;
    for (const char *bit = kSizes.at(std::size_t(size)); *bit; ++bit)
        bits.flag(*bit == '1');
    if (size > 0)
        bits.u(std::uint32_t(difference > 0 ? difference : difference + (1 << size) - 1), size);
    bits.u(0b10, 2);
}

class Slice
{
public:
    Slice(const Field &field, int row)
        : m_field(field)
        , m_random(std::uint32_t(field.frame * 131 + row * 17 + int(field.parity)) * 2654435761U)
    {
        m_bits.u(4, 5).flag(false); // quantiser_scale_code, extra_bit_slice
    }

    // 6.2.5, macroblock(), none of them skipped
    void addMacroblock()
    {
        m_bits.flag(true); // macroblock_address_increment 1
        const bool isIntra = m_field.type == I || random(4) == 0;
        if (isIntra) {
            m_field.type == I ? m_bits.flag(true) : m_bits.u(0b00011, 5); // macroblock_type: Intra
            addIntraBlocks();
            return;
        }
        m_dc = kFirstDc;
        const std::uint32_t ways = m_field.type == B ? random(3) : 0;
        if (m_field.type == P)
            m_bits.u(0b001, 3); // macroblock_type: MC, not coded
        else
            m_bits.u(ways == 0 ? 0b0010 : ways == 1 ? 0b010 : 0b10, ways == 0 ? 4 : ways == 1 ? 3 : 2);
        m_bits.u(0b01, 2); // field_motion_type: field-based
        addVector();
        if (ways == 2)
            addVector();
    }

    [[nodiscard]] QByteArray bytes() const { return m_bits.padded(); }

private:
    std::uint32_t random(std::uint32_t end)
    {
        m_random = m_random * 1664525U + 1013904223U;
        return (m_random >> 16) % end;
    }

    void addIntraBlocks()
    {
        for (int block = 0; block < 4; ++block) {
            const int wanted = 40 + int(random(170));
            const int difference = std::clamp(wanted - m_dc, -100, 100);
            writeDc(m_bits, difference);
            m_dc += difference;
        }
        for (int block = 0; block < 2; ++block)
            m_bits.u(0b00, 2).u(0b10, 2); // dct_dc_size_chrominance 0, end of block
    }

    // motion_vertical_field_select, motion_code twice 0
    void addVector()
    {
        const bool isFree = m_field.refersToFrameBefore;
        m_bits.flag(isFree ? random(2) == 1 : m_field.parity == TopField).u(0b11, 2);
    }

    const Field &m_field;
    std::uint32_t m_random;
    BitWriter m_bits;
    int m_dc = kFirstDc;
};

QByteArray fieldPicture(const Field &field)
{
    QByteArray bytes = pictureHeader(field);
    for (int row = 0; row < kHeight / 2 / kMacroblock; ++row) {
        Slice slice(field, row);
        for (int column = 0; column < kWidth / kMacroblock; ++column)
            slice.addMacroblock();
        bytes += startCode(row + 1, slice.bytes()); // slice_vertical_position
    }
    return bytes;
}

} // namespace

QByteArray H262FieldPairs::write() const
{
    QByteArray bytes;
    const auto addFrame = [&](Type type, int frame, int groupBegin) {
        const int temporalReference = frame - groupBegin;
        bytes += fieldPicture({type, TopField, frame, temporalReference, type != I});
        const bool isFree = type != I || (refersBack && frame > 0);
        bytes += fieldPicture({type == B ? B : P, BottomField, frame, temporalReference, isFree});
    };
    for (int reference = 0; reference < frames; reference += 3) {
        const bool beginsGroup = reference % group == 0;
        // The first picture of a group in output order is the first B before the I.
        const int groupBegin = std::max(0, reference / group * group - 2);
        if (beginsGroup)
            bytes += sequenceHeader() + groupHeader(reference == 0);
        addFrame(beginsGroup ? I : P, reference, groupBegin);
        for (int b = std::max(reference - 2, 1); b < reference; ++b)
            addFrame(B, b, groupBegin);
    }
    return bytes;
}
