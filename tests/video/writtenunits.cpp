#include "tests/video/writtenunits.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/pointers.h"

#include <algorithm>
#include <cstring>
#include <optional>

using namespace quorvale;

AccessUnit readUnit(AccessUnitReader &reader, const QByteArray &unit)
{
    return reader.read(reinterpret_cast<const std::uint8_t *>(unit.constData()), std::size_t(unit.size()));
}

QVector<int> predictedOrder(const QVector<AccessUnit> &units)
{
    struct Picture
    {
        int unit;
        int sequence;
        std::int64_t count;
    };
    QVector<Picture> pictures;
    int sequence = 0;
    std::optional<AccessUnit> firstField;
    for (int i = 0; i < units.size(); ++i) {
        const AccessUnit &unit = units[i];
        const bool isField = unit.structure != PictureStructure::Frame;
        if (firstField && isField && unit.structure != firstField->structure && unit.frameNum == firstField->frameNum &&
            unit.isReference == firstField->isReference && !unit.startsSequence) {
            pictures.last().count = std::min(pictures.last().count, unit.pictureOrderCount);
            firstField.reset();
            continue;
        }
        sequence += unit.startsSequence ? 1 : 0;
        pictures.append({i, sequence, unit.pictureOrderCount});
        firstField = isField ? std::optional(unit) : std::nullopt;
    }
    std::stable_sort(pictures.begin(), pictures.end(), [](const Picture &a, const Picture &b) {
        return a.sequence != b.sequence ? a.sequence < b.sequence : a.count < b.count;
    });
    QVector<int> order;
    for (const Picture &picture : pictures)
        order.append(picture.unit);
    return order;
}

QVector<int> decodedOrder(AVCodecID codec, const QVector<QByteArray> &units)
{
    const AVCodec *implementation = avcodec_find_decoder(codec);
    const ffmpeg::DecoderPtr decoder(avcodec_alloc_context3(implementation));
    decoder->thread_count = 1;
    if (avcodec_open2(decoder.get(), implementation, nullptr) < 0)
        return {};
    return decodedOrder(*decoder, units);
}

QVector<int> decodedOrder(AVCodecContext &decoder, const QVector<QByteArray> &units)
{
    QVector<int> order;
    const ffmpeg::FramePtr frame = ffmpeg::makeFrame();
    const auto receive = [&] {
        while (avcodec_receive_frame(&decoder, frame.get()) == 0)
            order.append(int(frame->pts));
    };
    for (int i = 0; i < units.size(); ++i) {
        const ffmpeg::PacketPtr packet = ffmpeg::makePacket();
        if (av_new_packet(packet.get(), int(units[i].size())) < 0)
            return {};
        std::memcpy(packet->data, units[i].constData(), std::size_t(units[i].size()));
        packet->pts = packet->dts = i;
        avcodec_send_packet(&decoder, packet.get());
        receive();
    }
    avcodec_send_packet(&decoder, nullptr);
    receive();
    return order;
}

QVector<std::int64_t> parserCounts(AVCodecID codec, const QVector<QByteArray> &units)
{
    AVCodecParserContext *parser = av_parser_init(codec);
    parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    const ffmpeg::DecoderPtr context(avcodec_alloc_context3(nullptr));
    QVector<std::int64_t> counts;
    for (const QByteArray &unit : units) {
        const QByteArray padded = unit + QByteArray(AV_INPUT_BUFFER_PADDING_SIZE, '\0');
        std::uint8_t *data = nullptr;
        int size = 0;
        av_parser_parse2(parser, context.get(), &data, &size,
                         reinterpret_cast<const std::uint8_t *>(padded.constData()), int(unit.size()), 0, 0, 0);
        counts.append(parser->output_picture_number);
    }
    av_parser_close(parser);
    return counts;
}
