#include "tests/support/hugestreams.h"

#include "tests/support/bitwriter.h"

#include <QtEndian>

namespace hugestreams {

namespace {

QByteArray pngChunk(const char *type, const QByteArray &content)
{
    const QByteArray body = QByteArray(type) + content;
    quint32 crc = 0xFFFFFFFFU;
    for (const char byte : body) {
        crc ^= quint8(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) != 0 ? (crc >> 1) ^ 0xEDB88320U : crc >> 1;
    }
    QByteArray chunk(4, '\0');
    qToBigEndian(quint32(content.size()), chunk.data());
    chunk += body;
    chunk.append(4, '\0');
    qToBigEndian(~crc, chunk.data() + chunk.size() - 4);
    return chunk;
}

} // namespace

QByteArray h264(int width, int height, int pictures)
{
    // Baseline profile, level 6.2, four reference pictures, pictures in display order, progressive, not cropped.
    BitWriter sequence;
    sequence.u(66, 8).u(0, 8).u(62, 8).ue(0).ue(0).ue(2).ue(4).u(0, 1);
    sequence.ue(unsigned(width / 16 - 1)).ue(unsigned(height / 16 - 1)).u(1, 1).u(1, 1).u(0, 1).u(0, 1);
    // Variable lengths instead of arithmetic coding, no weights.
    BitWriter picture;
    picture.ue(0).ue(0).u(0, 1).u(0, 1).ue(0).ue(0).ue(0).u(0, 3).ue(0).ue(0).ue(0).u(0, 3);
    QByteArray stream;
    for (int number = 0; number < pictures; ++number) {
        // Intra, from the first block on, of the sets above, frame number 0; references are kept.
        BitWriter slice;
        slice.ue(0).ue(7).ue(0).u(0, 4).ue(unsigned(number % 2)).u(0, 2).ue(0).bytes(QByteArray(600, '\x5A'));
        stream += sequence.nalUnit("\x67") + picture.nalUnit("\x68") + slice.nalUnit("\x65");
    }
    return stream;
}

QByteArray png(int width, int height)
{
    QByteArray header(8, '\0');
    qToBigEndian(quint32(width), header.data());
    qToBigEndian(quint32(height), header.data() + 4);
    header += QByteArray("\x08\x02\0\0\0", 5); // eight bits each of red, green and blue
    return QByteArray("\x89PNG\r\n\x1A\n") + pngChunk("IHDR", header) +
           pngChunk("IDAT", QByteArray("\x78\x9C\x01\x00\x00\xFF\xFF", 7)) + pngChunk("IEND", {});
}

bool widenMpeg2(QByteArray &stream, int steps)
{
    bool found = false;
    for (int at = 0; at + 9 < stream.size(); ++at) {
        // 00 00 01 B5 | 4 bits: 1 | profile 8 | progressive 1 | chroma 2 | high bits of width 2, of height 2 | ...
        if (stream.mid(at, 4) != QByteArray("\0\0\1\xB5", 4) || (quint8(stream.at(at + 4)) & 0xF0) != 0x10)
            continue;
        stream[at + 5] = char((quint8(stream.at(at + 5)) & 0xFE) | steps >> 1);
        stream[at + 6] = char((quint8(stream.at(at + 6)) & 0x1F) | (steps & 1) << 7 | steps << 5);
        found = true;
    }
    return found;
}

} // namespace hugestreams
