#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quorvale {

/// One access unit of a stream, or a frame's two fields, where only the first has a time of its own.
struct TimedUnit
{
    std::vector<std::uint8_t> bytes{};
    std::int64_t pts = 0; ///< in 1/90000 s
    std::int64_t dts = 0;
    bool isDamaged = false; ///< transport packets of it are missing or marked
};

enum class UnitCoding { Mpeg2, H264, Hevc };

struct TimedStream
{
    UnitCoding coding{};
    std::vector<TimedUnit> units{};
};

/// The video of a transport stream. Throws std::runtime_error.
[[nodiscard]] TimedStream readVideo(const std::string &path);

/// Writes a transport stream of nothing but the units that `next` fills in, until it returns false; times must rise.
/// Throws std::runtime_error.
void writeVideo(const std::string &path, UnitCoding coding, const std::function<bool(TimedUnit &)> &next);

} // namespace quorvale
