#pragma once

#include "video/bitstream/accessunitreader.h"

#include <QByteArray>
#include <QVector>

#include <cstdint>

extern "C" {
#include <libavcodec/avcodec.h>
}

// What the reader, and what libavcodec makes of the bytes of access units.

quorvale::AccessUnit readUnit(quorvale::AccessUnitReader &reader, const QByteArray &unit);

/// The numbers of the units whose pictures come out, in that order, as told by the units. A pair of fields is known by
/// its first.
[[nodiscard]] QVector<int> predictedOrder(const QVector<quorvale::AccessUnit> &units);

/// The same, as libavcodec's decoder outputs them, with what it is made to give at the end.
[[nodiscard]] QVector<int> decodedOrder(AVCodecContext &decoder, const QVector<QByteArray> &units);
[[nodiscard]] QVector<int> decodedOrder(AVCodecID codec, const QVector<QByteArray> &units);

/// The picture order counts that its parser works out.
[[nodiscard]] QVector<std::int64_t> parserCounts(AVCodecID codec, const QVector<QByteArray> &units);
