#include "video/ffmpeg/obuwatch.h"

#include "video/ffmpeg/unitcount.h"

namespace quorvale::ffmpeg {

namespace {

constexpr int kFileHeaderBytes = 32;
constexpr int kFrameHeaderBytes = 12;
constexpr int kMostSizeBits = 56;

// AV1 Bitstream & Decoding Process Specification, 6.2.2
enum ObuType { TemporalDelimiter = 2, FrameHeader = 3, Frame = 6 };

} // namespace

ObuWatch::ObuWatch(bool isIvf)
    : m_isIvf(isIvf)
{
}

bool ObuWatch::allows(std::int64_t position, const unsigned char *bytes, int size)
{
    if (position != m_next) {
        m_headerBytes = m_isIvf ? kFrameHeaderBytes + (position == 0 ? kFileHeaderBytes : 0) : 0;
        m_frameBytes = m_isIvf ? 0 : INT64_MAX;
        m_part = Part::Header;
        m_units = 0;
    }
    m_next = position + size;
    for (int i = 0; i < size && !m_isFlooded; ++i) {
        if (m_frameBytes == 0)
            noteFrameHeader(bytes[i]);
        else
            noteByte(bytes[i]);
        m_isFlooded = m_units > kMostUnits;
    }
    return !m_isFlooded;
}

// Its first four bytes are the frame's size, the others a timestamp.
void ObuWatch::noteFrameHeader(unsigned char byte)
{
    --m_headerBytes;
    if (m_headerBytes >= kFrameHeaderBytes - 4 && m_headerBytes < kFrameHeaderBytes)
        m_frameSize = m_frameSize >> 8 | std::uint32_t{byte} << 24;
    if (m_headerBytes > 0)
        return;
    m_headerBytes = kFrameHeaderBytes;
    m_frameBytes = m_frameSize;
    m_part = Part::Header;
    m_units = 0;
}

// 5.3: a header, an extension of it, a size in leb128(), and the payload. Without a size it ends with the frame.
void ObuWatch::noteByte(unsigned char byte)
{
    --m_frameBytes;
    switch (m_part) {
    case Part::Header:
        noteObu(byte);
        break;
    case Part::Extension:
        m_part = Part::Size;
        break;
    case Part::Size:
        m_obuBytes |= std::int64_t{byte & 0x7F} << m_sizeBits;
        m_sizeBits += 7;
        if ((byte & 0x80) == 0 || m_sizeBits >= kMostSizeBits)
            endSize();
        return;
    case Part::Payload:
        if (--m_obuBytes == 0)
            m_part = Part::Header;
        return;
    }
    if (m_part == Part::Size && !m_hasSize) {
        m_obuBytes = m_frameBytes;
        endSize();
    }
}

void ObuWatch::noteObu(unsigned char header)
{
    const int type = header >> 3 & 0xF;
    if (type == TemporalDelimiter && m_hasPicture) {
        m_units = 0;
        m_hasPicture = false;
    }
    m_hasPicture = m_hasPicture || type == FrameHeader || type == Frame;
    ++m_units;
    m_hasSize = (header & 2) != 0;
    m_part = (header & 4) != 0 ? Part::Extension : Part::Size;
    m_obuBytes = 0;
    m_sizeBits = 0;
}

void ObuWatch::endSize()
{
    m_part = m_obuBytes > 0 ? Part::Payload : Part::Header;
}

} // namespace quorvale::ffmpeg
