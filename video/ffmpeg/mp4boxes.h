#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

namespace quorvale::ffmpeg {

/// ISO/IEC 14496-12, 4.2: the four letters of a box as a number.
constexpr std::uint32_t boxType(const char (&name)[5])
{
    std::uint32_t type = 0;
    for (int i = 0; i < 4; ++i)
        type = type << 8 | static_cast<unsigned char>(name[i]);
    return type;
}

/// The boxes that FFmpeg enters besides those that mp4tables.cpp does. It takes any box anywhere.
inline constexpr std::array kDescribing = {
    boxType("stsd"), boxType("udta"), boxType("meta"), boxType("ilst"), boxType("dinf"), boxType("tref"),
    boxType("gmhd"), boxType("wave"), boxType("mvex"), boxType("sinf"), boxType("schi"), boxType("iprp"),
    boxType("ipco"), boxType("jp2h"), boxType("strk"), boxType("strd"), boxType("hinf")};
/// The formats of sound whose samples stand there as they are.
inline constexpr std::array kUncoded = {boxType("sowt"), boxType("twos"), boxType("raw "), boxType("NONE"),
                                        boxType("lpcm"), boxType("in24"), boxType("in32"), boxType("fl32"),
                                        boxType("fl64"), boxType("ipcm"), boxType("fpcm"), boxType("ulaw"),
                                        boxType("alaw")};
/// Boxes that would count against the bound, and must not be inside kDescribing.
inline constexpr std::array kCounting = {
    boxType("moov"), boxType("cmov"), boxType("trak"), boxType("stbl"), boxType("stsz"), boxType("stz2"),
    boxType("stsc"), boxType("stts"), boxType("ctts"), boxType("stco"), boxType("co64"), boxType("elst"),
    boxType("moof"), boxType("traf"), boxType("trun"), boxType("sidx"), boxType("tfra")};

template <typename Types>
[[nodiscard]] bool contains(const Types &types, std::uint32_t type)
{
    return std::find(types.begin(), types.end(), type) != types.end();
}

} // namespace quorvale::ffmpeg
