#include "video/ffmpeg/readinglimits.h"

#include "video/ffmpeg/picturelimits.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
#include <libavutil/dict.h>
}

#include <algorithm>

namespace quorvale::ffmpeg {

namespace {

// A multiplex of a whole transponder has some dozens. FFmpeg compares each with all before it; so it does with chapters
// and texts.
constexpr unsigned kMostProgrammes = 1024;
constexpr unsigned kMostChapters = 4096;
constexpr int kMostTexts = 8192;
constexpr int kMostEqualSigns = 2 * kMostTexts; // Every 256th byte of sound looks like one.

int countTexts(const AVFormatContext &input)
{
    int texts = av_dict_count(input.metadata);
    for (unsigned i = 0; i < input.nb_streams; ++i)
        texts += av_dict_count(input.streams[i]->metadata);
    return texts;
}

} // namespace

void ReadingLimits::beginOpening(const AVFormatContext &input, std::int64_t bytes)
{
    m_input = &input;
    m_isOpening = true;
    m_mostOpeningBytes = bytes;
}

void ReadingLimits::endOpening(std::int64_t bytes)
{
    m_isOpening = false;
    m_mostAtOnce = bytes;
    if (bytes > kMostBytesInOnePiece)
        m_largePieces.emplace();
}

bool ReadingLimits::claimsTooMuch() const
{
    if (m_input->nb_programs > kMostProgrammes || m_input->nb_chapters > kMostChapters)
        return true;
    return m_isOpening && (m_equalSigns > kMostEqualSigns || countTexts(*m_input) > kMostTexts);
}

bool ReadingLimits::allows(int size) const
{
    if (!m_input)
        return true;
    return !claimsTooMuch() && (m_isOpening ? m_openingBytes + size <= m_mostOpeningBytes : size <= m_mostAtOnce);
}

void ReadingLimits::noteRead(const unsigned char *bytes, int size)
{
    if (!m_isOpening)
        return;
    m_openingBytes += size;
    if (av_match_name("ogg", m_input->iformat->name) > 0)
        m_equalSigns += static_cast<int>(std::count(bytes, bytes + size, '='));
}

} // namespace quorvale::ffmpeg
