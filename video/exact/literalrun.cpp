#include "video/exact/literalrun.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/decoder.h"

#include <algorithm>
#include <utility>

namespace quorvale {

LiteralRun::LiteralRun(std::unique_ptr<DecodingWorker> worker, ExactCounters &counters)
    : m_worker(std::move(worker))
    , m_counters(counters)
    , m_packet(ffmpeg::makePacket())
{
}

LiteralRun::LiteralRun(std::unique_ptr<DecodingWorker> worker, ExactCounters &counters, const PictureList &pictures,
                       PictureIndex entry, FrameNumber number, const WaysIn &ways)
    : m_worker(std::move(worker))
    , m_counters(counters)
    , m_packet(ffmpeg::makePacket())
    , m_firstNumber(number)
    , m_entry(entry)
    , m_ways(ways)
    , m_picture(entry)
    , m_next(pictures.picture(entry).firstPacket)
{
}

LiteralRun::Step LiteralRun::next(const PictureList &pictures, AVFrame &frame, PictureIndex last)
{
    for (;;) {
        const Decoding::Output output = m_worker->decoding.receive(frame);
        if (m_worker->decoding.lacksMemory())
            return Step::Failed; // The literal reader has more, and may count what is missing here.
        switch (output) {
        case Decoding::Output::Picture:
            m_failuresInARow = 0;
            if (isLeading(pictures, Decoding::pictureOf(frame)))
                continue;
            if (m_entry && m_shown.empty() && Decoding::pictureOf(frame) != *m_entry)
                return Step::Failed; // Its number would be wrong.
            m_shown.push_back(Decoding::pictureOf(frame));
            if (ffmpeg::isDamaged(frame))
                m_lastTrouble = std::max(m_lastTrouble, m_picture);
            return Step::Picture;
        case Decoding::Output::Failed:
            m_lastTrouble = std::max(m_lastTrouble, m_picture);
            if (++m_failuresInARow < ffmpeg::kMostDamagedPictures)
                continue;
            break;
        case Decoding::Output::Nothing:
            break;
        }
        m_failuresInARow = 0;
        if (m_picture > last)
            return Step::Stopped;
        const PictureIndex end = pictures.settledEnd();
        if (end == PictureIndex() || m_next > pictures.picture(end - 1).lastPacket())
            return Step::NeedsPacket;
        if (!sendNext(pictures))
            return Step::Failed;
    }
}

bool LiteralRun::sendNext(const PictureList &pictures)
{
    while (m_picture + 1 < pictures.pictureEnd() && pictures.picture(m_picture + 1).firstPacket <= m_next)
        ++m_picture;
    const PlannedPacket wanted = {pictures.packet(m_next), m_next, m_picture, true};
    if (!m_worker->packets->read(wanted, m_ways, *m_packet))
        return false;
    if (pictures.picture(m_picture).firstPacket == m_next)
        ++m_counters.picturesDecoded;
    if (!m_worker->decoding.send(*m_packet, m_picture))
        m_lastTrouble = m_picture;
    ++m_next;
    m_worker->knowsUpTo = m_picture;
    return true;
}

// Decoded after the entry point and output before it: it refers to what was not decoded.
bool LiteralRun::isLeading(const PictureList &pictures, PictureIndex picture) const
{
    return m_entry && m_shown.empty() && picture > *m_entry && picture < pictures.pictureEnd() &&
           pictures.picture(picture).isOutputBefore(pictures.picture(*m_entry));
}

std::optional<FrameNumber> LiteralRun::numberOf(PictureIndex picture) const
{
    // Searched from the end: the picture is nearly always a recent one.
    const auto found = std::find(m_shown.rbegin(), m_shown.rend(), picture);
    if (found == m_shown.rend())
        return std::nullopt;
    return m_firstNumber + static_cast<std::int64_t>(m_shown.rend() - found - 1);
}

std::unique_ptr<DecodingWorker> LiteralRun::takeWorker()
{
    return std::move(m_worker);
}

} // namespace quorvale
