#include "video/exact/beginning.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/decoder.h"

#include <algorithm>
#include <utility>

namespace quorvale {

namespace {

// As the literal reader counts: more damaged pictures of one packet are a decoder that fails without consuming
// anything.
constexpr int kMostDamagedPictures = 64;

} // namespace

Beginning::Beginning(std::unique_ptr<DecodingWorker> worker, ExactCounters &counters)
    : m_worker(std::move(worker))
    , m_counters(counters)
    , m_packet(ffmpeg::makePacket())
{
}

Beginning::Step Beginning::next(const PictureList &pictures, AVFrame &frame)
{
    for (;;) {
        switch (m_worker->decoding.receive(frame)) {
        case Decoding::Output::Picture:
            m_failuresInARow = 0;
            m_shown.push_back(Decoding::pictureOf(frame));
            if (ffmpeg::isDamaged(frame))
                m_lastTrouble = std::max(m_lastTrouble, m_picture);
            return Step::Picture;
        case Decoding::Output::Failed:
            m_lastTrouble = std::max(m_lastTrouble, m_picture);
            if (++m_failuresInARow < kMostDamagedPictures)
                continue;
            break;
        case Decoding::Output::Nothing:
            break;
        }
        m_failuresInARow = 0;
        const PictureIndex end = pictures.settledEnd();
        if (end == PictureIndex() || m_next > pictures.picture(end - 1).lastPacket())
            return Step::NeedsPacket;
        if (!sendNext(pictures))
            return Step::Failed;
    }
}

bool Beginning::sendNext(const PictureList &pictures)
{
    while (m_picture + 1 < pictures.pictureEnd() && pictures.picture(m_picture + 1).firstPacket <= m_next)
        ++m_picture;
    const PlannedPacket wanted = {pictures.packet(m_next), m_next, m_picture, true};
    if (!m_worker->replay.read(wanted, {-1, -1, -1}, *m_packet))
        return false;
    if (pictures.picture(m_picture).firstPacket == m_next)
        ++m_counters.picturesDecoded;
    if (!m_worker->decoding.send(*m_packet, m_picture))
        m_lastTrouble = m_picture;
    ++m_next;
    m_worker->knowsUpTo = m_picture;
    return true;
}

std::unique_ptr<DecodingWorker> Beginning::takeWorker()
{
    return std::move(m_worker);
}

} // namespace quorvale
