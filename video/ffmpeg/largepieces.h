#pragma once

namespace quorvale::ffmpeg {

/// Bounds pieces of memory in the FFmpeg libraries by kMostBytesInOnePiece, and has the C library give large ones back
/// to the system when they are freed: it would keep those of a file's tables. Once in a process.
void boundPieces();

/// While one lives, the FFmpeg libraries may take pieces of memory of kMostUncompressedBytes instead of
/// kMostBytesInOnePiece: in the whole process, since they have one bound for all of it. For any threads.
class LargePieces
{
public:
    LargePieces();
    ~LargePieces();
    LargePieces(const LargePieces &) = delete;
    LargePieces &operator=(const LargePieces &) = delete;
};

} // namespace quorvale::ffmpeg
