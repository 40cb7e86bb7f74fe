#include "video/exact/readahead.h"

#include "video/ffmpeg/compat.h"

bool ReadAhead::fill()
{
    if (ended || waiting.size() >= kMostPackets || waitingBytes >= kMostBytes)
        return false;
    quorvale::ffmpeg::PacketPtr packet = quorvale::ffmpeg::makePacket();
    if (!read(*packet)) {
        ended = true;
        if (pictures.packetEnd() > 0)
            pictures.doubtPacket(pictures.packetEnd() - 1, kLastOfFile);
        return false;
    }
    pictures.append(scanner->scan(*packet));
    waitingBytes += packet->size;
    waiting.push_back(std::move(packet));
    return true;
}

bool ReadAhead::take(AVPacket &packet)
{
    if (waiting.empty() && !fill())
        return false;
    av_packet_unref(&packet);
    av_packet_move_ref(&packet, waiting.front().get());
    waiting.pop_front();
    waitingBytes -= packet.size;
    ++taken;
    return true;
}
