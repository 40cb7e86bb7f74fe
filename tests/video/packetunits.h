#pragma once

#include "video/bitstream/startcodes.h"
#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/pointers.h"

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

// The units between the start codes of an MPEG-2, H.264 or HEVC packet, to be taken apart and put together again.

using Units = std::vector<QByteArray>; // of one packet, each with its start code

[[nodiscard]] inline Units unitsOf(const AVPacket &packet)
{
    Units units;
    StartCodes codes(packet.data, packet.size);
    Bytes found;
    while (codes.next(found)) {
        const auto *bytes = reinterpret_cast<const char *>(found.data);
        units.push_back(QByteArray("\0\0\1", 3) + QByteArray(bytes, int(found.size)));
    }
    return units;
}

[[nodiscard]] inline QByteArray bytesOf(const Units &units)
{
    QByteArray bytes;
    for (const QByteArray &unit : units)
        bytes += unit;
    return bytes;
}

/// A packet of these units, with the times of another one.
[[nodiscard]] inline quorvale::ffmpeg::PacketPtr packetOf(const AVPacket &like, const Units &units)
{
    const QByteArray bytes = bytesOf(units);
    quorvale::ffmpeg::PacketPtr packet = quorvale::ffmpeg::makePacket();
    if (av_new_packet(packet.get(), int(bytes.size())) < 0)
        throw std::bad_alloc();
    std::memcpy(packet->data, bytes.constData(), std::size_t(bytes.size()));
    packet->pts = like.pts;
    packet->dts = like.dts;
    return packet;
}

/// The kind that the first byte behind the start code tells. `codec`: "mpeg2", "h264" or "hevc".
[[nodiscard]] inline int kindOf(const QByteArray &unit, const QString &codec)
{
    const int byte = static_cast<unsigned char>(unit[3]);
    return codec == "h264" ? byte & 31 : codec == "hevc" ? byte >> 1 & 63 : byte;
}

[[nodiscard]] inline bool isSlice(const QByteArray &unit, const QString &codec)
{
    const int kind = kindOf(unit, codec);
    return codec == "h264" ? kind == 1 || kind == 5 : codec == "hevc" ? kind < 32 : kind >= 1 && kind <= 0xAF;
}

/// The first unit of that kind, or the end.
[[nodiscard]] inline Units::iterator findKind(Units &units, const QString &codec, int kind)
{
    return std::find_if(units.begin(), units.end(),
                        [&](const QByteArray &unit) { return kindOf(unit, codec) == kind; });
}

/// The first slice, or the end.
[[nodiscard]] inline Units::iterator findSlice(Units &units, const QString &codec)
{
    return std::find_if(units.begin(), units.end(), [&](const QByteArray &unit) { return isSlice(unit, codec); });
}
