#include "thumbs/pictureseries.h"

#include "video/ffvideo.h"

namespace quorvale {

PictureSeries::PictureSeries(FFVideo &video, const std::vector<int> &frames)
    : m_video(video)
    , m_exact(std::make_unique<ExactReader>(video))
{
    m_exact->announce(frames);
}

bool PictureSeries::read(int frame, BridgeImage &image)
{
    // To go back, an FFVideo uses its table, and may find another picture in a damaged recording.
    if (frame <= m_last)
        m_exact.reset();
    m_last = frame;
    const Outcome outcome = m_exact ? readExactly(frame, image) : Outcome::Unknown;
    if (outcome == Outcome::Unknown)
        return readLiterally(frame, image);
    if (outcome == Outcome::Delivered)
        m_delivered.push_back(frame);
    return outcome == Outcome::Delivered;
}

PictureSeries::Outcome PictureSeries::readExactly(int frame, BridgeImage &image)
{
    const ExactReader::Answer answer = m_exact->read(frame, image);
    m_exactCounters = m_exact->counters();
    switch (answer) {
    case ExactReader::Answer::Picture:
        return Outcome::Delivered;
    case ExactReader::Answer::NotCopied:
        return Outcome::Missing;
    case ExactReader::Answer::PastEnd:
        return missingPicture(frame, image);
    case ExactReader::Answer::NotProven:
        break;
    case ExactReader::Answer::Failed:
        m_exact.reset(); // which gives its memory back, of which the two have as much as one
        break;
    }
    return Outcome::Unknown;
}

// An FFVideo that comes from an earlier picture counts the step that finds the end of the file, and delivers the last
// picture again, once. For a picture farther on it goes back and decodes again. In a recording without doubts it
// reaches the same end; in a damaged one a seek can land elsewhere, and such a picture may exist.
PictureSeries::Outcome PictureSeries::missingPicture(int frame, BridgeImage &image)
{
    const std::int64_t pictures = m_exact->pictureCount().value_or(0);
    if (m_passedEnd)
        return Outcome::Missing;
    if (frame == pictures && pictures > 0) {
        m_passedEnd = true;
        return readExactly(static_cast<int>(pictures - 1), image);
    }
    return frame > pictures && m_exact->isUndoubted() ? Outcome::Missing : Outcome::Unknown;
}

// The FFVideo first seeks the pictures that were delivered, so that it starts where it would after reading them.
bool PictureSeries::readLiterally(int frame, BridgeImage &image)
{
    for (const int delivered : m_delivered)
        m_video.seekToFrame(delivered);
    m_delivered.clear();
    return m_video.Read(frame, image);
}

} // namespace quorvale
