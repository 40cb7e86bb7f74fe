#pragma once

#include "tests/support/teststreams.h"
#include "tests/support/transportmutant.h"

#include <cstdint>
#include <vector>

/// The number in the environment variable `name`, or `otherwise`.
[[nodiscard]] int numberFromEnvironment(const char *name, int otherwise);

/// Damaged recordings of a few streams, numbered: kind of damage and stream follow from the seed, so that one mutant
/// can be made again by itself.
class MutantSet
{
public:
    struct Mutant
    {
        transportmutant::Kind kind;
        int base;     ///< index of the stream
        QString path; ///< the next mutant of the folder replaces it
    };

    /// Makes `stream` in `folder`, with one thread, and adds it. False if that fails.
    [[nodiscard]] bool add(const QString &folder, TestStream stream);
    [[nodiscard]] const std::vector<transportmutant::Bytes> &bases() const { return m_bases; }
    /// What results of these mutants hold for: the version of the decoders, and a checksum of the streams, whose bytes
    /// depend on the versions of the encoders.
    [[nodiscard]] QByteArray made() const;
    /// Writes mutant number `seed` to `folder`.
    [[nodiscard]] Mutant write(const QString &folder, std::uint64_t seed) const;

private:
    std::vector<transportmutant::Bytes> m_bases;
};
