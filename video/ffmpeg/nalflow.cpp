#include "video/ffmpeg/nalflow.h"

#include "video/ffmpeg/parametersets.h"
#include "video/ffmpeg/startcode.h"

#include <algorithm>

namespace quorvale::ffmpeg {

namespace {

constexpr int kPrefixBytes = 3; // of a start code
constexpr int kUnitBytes = 7;   // with what is looked at after it
constexpr int kHevcVpsType = 32;
constexpr int kHevcPpsType = 34;

void beginPicture(NalFlow::Count &count)
{
    count.units = 0;
    count.setBytes = 0;
    count.sets.reset();
}

void add(NalFlow::Count &count, std::int64_t setBytes)
{
    count.mostUnits = std::max(count.mostUnits, ++count.units);
    count.mostSetBytes = std::max(count.mostSetBytes, count.setBytes += setBytes);
}

// ITU-T H.265, 7.3.2.1 and 7.3.2.3.1: a VPS begins with its identifier, in four bits, and a PPS with its own, as ue(v).
// FFmpeg keeps one set of each. That of an SPS is farther in.
std::int64_t newHevcSetBytes(NalFlow::Count &count, const unsigned char *unit)
{
    const std::int64_t bytes = ParameterSets::mostBytesOf(AV_CODEC_ID_HEVC, unit[0], unit[1]);
    const int type = unit[0] >> 1;
    if (bytes == 0 || (type != kHevcVpsType && type != kHevcPpsType))
        return bytes;
    std::size_t set = unit[2] >> 4;
    if (type == kHevcPpsType) {
        const unsigned bits = static_cast<unsigned>(unit[2] << 8 | unit[3]);
        int zeros = 0;
        while (zeros < 7 && (bits >> (15 - zeros) & 1) == 0)
            ++zeros;
        if (zeros == 7) // FFmpeg keeps none with such an identifier.
            return 0;
        set = 16 + (bits >> (15 - 2 * zeros)) - 1;
    }
    const bool isKept = count.sets.test(set);
    count.sets.set(set);
    return isKept ? 0 : bytes;
}

} // namespace

void NalFlow::note(const unsigned char *bytes, int size)
{
    // Byte by byte only where a start code may have been read before, in part or without what follows it.
    const int joint = std::min(size, kUnitBytes - 1);
    for (int i = 0; i < joint; ++i) {
        m_lastBytes = m_lastBytes << 8 | bytes[i];
        if ((m_lastBytes >> 32 & 0xFFFFFF) != 1)
            continue;
        const unsigned char unit[] = {
            static_cast<unsigned char>(m_lastBytes >> 24), static_cast<unsigned char>(m_lastBytes >> 16),
            static_cast<unsigned char>(m_lastBytes >> 8), static_cast<unsigned char>(m_lastBytes)};
        noteUnit(unit);
    }
    if (size < kUnitBytes)
        return;
    const unsigned char *end = bytes + size - (kUnitBytes - kPrefixBytes);
    for (const unsigned char *at = findStartCode(bytes + kPrefixBytes - 1, end); at; at = findStartCode(at + 1, end))
        noteUnit(at + 1);
    for (int i = std::max(joint, size - kUnitBytes); i < size; ++i)
        m_lastBytes = m_lastBytes << 8 | bytes[i];
}

void NalFlow::forget()
{
    beginPicture(m_hevc);
    beginPicture(m_vvc);
}

// After a start code there are two bytes of a header, with the layer in its sixth bit or later. ITU-T H.265, 7.3.1.2
// and 7.3.6.1: the type is in its second to seventh bit, and of a slice first_slice_segment_in_pic_flag follows. ITU-T
// H.266, 7.3.1.2, 7.3.2.8 and 7.3.7: the type is in its second byte, and of a slice
// sh_picture_header_in_slice_header_flag follows; or there is such a header.
void NalFlow::noteUnit(const unsigned char *unit)
{
    const bool beginsPictures = m_end == PictureEnd::FirstSlice;
    if ((unit[0] & 0x80) != 0 && beginsPictures) // forbidden_zero_bit
        return;
    const bool isFirst = (unit[2] & 0x80) != 0;
    const int hevcType = unit[0] >> 1;
    const bool isHevcSlice = hevcType <= 9 || (hevcType >= 16 && hevcType <= 21);
    const bool isOfBaseLayer = (unit[0] & 1) == 0 && unit[1] < 8;
    if (beginsPictures && isHevcSlice && isFirst && isOfBaseLayer)
        beginPicture(m_hevc);
    add(m_hevc, newHevcSetBytes(m_hevc, unit));
    const int vvcType = unit[1] >> 3;
    const bool isVvcSlice = vvcType <= 3 || (vvcType >= 7 && vvcType <= 10);
    if (beginsPictures && (unit[0] & 0x3F) == 0 && (vvcType == 19 || (isVvcSlice && isFirst)))
        beginPicture(m_vvc);
    add(m_vvc, ParameterSets::mostBytesOf(AV_CODEC_ID_VVC, unit[0], unit[1]));
}

} // namespace quorvale::ffmpeg
