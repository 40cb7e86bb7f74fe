#include "tests/support/hugeclaims.h"

#include <QtEndian>

namespace {

template <typename Number>
QByteArray big(Number number)
{
    QByteArray bytes(sizeof(Number), '\0');
    qToBigEndian(number, bytes.data());
    return bytes;
}

QByteArray little(quint32 number)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian(number, bytes.data());
    return bytes;
}

// ITU-T T.800, A.3: a marker and its parameters
QByteArray segment(quint16 marker, const QByteArray &parameters)
{
    return big(marker) + big(static_cast<quint16>(parameters.size() + 2)) + parameters;
}

QByteArray chunk(const char *type, const QByteArray &content)
{
    return type + little(static_cast<quint32>(content.size())) + content + QByteArray(content.size() % 2, '\0');
}

} // namespace

QByteArray matroskaElement(const char *id, const QByteArray &content)
{
    return QByteArray::fromHex(id) + big((quint64{1} << 56) + static_cast<quint64>(content.size())) + content;
}

QByteArray hugeMatroska(const char *id, const char *entryId, int entries, const QByteArray &before)
{
    const QByteArray list = matroskaElement(id, (QByteArray::fromHex(entryId) + '\x80').repeated(entries));
    const QByteArray cluster = matroskaElement("1F43B675", matroskaElement("E7", QByteArray(1, '\0')));
    return matroskaElement("1A45DFA3", matroskaElement("4282", "matroska")) +
           matroskaElement("18538067", before + list + cluster);
}

QByteArray HugeJpeg2000::bytes() const
{
    QByteArray siz = big(quint16{0}) + big(width) + big(height) + QByteArray(8, '\0') + big(tileWidth) +
                     big(tileHeight) + QByteArray(8, '\0') + big(components);
    for (int i = 0; i < components; ++i)
        siz += QByteArray("\7\1\1", 3);
    const QByteArray cod = QByteArray("\1\0", 2) + big(layers) + '\0' + static_cast<char>(levels) +
                           QByteArray("\0\0\0\1", 4) + static_cast<char>(lowest) +
                           QByteArray(levels, static_cast<char>(precincts));
    const QByteArray qcd = '\x40' + QByteArray(3 * levels + 1, '\x40');
    const QByteArray tile =
        (isInTileToo ? segment(0xFF52, cod) : QByteArray()) + QByteArray::fromHex("FF93") + QByteArray(400, '\x80');
    const QByteArray tilePart = big(quint16{0}) + big(static_cast<quint32>(12 + tile.size())) + '\0' + '\1';
    return QByteArray::fromHex("FF4F") + segment(0xFF51, siz) + segment(0xFF52, cod) + segment(0xFF5C, qcd) +
           segment(0xFF90, tilePart) + tile + QByteArray::fromHex("FFD9");
}

QByteArray HugeJpeg2000::avi() const
{
    QByteArray avih(56, '\0');
    avih[24] = 1; // streams
    const QByteArray strh = QByteArray("vidsMJ2C") + QByteArray(12, '\0') + little(1) + little(25) + little(0) +
                            little(3) + QByteArray(20, '\0');
    const QByteArray strf = little(40) + little(width) + little(height) + QByteArray("\1\0\x18\0MJ2C", 8) +
                            QByteArray(20 + headerBytes, '\0');
    const QByteArray header =
        "hdrl" + chunk("avih", avih) + chunk("LIST", "strl" + chunk("strh", strh) + chunk("strf", strf));
    return chunk("RIFF", "AVI " + chunk("LIST", header) + chunk("LIST", "movi" + chunk("00dc", bytes()).repeated(3)));
}
