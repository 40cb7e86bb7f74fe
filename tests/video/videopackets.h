#pragma once

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/pointers.h"

#include <QFile>
#include <QString>

#include <stdexcept>
#include <vector>

/// The video packets of a file, as the demuxer delivers them.
struct VideoPackets
{
    std::vector<quorvale::ffmpeg::PacketPtr> packets;
    std::int64_t unitsInASecond = 0;
};

inline VideoPackets readVideoPackets(const QString &path)
{
    AVFormatContext *context = nullptr;
    if (avformat_open_input(&context, QFile::encodeName(path).constData(), nullptr, nullptr) < 0)
        throw std::runtime_error("the file does not open");
    const quorvale::ffmpeg::InputPtr input(context);
    const AVCodec *decoder = nullptr;
    if (avformat_find_stream_info(context, nullptr) < 0)
        throw std::runtime_error("the file has no streams");
    const int stream = quorvale::ffmpeg::findBestStream(context, AVMEDIA_TYPE_VIDEO, decoder);
    VideoPackets found;
    found.unitsInASecond = context->streams[stream]->time_base.den;
    for (quorvale::ffmpeg::PacketPtr packet = quorvale::ffmpeg::makePacket();
         av_read_frame(context, packet.get()) >= 0;) {
        if (packet->stream_index != stream) {
            av_packet_unref(packet.get());
            continue;
        }
        found.packets.push_back(std::move(packet));
        packet = quorvale::ffmpeg::makePacket();
    }
    return found;
}
