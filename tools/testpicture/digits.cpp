#include "tools/testpicture/digits.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string>

namespace quorvale {

namespace {

constexpr int kGlyphColumns = 5;
constexpr int kGlyphRows = 7;
constexpr std::uint8_t kWhite = 235;
constexpr std::uint8_t kBlack = 16;

// One byte per row; the lowest five bits are the dots, the leftmost dot is the highest bit.
constexpr std::array<std::array<std::uint8_t, kGlyphRows>, 10> kGlyphs{{
    {0b01110, 0b10001, 0b10011, 0b10101, 0b11001, 0b10001, 0b01110},
    {0b00100, 0b01100, 0b00100, 0b00100, 0b00100, 0b00100, 0b01110},
    {0b01110, 0b10001, 0b00001, 0b00010, 0b00100, 0b01000, 0b11111},
    {0b11111, 0b00010, 0b00100, 0b00010, 0b00001, 0b10001, 0b01110},
    {0b00010, 0b00110, 0b01010, 0b10010, 0b11111, 0b00010, 0b00010},
    {0b11111, 0b10000, 0b11110, 0b00001, 0b00001, 0b10001, 0b01110},
    {0b00110, 0b01000, 0b10000, 0b11110, 0b10001, 0b10001, 0b01110},
    {0b11111, 0b00001, 0b00010, 0b00100, 0b01000, 0b01000, 0b01000},
    {0b01110, 0b10001, 0b10001, 0b01110, 0b10001, 0b10001, 0b01110},
    {0b01110, 0b10001, 0b10001, 0b01111, 0b00001, 0b00010, 0b01100},
}};

class LumaPlane
{
public:
    LumaPlane(std::uint8_t *luma, int stride)
        : m_luma(luma)
        , m_stride(stride)
    {
    }

    void fill(int left, int top, int width, int height, std::uint8_t level) const
    {
        for (int y = top; y < top + height; ++y)
            std::memset(m_luma + static_cast<std::ptrdiff_t>(y) * m_stride + left, level, width);
    }

private:
    std::uint8_t *m_luma;
    int m_stride;
};

} // namespace

PictureArea drawDigits(std::uint8_t *luma, int width, int height, int stride, unsigned number)
{
    const std::string text = std::to_string(number);
    // One dot of space around the text and between the glyphs.
    const int columns = static_cast<int>(text.size()) * (kGlyphColumns + 1) + 1;
    const int rows = kGlyphRows + 2;
    const int dot = std::min(height / 4 / rows, width / columns);
    if (dot < 1)
        return {};

    const LumaPlane plane(luma, stride);
    const int left = (width - columns * dot) / 2;
    const int top = (height - rows * dot) / 2;
    plane.fill(left, top, columns * dot, rows * dot, kBlack);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int glyphLeft = left + (static_cast<int>(i) * (kGlyphColumns + 1) + 1) * dot;
        const auto &glyph = kGlyphs[static_cast<std::size_t>(text[i] - '0')];
        for (int row = 0; row < kGlyphRows; ++row)
            for (int column = 0; column < kGlyphColumns; ++column)
                if ((glyph[row] >> (kGlyphColumns - 1 - column)) & 1)
                    plane.fill(glyphLeft + column * dot, top + (row + 1) * dot, dot, dot, kWhite);
    }
    return {left, top, columns * dot, rows * dot};
}

} // namespace quorvale
