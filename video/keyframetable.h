#pragma once

#include <cstdint>

/// One row: where a key picture is, and how a reader recognises it after a seek. Timestamps are in the video stream's
/// time base.
struct KeyFrameEntry
{
    std::int32_t frame = 0;    ///< number of the key picture
    std::int64_t seekDts = 0;  ///< decode timestamp to seek to, to land at or before the picture
    std::int64_t frameDts = 0; ///< decode timestamp of the packet that completed the picture
};

/// The key pictures of one video, found while decoding it. Plain data; the functions below own its memory.
///
/// Nothing is released automatically: the holder of a table calls `ReleaseKFT`.
/// Not thread-safe: a table belongs to one thread at a time.
struct KeyFrameTable
{
    char *fileName = nullptr;         ///< the video's path; from a file: the line with its line feed. Owned, `new[]`
    std::int32_t frames = 0;          ///< pictures scanned so far: the highest number seen plus one
    std::int32_t count = 0;           ///< rows in use
    std::int32_t reservedIndex = 0;   ///< -1 once initialised; copied, otherwise unused
    std::int32_t capacity = 0;        ///< rows allocated
    bool complete = false;            ///< the end of the file was reached: `frames` is exact and no row is missing
    bool modified = false;            ///< rows were added since the table was initialised, loaded or saved
    KeyFrameEntry *entries = nullptr; ///< `capacity` rows, strictly ascending by `frame`. Owned, `new[]`
};

/// Makes an empty table for the video `name` (may be null) with room for `capacity` rows, or for 100 where it is -1.
/// What the table held before is not freed.
void InitialiseKFT(KeyFrameTable *table, const char *name, int capacity);

/// Gives the table room for `newCapacity` rows and keeps as many as fit. `count` stays, even if it is now larger than
/// the room; the functions here then use the rows that exist.
void ResizeKFT(KeyFrameTable *table, int newCapacity);

/// Appends a row; the room is doubled when it is used up. Does nothing if the row is not after the last one, if `table`
/// is null, or if it has no `entries`.
void AddEntry(KeyFrameTable *table, KeyFrameEntry entry);

/// Index of the last row at or before picture `frame`; -1 where there is none.
[[nodiscard]] int GetEntryIndex(const KeyFrameTable *table, int frame);

/// Makes `to` a deep copy of `from`. What `to` held before is not freed. Always true.
bool CopyKFT(KeyFrameTable *to, const KeyFrameTable *from);

/// Frees name and rows. `frames` and `capacity` become 0; `count`, `reservedIndex`, `complete` and `modified` stay.
void ReleaseKFT(KeyFrameTable *table);

/// Reads a table from the text file `path`:
///
///     KFT
///     /media/disk/recording.ts        the line is kept with its line feed
///     1500 2 1                        frames, count, complete
///     0 126000 126000                 frame, seekDts, frameDts
///     12 169200 172800
///
/// False when the file cannot be opened or does not begin with the word KFT (with a line on stderr). Numbers are not
/// validated; but `count` is the number of rows in the file, even if the file announces more.
bool LoadKeyFrameTable(KeyFrameTable *table, const char *path);

/// Writes the table to the text file `path`. False only when the file cannot be created.
/// `markSaved`: clear `modified`.
bool SaveKeyFrameTable(KeyFrameTable *table, const char *path, bool markSaved);

namespace quorvale {

/// Rows that can be read: `count`, but no more than there is room for. 0 for a null or released table.
[[nodiscard]] int rowsHeld(const KeyFrameTable *table);

} // namespace quorvale
