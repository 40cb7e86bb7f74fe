#include "tests/support/mutantset.h"

#include <QtGlobal>

using transportmutant::Bytes;

int numberFromEnvironment(const char *name, int otherwise)
{
    bool ok = false;
    const int number = qEnvironmentVariableIntValue(name, &ok);
    return ok ? number : otherwise;
}

bool MutantSet::add(const QString &folder, const TestStream &stream)
{
    const QByteArray bytes = readFile(makeStream(folder, stream));
    m_bases.emplace_back(bytes.begin(), bytes.end());
    return bytes.size() > 10000;
}

MutantSet::Mutant MutantSet::write(const QString &folder, std::uint64_t seed) const
{
    constexpr std::size_t kKinds = transportmutant::kAllKinds.size();
    const transportmutant::Kind kind = transportmutant::kAllKinds.at(seed % kKinds);
    const std::size_t base = seed / kKinds % m_bases.size();
    const Bytes bytes = transportmutant::mutate(m_bases[base], kind, seed, m_bases[(base + 1) % m_bases.size()]);
    const QString path = writeFile(
        folder, "mutant.ts", QByteArray::fromRawData(reinterpret_cast<const char *>(bytes.data()), int(bytes.size())));
    return {kind, int(base), path};
}
