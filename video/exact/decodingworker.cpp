#include "video/exact/decodingworker.h"

#include "video/ffmpeg/compat.h"

namespace quorvale {

bool DecodingWorker::start(const StartPlan &plan, ExactCounters &counters)
{
    ++counters.runs;
    decoding.setStrict(false);
    for (const StartPlan::Primer &primer : plan.primers) {
        ++counters.picturesDecoded;
        if (!prime(primer))
            return false;
    }
    decoding.flush();
    decoding.setDepth(plan.depth);
    decoding.setStrict(plan.strict);
    return true;
}

bool DecodingWorker::prime(const StartPlan::Primer &primer)
{
    decoding.flush();
    const ffmpeg::PacketPtr sent = ffmpeg::makePacket();
    const ffmpeg::FramePtr dropped = ffmpeg::makeFrame();
    for (const PlannedPacket &packet : primer.packets) {
        if (!packets->read(packet, primer.ways, *sent))
            return false;
        decoding.send(*sent, packet.picture);
        while (decoding.receive(*dropped) == Decoding::Output::Picture) {
        }
    }
    return true;
}

} // namespace quorvale
