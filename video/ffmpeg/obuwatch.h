#pragma once

#include <cstdint>

namespace quorvale::ffmpeg {

/// Looks for pictures of too many OBUs in a file of AV1 alone: in frames (IVF), or as it is. FFmpeg's parser keeps
/// 3 KiB for each, before anyone sees a packet; so what is read is searched.
class ObuWatch
{
public:
    explicit ObuWatch(bool isIvf);

    /// Looks at `size` bytes that were read at `position`, which is the beginning of a picture if nothing before it was
    /// read last. False if they bring one OBU too many, and from then on.
    [[nodiscard]] bool allows(std::int64_t position, const unsigned char *bytes, int size);

    /// Whether that was so.
    [[nodiscard]] bool isFlooded() const { return m_isFlooded; }

private:
    enum class Part { Header, Extension, Size, Payload };

    void noteFrameHeader(unsigned char byte);
    void noteByte(unsigned char byte);
    void noteObu(unsigned char header);
    void endSize();

    const bool m_isIvf;
    std::int64_t m_next = -1;      ///< after what was read last
    int m_headerBytes = 0;         ///< that are left of the file's header, or the frame's
    std::uint32_t m_frameSize = 0; ///< its last four bytes were read so far
    std::int64_t m_frameBytes = 0; ///< that are left of the frame
    Part m_part = Part::Header;    ///< of the OBU, that comes next
    bool m_hasSize = false;
    int m_sizeBits = 0; ///< that were read
    std::int64_t m_obuBytes = 0;
    int m_units = 0; ///< since the picture began
    bool m_hasPicture = false;
    bool m_isFlooded = false;
};

} // namespace quorvale::ffmpeg
