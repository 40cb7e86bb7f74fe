#pragma once

#include <QByteArray>

/// A Matroska file with a list, `id`, of as many empty entries, `entryId`: both in hexadecimal digits. `before` stands
/// before the list.
[[nodiscard]] QByteArray hugeMatroska(const char *id, const char *entryId, int entries, const QByteArray &before = {});

/// An element of Matroska; `id` in hexadecimal digits.
[[nodiscard]] QByteArray matroskaElement(const char *id, const QByteArray &content);

/// What a JPEG 2000 picture claims; almost nothing of it is there.
struct HugeJpeg2000
{
    quint32 width = 1920;
    quint32 height = 1088;
    quint32 tileWidth = 1920;
    quint32 tileHeight = 1088;
    quint16 components = 1;
    quint16 layers = 1;
    int levels = 5;
    quint8 precincts = 0xFF;  ///< the exponents of their height and width, at all resolutions
    quint8 lowest = 0xFF;     ///< at the lowest resolution
    bool isInTileToo = false; ///< the style, again in the header of the tile
    int headerBytes = 0;      ///< after that of the AVI file's stream

    [[nodiscard]] QByteArray bytes() const;
    /// Three such pictures.
    [[nodiscard]] QByteArray avi() const;
};
