#include "tools/testpicture/blockcode.h"

#include <array>
#include <cstddef>
#include <cstring>

namespace quorvale {

namespace {

constexpr int kCells = 20;
constexpr int kBits = 16;
constexpr int kFirstBitCell = 2;
constexpr int kParityCell = 18;
constexpr int kLastCell = 19;
constexpr int kRowsPerPicture = 12; // the code is the second twelfth of the picture
constexpr std::uint8_t kWhite = 235;
constexpr std::uint8_t kBlack = 16;
constexpr int kLeastContrast = 64; // of 219; scaling and any usable bit rate keep far more

struct Span
{
    int begin;
    int end;
};

Span cellColumns(int cell, int width)
{
    return {cell * width / kCells, (cell + 1) * width / kCells};
}

Span codeRows(int height)
{
    return {height / kRowsPerPicture, 2 * height / kRowsPerPicture};
}

// The middle half: encoders ring and scalers blur at the edges.
Span middle(Span span)
{
    const int margin = (span.end - span.begin) / 4;
    return {span.begin + margin, span.end - margin};
}

bool hasRoom(int width, int height)
{
    return width >= kCells && height >= kRowsPerPicture;
}

bool oddParity(unsigned number)
{
    bool odd = false;
    for (int bit = 0; bit < kBits; ++bit)
        odd ^= ((number >> bit) & 1u) != 0;
    return odd;
}

} // namespace

void drawBlockCode(std::uint8_t *luma, int width, int height, int stride, unsigned number)
{
    if (!hasRoom(width, height))
        return;
    std::array<bool, kCells> white{};
    white[0] = true;
    for (int bit = 0; bit < kBits; ++bit)
        white[kFirstBitCell + bit] = ((number >> (kBits - 1 - bit)) & 1u) != 0;
    white[kParityCell] = oddParity(number);

    const Span rows = codeRows(height);
    for (int y = rows.begin; y < rows.end; ++y) {
        std::uint8_t *row = luma + static_cast<std::ptrdiff_t>(y) * stride;
        for (int cell = 0; cell < kCells; ++cell) {
            const Span columns = cellColumns(cell, width);
            std::memset(row + columns.begin, white[cell] ? kWhite : kBlack, columns.end - columns.begin);
        }
    }
}

std::optional<unsigned> readBlockCode(const std::uint8_t *luma, int width, int height, int stride)
{
    if (!hasRoom(width, height))
        return std::nullopt;
    std::array<int, kCells> level{};
    const Span rows = middle(codeRows(height));
    for (int cell = 0; cell < kCells; ++cell) {
        const Span columns = middle(cellColumns(cell, width));
        long sum = 0;
        for (int y = rows.begin; y < rows.end; ++y) {
            const std::uint8_t *row = luma + static_cast<std::ptrdiff_t>(y) * stride;
            for (int x = columns.begin; x < columns.end; ++x)
                sum += row[x];
        }
        const long pixels = static_cast<long>(rows.end - rows.begin) * (columns.end - columns.begin);
        level[cell] = static_cast<int>(sum / pixels);
    }

    if (level[0] - level[1] < kLeastContrast)
        return std::nullopt;
    const int threshold = (level[0] + level[1]) / 2;
    unsigned number = 0;
    for (int bit = 0; bit < kBits; ++bit)
        number = number << 1 | (level[kFirstBitCell + bit] > threshold ? 1u : 0u);
    if ((level[kParityCell] > threshold) != oddParity(number) || level[kLastCell] > threshold)
        return std::nullopt;
    return number;
}

} // namespace quorvale
