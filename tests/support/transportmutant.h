#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Makes damaged transport streams from whole ones of 188-byte packets. Any bytes, also none, can be damaged; the same
/// arguments give the same bytes on every machine.
namespace transportmutant {

using Bytes = std::vector<std::uint8_t>;

inline constexpr std::size_t kPacketSize = 188;

/// Kinds of damage. Those that hit places hit one to 32 of them.
enum class Kind {
    BitsFlipped,           ///< single bits anywhere
    PacketHeadersDamaged,  ///< bits of the four bytes that say what a packet is: synchronisation, identifier, counter
    PictureHeadersDamaged, ///< bytes after start codes: sequences, parameter sets, pictures, slices
    BytesBurst,            ///< runs of up to 600 bytes replaced by noise
    PacketDropped,
    PacketsDropped, ///< 16 in a row
    PacketDoubled,
    PacketsSwapped,
    SegmentSplicedIn,      ///< up to 400 packets of another stream, in between or instead of this one's
    SegmentMoved,          ///< up to 400 packets, to elsewhere
    SegmentRepeated,       ///< up to 400 packets, up to eight times
    TruncatedBetweenUnits, ///< ends before a packet that begins a unit: a picture, a piece of sound, a table
    TruncatedInUnit,       ///< ends between two packets of the same unit
    TruncatedInPacket,
    Emptied,           ///< no byte is left
    ZeroedRun,         ///< a run of up to 64 KiB holds zeros
    ErrorsMarked,      ///< packets carry the transport's error indicator
    TimeStampsChanged, ///< presentation and decode timestamps: noise, or far too early or late
};

inline constexpr std::array<Kind, 18> kAllKinds = {
    Kind::BitsFlipped,     Kind::PacketHeadersDamaged, Kind::PictureHeadersDamaged,
    Kind::BytesBurst,      Kind::PacketDropped,        Kind::PacketsDropped,
    Kind::PacketDoubled,   Kind::PacketsSwapped,       Kind::SegmentSplicedIn,
    Kind::SegmentMoved,    Kind::SegmentRepeated,      Kind::TruncatedBetweenUnits,
    Kind::TruncatedInUnit, Kind::TruncatedInPacket,    Kind::Emptied,
    Kind::ZeroedRun,       Kind::ErrorsMarked,         Kind::TimeStampsChanged};

/// Name of a kind, for a test's rows.
[[nodiscard]] const char *nameOf(Kind kind);

/// `base` with damage of `kind` at places that `seed` chooses. `other` is where spliced segments come from; without
/// one they come from `base`. Unchanged if `base` has nothing that this kind can damage.
[[nodiscard]] Bytes mutate(Bytes base, Kind kind, std::uint64_t seed, const Bytes &other = {});

} // namespace transportmutant
