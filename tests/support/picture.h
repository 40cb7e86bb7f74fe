#pragma once

#include "video/bridgeimage.h"

#include <QByteArray>

#include <optional>

struct AVFrame;

/// A picture that frees its planes.
class Picture : public BridgeImage
{
public:
    Picture() = default;
    ~Picture() { clear(); }
    Picture(const Picture &) = delete;
    Picture &operator=(const Picture &) = delete;

    /// Frees the planes; everything else stays.
    void clear();
};

/// Checksum of what can be seen of a picture: its planes one after the other, without padding. `avFormat` is
/// libavutil's number of the planes' format. MurmurHash3 is the quickest that the ffmpeg program knows, too.
[[nodiscard]] QByteArray checksum(const BridgeImage &image, int avFormat);
[[nodiscard]] QByteArray checksum(const AVFrame &frame);

/// The number that a picture of a numbered stream carries (8-bit planar luma).
[[nodiscard]] std::optional<unsigned> numberIn(const BridgeImage &image);
