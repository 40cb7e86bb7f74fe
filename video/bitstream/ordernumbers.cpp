#include "video/bitstream/ordernumbers.h"

#include "video/ffmpeg/compat.h"

std::unique_ptr<OrderNumbers> OrderNumbers::make(const AVCodecParameters &stream)
{
    auto numbers = std::make_unique<OrderNumbers>();
    numbers->parser = av_parser_init(stream.codec_id);
    numbers->context = avcodec_alloc_context3(nullptr);
    if (!numbers->parser || !numbers->context || avcodec_parameters_to_context(numbers->context, &stream) < 0)
        return nullptr;
    numbers->parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    return numbers;
}

OrderNumbers::~OrderNumbers()
{
    av_parser_close(parser);
    avcodec_free_context(&context);
}

std::int64_t OrderNumbers::next(const AVPacket &packet)
{
    // With complete frames the parser hands the packet back as it is; what counts is what it learns on the way.
    std::uint8_t *data = nullptr;
    int size = 0;
    av_parser_parse2(parser, context, &data, &size, packet.data, packet.size, packet.pts, packet.dts, packet.pos);
    return parser->output_picture_number;
}
