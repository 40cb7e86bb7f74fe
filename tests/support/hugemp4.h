#pragma once

#include <QByteArray>

/// What an MP4 file claims; none of its samples is there.
struct HugeMp4
{
    int tracks = 1;
    quint32 samples = 1;       ///< of each track
    quint32 samplesAChunk = 1; ///< of sound
    bool isSound = false;      ///< not coded: FFmpeg cuts it by its chunks
    bool isCompressed = false; ///< the header, as QuickTime once did
    int boxesBefore = 0;       ///< empty ones, before the header
    int edits = 0;             ///< of each track, each of them all of its samples
    int fragments = 0;         ///< after the header
    quint32 samplesInFragment = 0;
    bool areFragmentsHidden = false; ///< in the data, where only the file's index of segments points to them
    bool isHidden = false;           ///< the table of samples stands inside the sample description
    bool isNested = false;           ///< after its tables, each track has another one inside

    [[nodiscard]] QByteArray bytes() const;
};
