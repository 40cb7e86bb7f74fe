#pragma once

#include <QByteArray>

#include <functional>

/// Edits MPEG transport streams of 188-byte packets.
namespace transportstream {

inline constexpr int kPacketSize = 188;

/// Packet identifier of packet number `packet` (0 to 8191).
[[nodiscard]] int pid(const QByteArray &stream, int packet);

/// Packet identifier of the first elementary stream of the type that the program map names (27 H.264, 2 MPEG-2, 36
/// HEVC, ...); -1 where there is none.
[[nodiscard]] int pidOfStreamType(const QByteArray &stream, int streamType);

/// Adds a registration descriptor with four characters to the first elementary stream of every program map, and
/// recomputes the map's checksum; the stream gets the type `streamType` if that is one. False if there was no program
/// map with room for it.
bool registerFirstStream(QByteArray &stream, const char *fourCharacters, int streamType = 0);

/// Removes the packets for which `drop` (packet number, identifier) is true.
void dropPackets(QByteArray &stream, const std::function<bool(int, int)> &drop);

/// Packets that name `count` programmes; nothing more of them is there.
[[nodiscard]] QByteArray programmes(int count);

} // namespace transportstream
