#include "video/exact/run.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/decoder.h"

#include <algorithm>

namespace quorvale {

namespace {

constexpr int kMostFailures = 64; // More of them are a decoder that fails without consuming anything.

} // namespace

std::int64_t RunPlan::pictureCount() const
{
    std::int64_t count = 0;
    const PlannedPacket *previous = nullptr;
    for (const PlannedPacket &packet : packets) {
        count += packet.isNeeded && (!previous || previous->picture != packet.picture) ? 1 : 0;
        previous = &packet;
    }
    return count;
}

Run::Run(const RunPlan &plan, DecodingWorker &worker, ExactCounters &counters)
    : m_plan(plan)
    , m_worker(worker)
    , m_counters(counters)
    , m_packet(ffmpeg::makePacket())
{
}

Run::Step Run::next(AVFrame &frame)
{
    if (!m_begun && !m_worker.start(m_plan.start, m_counters))
        return Step::Failed;
    m_begun = true;
    for (;;) {
        const Decoding::Output output = m_worker.decoding.receive(frame);
        if (m_worker.decoding.lacksMemory())
            return Step::Failed;
        if (output == Decoding::Output::Failed) {
            if (!isLeading(m_latest) || ++m_failures > kMostFailures)
                return Step::Failed;
            continue;
        }
        if (output == Decoding::Output::Nothing) {
            const bool isAll = m_sent == m_plan.packets.size();
            if (isAll && (m_drained || !m_plan.isDrained))
                return Step::End;
            m_drained = isAll;
            if (isAll)
                m_worker.decoding.drain();
            else if (!sendNext())
                return Step::Failed;
            continue;
        }
        const PictureIndex picture = Decoding::pictureOf(frame);
        if (isIgnored(picture))
            continue;
        if (m_received < m_plan.outputs.size() && (picture != m_plan.outputs[m_received] || ffmpeg::isDamaged(frame)))
            return Step::Failed;
        ++m_received;
        return Step::Picture;
    }
}

bool Run::isSoundUpTo(PictureIndex target)
{
    m_worker.decoding.drain();
    m_drained = true;
    const ffmpeg::FramePtr rest = ffmpeg::makeFrame();
    Decoding::Output output = Decoding::Output::Picture;
    while ((output = m_worker.decoding.receive(*rest)) == Decoding::Output::Picture) {
        if (Decoding::pictureOf(*rest) < target && !isIgnored(Decoding::pictureOf(*rest)) && ffmpeg::isDamaged(*rest))
            return false;
    }
    return output == Decoding::Output::Nothing;
}

// Reads all, in order, and sends what is needed.
bool Run::sendNext()
{
    const PlannedPacket &packet = m_plan.packets[m_sent];
    const bool beginsPicture = m_sent == 0 || m_plan.packets[m_sent - 1].picture != packet.picture;
    ++m_sent;
    if (!m_worker.packets->read(packet, m_plan.start.ways, *m_packet))
        return false;
    if (!packet.isNeeded)
        return true;
    m_latest = packet.picture;
    if (packet.headerBytes != 0)
        return m_worker.decoding.sendHeaders(*m_packet, packet.picture, packet.headerBytes) ||
               isLeading(packet.picture);
    m_counters.picturesDecoded += beginsPicture ? 1 : 0;
    // Before the entry point's own picture, what comes refers to what was not decoded.
    return m_worker.decoding.send(*m_packet, packet.picture) || isLeading(packet.picture);
}

bool Run::isLeading(PictureIndex picture) const
{
    return std::find(m_plan.leading.begin(), m_plan.leading.end(), picture) != m_plan.leading.end();
}

// Whether it is not looked at.
bool Run::isIgnored(PictureIndex picture) const
{
    return std::binary_search(m_plan.skimmed.begin(), m_plan.skimmed.end(), picture) || isLeading(picture);
}

} // namespace quorvale
