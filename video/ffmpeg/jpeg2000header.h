#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace quorvale::ffmpeg {

/// What the markers of a JPEG 2000 picture say about its parts (ITU-T T.800, Annex A).
struct Jpeg2000Header
{
    static constexpr std::size_t kMostLevels = 32;

    /// COD and COC (A.6.1, A.6.2): how a component is divided.
    struct Style
    {
        std::size_t levels = 0; ///< of decomposition
        int log2BlockWidth = 0;
        int log2BlockHeight = 0;
        std::array<int, kMostLevels + 1> log2PrecinctWidths{}; ///< of each resolution, the smallest first
        std::array<int, kMostLevels + 1> log2PrecinctHeights{};
    };

    /// SIZ (A.5.1)
    struct Component
    {
        std::int64_t dx = 1; ///< XRsiz: of as many columns it has one
        std::int64_t dy = 1;
        Style style;
    };

    /// On the reference grid; the ends are not part of it.
    struct Area
    {
        std::int64_t left = 0;
        std::int64_t top = 0;
        std::int64_t right = 0;
        std::int64_t bottom = 0;
    };

    Area picture;
    Area firstTile;
    std::vector<Component> components; ///< four at most
    std::int64_t layers = 1;
};

/// Reads the markers of a whole picture, which may be in a JP2 file's boxes. Nullopt if there is none, if FFmpeg's
/// decoder would refuse it, and if single tiles have a COD or COC of their own, as no video has.
[[nodiscard]] std::optional<Jpeg2000Header> readJpeg2000Header(const std::uint8_t *data, std::size_t size);

} // namespace quorvale::ffmpeg
