#include "tests/support/transportstream.h"

#include <QtEndian>

#include <cstdint>

namespace transportstream {

namespace {

std::uint8_t byteAt(const QByteArray &bytes, int index)
{
    return static_cast<std::uint8_t>(bytes.at(index));
}

int twelveBitsAt(const QByteArray &bytes, int index)
{
    return (byteAt(bytes, index) & 0x0F) << 8 | byteAt(bytes, index + 1);
}

int thirteenBitsAt(const QByteArray &bytes, int index)
{
    return (byteAt(bytes, index) & 0x1F) << 8 | byteAt(bytes, index + 1);
}

void setTwelveBitsAt(QByteArray &bytes, int index, int value)
{
    bytes[index] = static_cast<char>((byteAt(bytes, index) & 0xF0) | (value >> 8));
    bytes[index + 1] = static_cast<char>(value & 0xFF);
}

QByteArray sectionChecksum(const QByteArray &bytes)
{
    std::uint32_t crc = 0xFFFFFFFFU;
    for (const char byte : bytes) {
        crc ^= static_cast<std::uint32_t>(static_cast<std::uint8_t>(byte)) << 24;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x80000000U) != 0 ? (crc << 1) ^ 0x04C11DB7U : crc << 1;
    }
    QByteArray checksum(4, '\0');
    qToBigEndian(crc, checksum.data());
    return checksum;
}

// Offset of the program map section that starts in a packet; -1 if none does.
int programMapAt(const QByteArray &stream, int packet)
{
    const int start = packet * kPacketSize;
    const bool beginsUnit = (byteAt(stream, start + 1) & 0x40) != 0;
    const bool hasAdaptation = (byteAt(stream, start + 3) & 0x20) != 0;
    if (!beginsUnit)
        return -1;
    int position = start + 4;
    if (hasAdaptation)
        position += 1 + byteAt(stream, position);
    if (position + 1 + 13 > start + kPacketSize)
        return -1;
    position += 1 + byteAt(stream, position); // pointer field
    constexpr int kProgramMapTable = 2;
    const bool isSection = position + 13 < start + kPacketSize && byteAt(stream, position) == kProgramMapTable &&
                           (byteAt(stream, position + 1) & 0xF0) == 0xB0;
    return isSection ? position : -1;
}

} // namespace

int pid(const QByteArray &stream, int packet)
{
    return thirteenBitsAt(stream, packet * kPacketSize + 1);
}

int pidOfStreamType(const QByteArray &stream, int streamType)
{
    for (int packet = 0; packet < stream.size() / kPacketSize; ++packet) {
        const int section = programMapAt(stream, packet);
        if (section < 0)
            continue;
        const int end = section + 3 + twelveBitsAt(stream, section + 1) - 4;
        int entry = section + 12 + twelveBitsAt(stream, section + 10);
        while (entry + 5 <= end) {
            if (byteAt(stream, entry) == streamType)
                return thirteenBitsAt(stream, entry + 1);
            entry += 5 + twelveBitsAt(stream, entry + 3);
        }
    }
    return -1;
}

bool registerFirstStream(QByteArray &stream, const char *fourCharacters, int streamType)
{
    const QByteArray descriptor = QByteArray("\x05\x04", 2) + QByteArray(fourCharacters, 4);
    bool patched = false;
    for (int packet = 0; packet < stream.size() / kPacketSize; ++packet) {
        const int section = programMapAt(stream, packet);
        if (section < 0)
            continue;
        const int packetEnd = (packet + 1) * kPacketSize;
        const int length = twelveBitsAt(stream, section + 1);
        const int sectionEnd = section + 3 + length;
        if (sectionEnd + descriptor.size() > packetEnd)
            return false;

        QByteArray body = stream.mid(section, sectionEnd - 4 - section); // without the checksum
        const int entry = 12 + twelveBitsAt(body, 10);
        setTwelveBitsAt(body, entry + 3, twelveBitsAt(body, entry + 3) + int(descriptor.size()));
        body.insert(entry + 5, descriptor);
        body[entry] = streamType > 0 ? char(streamType) : body.at(entry);
        setTwelveBitsAt(body, 1, length + int(descriptor.size()));
        body += sectionChecksum(body);
        stream.replace(section, body.size(), body); // what was stuffing after the section gives way
        patched = true;
    }
    return patched;
}

void dropPackets(QByteArray &stream, const std::function<bool(int, int)> &drop)
{
    QByteArray kept;
    kept.reserve(stream.size());
    for (int packet = 0; packet < stream.size() / kPacketSize; ++packet) {
        if (!drop(packet, pid(stream, packet)))
            kept.append(stream.constData() + packet * kPacketSize, kPacketSize);
    }
    stream = kept;
}

QByteArray programmes(int count)
{
    QByteArray packets;
    for (int number = 1; number <= count; ++number) {
        const QByteArray section =
            QByteArray::fromHex("00B00D0001C10000") + char(number >> 8) + char(number) + "\xE1\x01";
        const QByteArray packet = QByteArray::fromHex("4740001000") + section + sectionChecksum(section);
        packets += packet.leftJustified(kPacketSize, '\xFF');
    }
    return packets;
}

} // namespace transportstream
