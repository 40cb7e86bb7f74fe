#pragma once

#include <cstdint>
#include <memory>

struct AVCodecContext;
struct AVCodecParameters;
struct AVCodecParserContext;
struct AVPacket;

/// Place of each H.264 or HEVC picture in its sequence, as libavcodec's parser works it out from packet to packet.
class OrderNumbers
{
public:
    /// Null where there is no parser for the stream.
    [[nodiscard]] static std::unique_ptr<OrderNumbers> make(const AVCodecParameters &stream);

    OrderNumbers() = default;
    ~OrderNumbers();
    OrderNumbers(const OrderNumbers &) = delete;
    OrderNumbers &operator=(const OrderNumbers &) = delete;

    /// Picture order count of the picture that the packet begins with. Every packet is to be shown, in order.
    [[nodiscard]] std::int64_t next(const AVPacket &packet);

private:
    AVCodecParserContext *parser = nullptr; // owned
    AVCodecContext *context = nullptr;      // owned; parsers want one to keep their findings in
};
