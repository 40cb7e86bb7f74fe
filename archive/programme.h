#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

/// One recording as the recorder's index describes it. A plain value.
///
/// Nothing is validated: month 13 is kept as read. The strings are the recorder's own bytes, up to 1025 of them, and
/// need not be UTF-8; whoever shows them converts them.
struct Programme
{
    std::int32_t year = 1980;
    std::int32_t month = 1; ///< 1 to 12
    std::int32_t day = 1;   ///< 1 to 31
    std::int32_t hour = 0;
    std::int32_t minute = 0;
    std::int32_t second = 0;
    std::string channel;
    std::string title;
    std::string description;       ///< may hold HTML
    std::string fileName;          ///< stem of the file in "/DVR/RECS/"
    std::int32_t playPosition = 0; ///< where watching stopped, in seconds

    /// Reads the record that starts at byte `offset` of the open index `file`.
    ///
    /// True when a record was read. False, with every field as it was, when there is no record: another signature, the
    /// end of the file, a null `file` or an offset that cannot be sought (the last two with a line on stderr).
    /// A record without a play position leaves `playPosition` as it was.
    /// Bytes past the end of the file count as 0xFF.
    bool read(std::FILE *file, long offset);

    /// Reads bytes from the current position up to a NUL, which is consumed, or up to 1025 bytes, whichever is
    /// first. The end of the file is no terminator: from there on the string is filled up with 0xFF.
    static std::string readCString(std::FILE *file);
};
