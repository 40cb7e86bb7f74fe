#include "video/exact/decodingworker.h"

#include "video/ffmpeg/compat.h"

#include <algorithm>

namespace quorvale {

bool DecodingWorker::start(const StartPlan &plan, ExactCounters &counters)
{
    ++counters.runs;
    decoding.setStrict(false);
    for (const StartPlan::Primer &primer : plan.primers) {
        if (!prime(primer, plan.coding))
            return false;
    }
    decoding.flush();
    decoding.setDepth(plan.depth);
    decoding.setShowsAll(plan.showsAll);
    decoding.setStrict(plan.strict);
    return true;
}

// Without its slices, which would only cost time.
bool DecodingWorker::prime(const StartPlan::Primer &primer, VideoCoding coding)
{
    decoding.flush();
    const ffmpeg::PacketPtr whole = ffmpeg::makePacket();
    for (const PlannedPacket &packet : primer.packets) {
        if (!packets->read(packet, primer.ways, *whole))
            return false;
        const std::size_t size = bytesBeforeSlices(coding, whole->data, static_cast<std::size_t>(whole->size));
        const ffmpeg::PacketPtr parameters = ffmpeg::makePacket();
        if (av_new_packet(parameters.get(), static_cast<int>(size)) < 0 ||
            av_packet_copy_props(parameters.get(), whole.get()) < 0)
            return false;
        std::copy_n(whole->data, size, parameters->data);
        decoding.send(*parameters, packet.picture);
    }
    return true;
}

} // namespace quorvale
