#pragma once

#include "video/ffmpeg/largepieces.h"

#include <cstdint>
#include <optional>

struct AVFormatContext;

namespace quorvale::ffmpeg {

/// How much FFmpeg may read of a file. What it reads is all that it can claim memory and time for: a header is kept in
/// two or three copies, a packet in up to three, and a text is compared with all before it.
class ReadingLimits
{
public:
    /// FFmpeg opens `input`, and may read `bytes` for that. `input` outlives the reading.
    void beginOpening(const AVFormatContext &input, std::int64_t bytes);
    /// The file is open; packets may have `bytes` from now on.
    void endOpening(std::int64_t bytes);

    /// Whether `size` bytes may be read at once: a packet, or a piece of a header, is read into one piece of memory.
    [[nodiscard]] bool allows(int size) const;
    void noteRead(const unsigned char *bytes, int size);

    /// While the file was opened.
    [[nodiscard]] std::int64_t openingBytes() const { return m_openingBytes; }

private:
    [[nodiscard]] bool claimsTooMuch() const;

    const AVFormatContext *m_input = nullptr;
    bool m_isOpening = false;
    std::int64_t m_mostOpeningBytes = 0;
    std::int64_t m_openingBytes = 0;
    std::int64_t m_mostAtOnce = INT64_MAX;
    std::optional<LargePieces> m_largePieces; ///< for packets that need them
    int m_equalSigns = 0;                     ///< each text of an Ogg file has one, and there are no reads between them
};

} // namespace quorvale::ffmpeg
