#pragma once

#include "video/bitstream/bytestream.h"
#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/pointers.h"

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <vector>

// What stands between the start codes of an H.262, H.264 or H.265 packet, to be taken apart and put together again.

using NalUnits = std::vector<QByteArray>; // of one packet, each with its start code

[[nodiscard]] inline NalUnits nalUnitsOf(const AVPacket &packet)
{
    NalUnits units;
    quorvale::ByteStream stream(packet.data, packet.size);
    quorvale::Bytes found;
    while (stream.next(found)) {
        const auto *bytes = reinterpret_cast<const char *>(found.data);
        units.push_back(QByteArray("\0\0\1", 3) + QByteArray(bytes, int(found.size)));
    }
    return units;
}

[[nodiscard]] inline QByteArray bytesOf(const NalUnits &units)
{
    QByteArray bytes;
    for (const QByteArray &unit : units)
        bytes += unit;
    return bytes;
}

/// nal_unit_type, or the start code value of H.262. `codec`: "mpeg2", "h264" or "hevc".
[[nodiscard]] inline int nalUnitType(const QByteArray &unit, const QString &codec)
{
    const int byte = static_cast<unsigned char>(unit[3]);
    return codec == "h264" ? byte & 31 : codec == "hevc" ? byte >> 1 & 63 : byte;
}

[[nodiscard]] inline bool isSlice(const QByteArray &unit, const QString &codec)
{
    const int type = nalUnitType(unit, codec);
    return codec == "h264" ? type == 1 || type == 5 : codec == "hevc" ? type < 32 : type >= 1 && type <= 0xAF;
}

/// The first unit of that type, or the end.
[[nodiscard]] inline NalUnits::iterator findType(NalUnits &units, const QString &codec, int type)
{
    return std::find_if(units.begin(), units.end(),
                        [&](const QByteArray &unit) { return nalUnitType(unit, codec) == type; });
}

/// The first slice, or the end.
[[nodiscard]] inline NalUnits::iterator findSlice(NalUnits &units, const QString &codec)
{
    return std::find_if(units.begin(), units.end(), [&](const QByteArray &unit) { return isSlice(unit, codec); });
}
