#include "tools/testpicture/numberedpicture.h"

#include "tools/testpicture/blockcode.h"
#include "tools/testpicture/digits.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

namespace quorvale {

namespace {

constexpr int kPhases = 256; // one turn of swing()
constexpr int kLooks = 7;

struct Plane
{
    std::uint8_t *bytes;
    int width;
    int height;
};

struct Wave
{
    int level;     // in the middle of the wave
    int amplitude; // of the level
    int phase;     // at the upper left corner at time 0
    int slant;     // phases from the top to the bottom
    int speed;     // phases per 64 fields
};

// A smooth wave in integers, equal on every machine: two parabolas, -127 to 127.
constexpr int swing(int phase)
{
    const int p = phase & (kPhases - 1);
    const int half = p & (kPhases / 2 - 1);
    const int height = half * (kPhases / 2 - half) * 127 / (kPhases * kPhases / 16);
    return p < kPhases / 2 ? height : -height;
}

// A row that is three quarters of a wave wide; `time` counts fields, two to a picture.
void drawWave(const Plane &plane, const Wave &wave, unsigned number, bool interlaced)
{
    std::array<std::uint8_t, kPhases> levels{};
    for (int p = 0; p < kPhases; ++p)
        levels[p] = static_cast<std::uint8_t>(wave.level + wave.amplitude * swing(p) / 127);
    std::vector<std::uint8_t> phases(plane.width);
    for (int x = 0; x < plane.width; ++x)
        phases[x] = static_cast<std::uint8_t>(static_cast<std::int64_t>(x) * kPhases * 3 / 4 / plane.width);

    for (int y = 0; y < plane.height; ++y) {
        const unsigned time = 2 * number + (interlaced && y % 2 == 1 ? 1 : 0);
        const unsigned shift = unsigned(wave.phase) + unsigned(wave.slant * y / plane.height) +
                               unsigned(std::uint64_t(time) * unsigned(wave.speed) / 64);
        std::uint8_t *row = plane.bytes + std::size_t(y) * std::size_t(plane.width);
        for (int x = 0; x < plane.width; ++x)
            row[x] = levels[(phases[x] + shift) % kPhases];
    }
}

// A ball that swings across the lower half of the picture: motion that no shift of the background can predict.
void drawBall(const Plane &plane, unsigned number, bool interlaced, std::uint8_t level, int aspect)
{
    const int radius = std::max(plane.height / 12, 1); // in rows
    for (int y = plane.height / 2; y < plane.height; ++y) {
        const unsigned time = 2 * number + (interlaced && y % 2 == 1 ? 1 : 0);
        const int centreX = plane.width / 2 + plane.width * 2 / 5 * swing(static_cast<int>(time)) / 127;
        const int centreY = plane.height * 5 / 6 - plane.height / 12 * swing(static_cast<int>(time * 3)) / 127;
        const int dy = y - centreY;
        const int inside = radius * radius - dy * dy;
        if (inside <= 0)
            continue;
        int half = 0;
        while ((half + 1) * (half + 1) <= inside)
            ++half;
        // Chroma planes have fewer columns, in 4:2:0 fewer rows as well; `aspect` is columns per row in percent.
        half = half * aspect / 100;
        const int left = std::clamp(centreX - half, 0, plane.width);
        const int right = std::clamp(centreX + half, 0, plane.width);
        std::memset(plane.bytes + std::size_t(y) * std::size_t(plane.width) + left, level, right - left);
    }
}

// Removes the colour from an area of the picture: tinted black and white have no red, green and blue.
void drawGrey(const Plane &chroma, const PictureFormat &format, const PictureArea &area)
{
    const auto scaled = [](int value, int to, int from) { return (value * to + from - 1) / from; };
    const int left = area.left * chroma.width / format.width;
    const int right = scaled(area.left + area.width, chroma.width, format.width);
    for (int y = area.top * chroma.height / format.height;
         y < std::min(scaled(area.top + area.height, chroma.height, format.height), chroma.height); ++y)
        std::memset(chroma.bytes + std::size_t(y) * std::size_t(chroma.width) + left, 128, right - left);
}

} // namespace

void drawNumberedPicture(std::uint8_t *bytes, const PictureFormat &format, unsigned number, unsigned look)
{
    const Plane luma{bytes, format.width, format.height};
    const Plane cb{bytes + format.lumaSize(), format.chromaWidth(), format.chromaHeight()};
    const Plane cr{cb.bytes + format.chromaSize(), format.chromaWidth(), format.chromaHeight()};
    const int hue = static_cast<int>(look % kLooks) * kPhases / kLooks;
    const int chromaAspect = format.chroma == ChromaFormat::Yuv420 ? 100 : 50;

    // Around a colour of the look's own, so that the whole is calm to look at.
    const int blue = 128 + 22 * swing(hue) / 127;
    const int red = 128 + 22 * swing(hue + kPhases / 4) / 127;
    drawWave(luma, {100, 44, hue, 128, 64}, number, format.interlaced);
    drawWave(cb, {blue, 22, hue, 96, 32}, number, format.interlaced);
    drawWave(cr, {red, 22, hue + kPhases / 4, -64, 32}, number, format.interlaced);
    drawBall(luma, number, format.interlaced, 200, 100);
    drawBall(cb, number, format.interlaced, 70, chromaAspect);
    drawBall(cr, number, format.interlaced, 150, chromaAspect);
    drawBlockCode(luma.bytes, format.width, format.height, format.width, number);
    const PictureArea digits = drawDigits(luma.bytes, format.width, format.height, format.width, number);
    const PictureArea code{0, format.height / 12, format.width, 2 * format.height / 12 - format.height / 12};
    for (const Plane &chroma : {cb, cr}) {
        drawGrey(chroma, format, code);
        drawGrey(chroma, format, digits);
    }
}

} // namespace quorvale
