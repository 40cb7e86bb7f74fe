#pragma once

#include <cstdint>
#include <vector>

struct AVFormatContext;

namespace quorvale::ffmpeg {

/// Looks for pictures of too many NAL units in the streams of HEVC of `input`, a transport or program stream, or a raw
/// one. FFmpeg's parser keeps 4 KiB for each, before anyone sees a packet; so what is read is searched.
class HevcWatch
{
public:
    explicit HevcWatch(const AVFormatContext &input);

    /// Whether there is anything to search.
    [[nodiscard]] bool hasStreams() const;

    /// Looks at `size` bytes that were read at `position`. False if they bring one unit too many, and from then on.
    [[nodiscard]] bool allows(std::int64_t position, const unsigned char *bytes, int size);

    /// Whether that was so.
    [[nodiscard]] bool isFlooded() const { return m_isFlooded; }

private:
    // What of one stream was read last, and the units since a picture began.
    struct Flow
    {
        std::uint64_t lastBytes = ~std::uint64_t{0};
        int units = 0;
        bool isFlooded = false;
    };

    static void noteBytes(Flow &flow, const unsigned char *bytes, int size);
    static void noteUnit(Flow &flow, unsigned char header, unsigned char payload);
    void noteTransportBytes(const unsigned char *bytes, int size);
    void noteTransportByte(unsigned char byte);
    [[nodiscard]] bool isAnyFlooded() const;

    const AVFormatContext &m_input;
    const bool m_isTransportStream;
    std::vector<Flow> m_flows; ///< by packet identifiers; one for all other files
    std::int64_t m_next = 0;   ///< after what was read last
    int m_inPacket = -1;       ///< bytes of the transport packet so far; negative: none has begun
    int m_payload = 0;         ///< where it begins in the packet
    unsigned m_pid = 0;        ///< of the packet
    int m_between = 0;         ///< bytes since the last packet
    int m_usuallyBetween = 0;  ///< 4 or 16 in some files
    bool m_isFlooded = false;
};

} // namespace quorvale::ffmpeg
