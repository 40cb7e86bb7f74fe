#include "archive/programme.h"

#include <array>
#include <cstddef>

namespace {

// One record, offsets from its start:
//
//   0     1  2     3     4      5    6     7       8       9    13         43       1067   2091         3115
//   0x52  1  0x07  year  month  day  hour  minute  second  ...  file name  channel  title  description  ...
//
//   16390  16391      16392
//   'j'    position, low byte first
constexpr std::array<int, 3> kSignature = {0x52, 0x01, 0x07}; // The third byte is the year's high byte.
constexpr int kYearBase = 0x0700;
constexpr long kUninterpretedAfterTime = 3; // and one more that is read and dropped
constexpr std::size_t kFileNameField = 30;
constexpr std::size_t kTextField = 1024;
constexpr long kPositionMarkerOffset = 16390;
constexpr int kPositionMarker = 0x6A;

constexpr std::size_t kLongestString = 1025;

// A record is read byte by byte; the stream belongs to its reader alone, so the C library's lock is not needed.
int nextByte(std::FILE *file)
{
    return getc_unlocked(file);
}

std::int32_t unsignedByte(std::FILE *file)
{
    return nextByte(file) & 0xFF;
}

std::string readField(std::FILE *file, std::size_t fieldSize)
{
    std::string text = Programme::readCString(file);
    // A field without a terminator has run on into the next one. There is no way back from there: the fields that
    // follow are read from where the terminator was found.
    if (text.size() < fieldSize)
        std::fseek(file, static_cast<long>(fieldSize - 1 - text.size()), SEEK_CUR);
    return text;
}

} // namespace

bool Programme::read(std::FILE *file, long offset)
{
    if (!file) {
        std::fputs("Cannot read given file\n", stderr);
        return false;
    }
    if (std::fseek(file, offset, SEEK_SET) != 0) {
        std::fputs("Error seeking to programme offset\n", stderr);
        return false;
    }
    for (const int expected : kSignature) {
        if (nextByte(file) != expected)
            return false;
    }

    year = unsignedByte(file) + kYearBase;
    month = unsignedByte(file) + 1;
    day = unsignedByte(file) + 1;
    hour = unsignedByte(file);
    minute = unsignedByte(file);
    second = unsignedByte(file);
    std::fseek(file, kUninterpretedAfterTime, SEEK_CUR);
    nextByte(file);

    fileName = readField(file, kFileNameField);
    channel = readField(file, kTextField);
    title = readField(file, kTextField);
    description = readField(file, kTextField);

    std::fseek(file, offset + kPositionMarkerOffset, SEEK_SET);
    if (nextByte(file) == kPositionMarker) {
        // Not masked: a marker cut off by the end of the file gives a negative position.
        const std::int32_t low = nextByte(file);
        const std::int32_t high = nextByte(file);
        playPosition = high * 256 + low;
    }
    return true;
}

std::string Programme::readCString(std::FILE *file)
{
    std::array<char, kLongestString> bytes;
    std::size_t length = 0;
    while (length < bytes.size()) {
        const int byte = nextByte(file);
        if ((byte & 0xFF) == 0)
            break;
        bytes[length++] = static_cast<char>(byte);
    }
    return std::string(bytes.data(), length);
}
