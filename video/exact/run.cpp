#include "video/exact/run.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/decoder.h"

#include <algorithm>

namespace quorvale {

Run::Run(const RunPlan &plan, PacketReplay &replay, Decoding &decoding, ExactCounters &counters)
    : m_plan(plan)
    , m_replay(replay)
    , m_decoding(decoding)
    , m_counters(counters)
    , m_packet(ffmpeg::makePacket())
{
}

bool Run::begin()
{
    m_begun = true;
    ++m_counters.runs;
    m_decoding.setStrict(false);
    for (const RunPlan::Primer &primer : m_plan.primers) {
        if (!prime(primer))
            return false;
    }
    m_decoding.flush();
    m_decoding.setDepth(m_plan.depth);
    m_decoding.setStrict(m_plan.strict);
    return true;
}

bool Run::prime(const RunPlan::Primer &primer)
{
    m_decoding.flush();
    const ffmpeg::FramePtr dropped = ffmpeg::makeFrame();
    for (const PlannedPacket &packet : primer.packets) {
        if (!m_replay.read(packet, primer.ways, *m_packet))
            return false;
        m_decoding.send(*m_packet, packet.picture);
        while (m_decoding.receive(*dropped) == Decoding::Output::Picture) {
        }
    }
    ++m_counters.picturesDecoded;
    return true;
}

Run::Step Run::next(AVFrame &frame)
{
    if (!m_begun && !begin())
        return Step::Failed;
    for (;;) {
        const Decoding::Output output = m_decoding.receive(frame);
        if (output == Decoding::Output::Failed)
            return Step::Failed;
        if (output == Decoding::Output::Nothing) {
            if (m_sent < m_plan.packets.size()) {
                if (!sendNext())
                    return Step::Failed;
            } else if (m_plan.drains && !m_drained) {
                m_drained = true;
                m_decoding.drain();
            } else {
                return Step::End;
            }
            continue;
        }
        const PictureIndex picture = Decoding::pictureOf(frame);
        // Before the entry point's own picture, what comes out refers to what was not decoded.
        if (isInFront(picture))
            continue;
        if (m_received < m_plan.outputs.size() && (picture != m_plan.outputs[m_received] || ffmpeg::isDamaged(frame)))
            return Step::Failed;
        ++m_received;
        return Step::Picture;
    }
}

// Reads all, in order, and sends what is needed.
bool Run::sendNext()
{
    const PlannedPacket &packet = m_plan.packets[m_sent];
    const bool beginsPicture = m_sent == 0 || m_plan.packets[m_sent - 1].picture != packet.picture;
    ++m_sent;
    if (!m_replay.read(packet, m_plan.ways, *m_packet))
        return false;
    if (!packet.isNeeded)
        return true;
    m_counters.picturesDecoded += beginsPicture ? 1 : 0;
    return m_decoding.send(*m_packet, packet.picture);
}

bool Run::isInFront(PictureIndex picture) const
{
    return std::find(m_plan.inFront.begin(), m_plan.inFront.end(), picture) != m_plan.inFront.end();
}

} // namespace quorvale
