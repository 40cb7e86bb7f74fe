#pragma once

#include <filesystem>
#include <vector>

namespace quorvale {

/// Bytes of one packet of a transport stream.
constexpr int kPacketSize = 188;

/// Cuts the stream `path` into as many consecutive pieces of nearly the same size as there are names in `pieces`, each
/// a whole number of packets long; the last one takes what is left. `path` itself stays as it is.
/// Throws std::runtime_error when a file cannot be read or written.
void cutIntoPieces(const std::filesystem::path &path, const std::vector<std::filesystem::path> &pieces);

/// Damages the second half of the stream `path` as weak reception and a full disk do: wrong bytes, lost packets, a gap,
/// an end in the middle of a packet. The first 45 percent stay whole. The same stream is damaged in the same way every
/// time. Throws std::runtime_error when the file cannot be read or written.
void damageStream(const std::filesystem::path &path);

} // namespace quorvale
