#pragma once

#include <QByteArray>

/// An H.262 stream written element by element, as some broadcasters send it: every frame in two fields, one after the
/// other, which a demultiplexer hands out as one packet. 160x128, 25 frames a second, pictures from a seed. Groups are
/// open: I P B B P B B ..., with a sequence header each.
struct H262FieldPairs
{
    int frames = 320;
    int group = 12; ///< frames, a multiple of 3
    /// The second field of an I frame refers to the frame before too, which the standard does not forbid to it.
    bool refersBack = false;

    [[nodiscard]] QByteArray write() const;
};
