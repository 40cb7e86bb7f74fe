#pragma once

#include <QByteArray>
#include <QVector>

#include <cstdint>

extern "C" {
#include <libavcodec/codec_id.h>
}

// What libavcodec makes of access units that were written element by element.

/// The numbers of the units whose pictures its decoder outputs, in that order.
[[nodiscard]] QVector<int> decodedOrder(AVCodecID codec, const QVector<QByteArray> &units);

/// The picture order counts that its parser works out.
[[nodiscard]] QVector<std::int64_t> parserCounts(AVCodecID codec, const QVector<QByteArray> &units);
