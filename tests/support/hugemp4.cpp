#include "tests/support/hugemp4.h"

#include <QtEndian>

namespace {

QByteArray number(quint32 value)
{
    const quint32 bytes = qToBigEndian(value);
    return QByteArray(reinterpret_cast<const char *>(&bytes), 4);
}

QByteArray box(const char *type, const QByteArray &content)
{
    return number(quint32(content.size()) + 8) + type + content;
}

// With version and flags.
QByteArray fullBox(const char *type, const QByteArray &content)
{
    return box(type, number(0) + content);
}

const QByteArray kZeros(80, '\0');

QByteArray sampleEntry(const HugeMp4 &file, const QByteArray &inside)
{
    const QByteArray begin = kZeros.left(6) + QByteArray("\0\1", 2);
    const QByteArray sound = kZeros.left(8) + QByteArray("\0\1\0\x10\0\0\0\0", 8) + number(8000U << 16);
    const QByteArray picture = kZeros.left(16) + QByteArray("\0\x40\0\x30", 4) + kZeros.left(50); // 64x48
    return box(file.isSound ? "sowt" : "avc1", begin + (file.isSound ? sound : picture) + inside);
}

QByteArray track(const HugeMp4 &file, int id)
{
    const QByteArray sizes = fullBox("stsz", number(1) + number(file.samples));
    const quint32 chunks = file.isSound ? 2000 : 1;
    const QByteArray table =
        fullBox("stsd", number(1) + sampleEntry(file, file.isHidden ? sizes : QByteArray())) +
        fullBox("stts", number(1) + number(file.samples) + number(1)) +
        fullBox("stsc", number(1) + number(1) + number(file.isSound ? file.samplesAChunk : file.samples) + number(1)) +
        (file.isHidden ? QByteArray() : sizes) + fullBox("stco", number(chunks) + QByteArray(int(chunks) * 4, '\0'));
    const QByteArray media = fullBox("mdhd", number(0) + number(0) + number(1000) + number(file.samples) + number(0)) +
                             fullBox("hdlr", number(0) + (file.isSound ? "soun" : "vide") + kZeros.left(13)) +
                             box("minf", box("stbl", table));
    const QByteArray edit = number(file.samples) + number(0) + number(1 << 16);
    const QByteArray edits = box("edts", fullBox("elst", number(quint32(file.edits)) + edit.repeated(file.edits)));
    return box("trak", fullBox("tkhd", number(0) + number(0) + number(quint32(id)) + kZeros.left(72)) +
                           (file.edits > 0 ? edits : QByteArray()) + box("mdia", media) +
                           (file.isNested ? box("trak", {}) : QByteArray()));
}

QByteArray header(const HugeMp4 &file)
{
    QByteArray movie = fullBox("mvhd", number(0) + number(0) + number(1000) + number(1000) + kZeros);
    for (int id = 1; id <= file.tracks; ++id)
        movie += track(file, id);
    if (file.fragments > 0)
        movie += box("mvex", fullBox("trex", number(1) + number(1) + number(1) + number(1) + number(0)));
    const QByteArray plain = box("moov", movie);
    if (!file.isCompressed)
        return plain;
    // qCompress() begins with the size of what it compressed, as cmvd does.
    return box("moov", box("cmov", box("dcom", "zlib") + box("cmvd", qCompress(plain))));
}

} // namespace

QByteArray HugeMp4::bytes() const
{
    const QByteArray fragment =
        box("moof", fullBox("mfhd", number(1)) +
                        box("traf", fullBox("tfhd", number(1)) + fullBox("trun", number(samplesInFragment))));
    const QByteArray all = fragment.repeated(fragments);
    const QByteArray segment = number(quint32(all.size())) + number(1000) + number(0x90000000U);
    const QByteArray index = number(1) + number(1000) + number(0) + number(8) + number(1) + segment;
    return box("ftyp", "isom" + number(0) + "isom") + box("wide", {}).repeated(boxesBefore) + header(*this) +
           (areFragmentsHidden ? fullBox("sidx", index) + box("mdat", all) : all);
}
