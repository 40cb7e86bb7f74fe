#include "tests/support/mutantset.h"

#include "video/ffmpeg/compat.h"

#include <QCryptographicHash>
#include <QtGlobal>

using transportmutant::Bytes;

int numberFromEnvironment(const char *name, int otherwise)
{
    bool ok = false;
    const int number = qEnvironmentVariableIntValue(name, &ok);
    return ok ? number : otherwise;
}

// An encoder's bytes depend on how many threads it has, and x265 writes the processor's kind into them.
bool MutantSet::add(const QString &folder, TestStream stream)
{
    stream.encoder << QStringList{"-threads", "1"};
    const int x265 = int(stream.encoder.indexOf("-x265-params")) + 1;
    if (x265 > 0)
        stream.encoder[x265] += ":pools=none:frame-threads=1:info=0";
    const QByteArray bytes = readFile(makeStream(folder, stream));
    m_bases.emplace_back(bytes.begin(), bytes.end());
    return bytes.size() > 10000;
}

QByteArray MutantSet::made() const
{
    QCryptographicHash hash(QCryptographicHash::Md5);
    for (const Bytes &base : m_bases)
        hash.addData(QByteArray(reinterpret_cast<const char *>(base.data()), int(base.size())));
    const unsigned version = avcodec_version();
    return QByteArray::number(version >> 16) + '.' + QByteArray::number(version >> 8 & 0xFF) + ' ' +
           hash.result().toHex().left(8);
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
