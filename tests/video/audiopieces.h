#pragma once

#include "tests/support/openvideo.h"

#include <QByteArray>

#include <memory>

// Reading sound as a caller does who frees every buffer.

/// What one call of ReadAudioFrame did.
struct Piece
{
    int status = -1;
    QByteArray bytes;
    int samples = 0;
    bool delivered = false;
};

inline Piece readPiece(FFVideo &video)
{
    unsigned char *buffer = nullptr;
    int bytes = -1;
    Piece piece;
    piece.status = video.ReadAudioFrame(buffer, bytes, piece.samples);
    const std::unique_ptr<unsigned char[]> owner(buffer);
    piece.delivered = buffer != nullptr;
    if (piece.delivered)
        piece.bytes = QByteArray(reinterpret_cast<const char *>(buffer), bytes);
    return piece;
}

/// Everything from the pictures `first` to `last`; empty if the range is refused.
inline QByteArray readRange(FFVideo &video, int first, int last)
{
    QByteArray all;
    if (!video.SetAudioRange(first, last))
        return all;
    for (;;) {
        const Piece piece = readPiece(video);
        all += piece.bytes;
        if (piece.status != FFVideo::FF_AUDIO_MORE && piece.status != FFVideo::FF_AUDIO_SKIPPED)
            return all;
    }
}
