#include "video/ffmpeg/nalflow.h"

#include "video/ffmpeg/parametersets.h"
#include "video/ffmpeg/startcode.h"
#include "video/ffmpeg/unitcount.h"

#include <algorithm>

namespace quorvale::ffmpeg {

namespace {

constexpr int kPrefixBytes = 3; // of a start code
constexpr int kUnitBytes = 6;   // with what is looked at after it

// FFmpeg has read up to 32 KiB more than it has parsed.
constexpr std::int64_t kMostUnitsAhead = 8 * kMostUnits;
constexpr std::int64_t kMostSetBytesAhead = 4 * ParameterSets::kMostBytes;

} // namespace

void NalFlow::note(const unsigned char *bytes, int size)
{
    // Byte by byte only where a start code may have been read before, in part or without what follows it.
    const int joint = std::min(size, kUnitBytes - 1);
    for (int i = 0; i < joint; ++i) {
        m_lastBytes = m_lastBytes << 8 | bytes[i];
        if ((m_lastBytes >> 24 & 0xFFFFFF) == 1)
            noteUnit(static_cast<unsigned char>(m_lastBytes >> 16), static_cast<unsigned char>(m_lastBytes >> 8),
                     bytes[i]);
    }
    if (size < kUnitBytes)
        return;
    const unsigned char *end = bytes + size - (kUnitBytes - kPrefixBytes);
    for (const unsigned char *at = findStartCode(bytes + kPrefixBytes - 1, end); at; at = findStartCode(at + 1, end))
        noteUnit(at[1], at[2], at[3]);
    for (int i = std::max(joint, size - kUnitBytes); i < size; ++i)
        m_lastBytes = m_lastBytes << 8 | bytes[i];
}

void NalFlow::add(Count &count, bool beginsPicture, std::int64_t setBytes) const
{
    if (beginsPicture && m_end == PictureEnd::FirstSlice)
        count = {};
    ++count.units;
    count.setBytes += setBytes;
}

bool NalFlow::isTooMuch(const Count &count) const
{
    const bool isAhead = m_end == PictureEnd::Forget;
    return count.units > (isAhead ? kMostUnitsAhead : kMostUnits) ||
           count.setBytes > (isAhead ? kMostSetBytesAhead : ParameterSets::kMostBytes);
}

bool NalFlow::hasManySets() const
{
    return m_hevc.setBytes + m_vvc.setBytes > kMostSetBytesAhead;
}

// After a start code there are two bytes of a header. ITU-T H.265, 7.3.1.2 and 7.3.6.1: the type is in its second to
// seventh bit, and of a slice first_slice_segment_in_pic_flag follows. ITU-T H.266, 7.3.1.2, 7.3.2.8 and 7.3.7: the
// type is in its second byte, and of a slice sh_picture_header_in_slice_header_flag follows; or there is such a header.
void NalFlow::noteUnit(unsigned char first, unsigned char second, unsigned char payload)
{
    if ((first & 0x80) != 0 && m_end == PictureEnd::FirstSlice) // forbidden_zero_bit
        return;
    const bool isFirst = (payload & 0x80) != 0;
    const int hevcType = first >> 1;
    const bool isHevcSlice = hevcType <= 9 || (hevcType >= 16 && hevcType <= 21);
    add(m_hevc, isHevcSlice && isFirst, ParameterSets::mostBytesOf(AV_CODEC_ID_HEVC, first, second));
    m_isHevcFlooded = m_isHevcFlooded || isTooMuch(m_hevc);
    const int vvcType = second >> 3;
    const bool isVvcSlice = vvcType <= 3 || (vvcType >= 7 && vvcType <= 10);
    add(m_vvc, vvcType == 19 || (isVvcSlice && isFirst), ParameterSets::mostBytesOf(AV_CODEC_ID_VVC, first, second));
    m_isVvcFlooded = m_isVvcFlooded || isTooMuch(m_vvc);
}

} // namespace quorvale::ffmpeg
