#include "archive/programme.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

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
constexpr std::size_t kUninterpretedAfterTime = 4;
constexpr std::size_t kFileNameField = 30;
constexpr std::size_t kTextField = 1024;
constexpr std::size_t kUsualSize = 3115; // up to the end of the description
constexpr long kPositionMarkerOffset = 16390;
constexpr int kPositionMarker = 0x6A;

constexpr std::size_t kLongestString = 1025;
// Four strings without a terminator in their fields.
constexpr std::size_t kLargestSize = 13 + 4 * kLongestString;

// Reads a string from any source of bytes: `next` gives the next byte, or EOF, which does not end the string.
template <typename Next>
std::string readString(Next next)
{
    std::array<char, kLongestString> bytes;
    std::size_t length = 0;
    while (length < bytes.size()) {
        const int byte = next();
        if ((byte & 0xFF) == 0)
            break;
        bytes[length++] = static_cast<char>(byte);
    }
    return std::string(bytes.data(), length);
}

/// The bytes of a record from the stream's position on, fetched in one piece, or in two if texts run over their fields.
class RecordBytes
{
public:
    explicit RecordBytes(std::FILE *file)
        : m_file(file)
    {
        fetchUpTo(kUsualSize);
    }

    /// The next byte; EOF past the end of the file.
    int next()
    {
        if (m_position >= m_fetched)
            fetchUpTo(kLargestSize);
        const int byte = m_position < m_fetched ? m_bytes[m_position] : EOF;
        ++m_position;
        return byte;
    }

    std::int32_t nextUnsigned() { return next() & 0xFF; }

    void skip(std::size_t count) { m_position += count; }

    std::string nextField(std::size_t fieldSize)
    {
        std::string text = nextString();
        // A field without a terminator runs on into the next one. The fields after it are read from where the
        // terminator was found.
        if (text.size() < fieldSize)
            skip(fieldSize - 1 - text.size());
        return text;
    }

private:
    std::string nextString()
    {
        if (m_position < m_fetched) { // The terminator is nearly always in what was fetched.
            const unsigned char *begin = m_bytes.data() + m_position;
            const std::size_t room = std::min(kLongestString, m_fetched - m_position);
            if (const void *end = std::memchr(begin, 0, room)) {
                const std::size_t length = static_cast<std::size_t>(static_cast<const unsigned char *>(end) - begin);
                skip(length + 1);
                return std::string(reinterpret_cast<const char *>(begin), length);
            }
        }
        return readString([this] { return next(); });
    }

    void fetchUpTo(std::size_t size)
    {
        if (m_ended || m_fetched >= size)
            return;
        const std::size_t wanted = size - m_fetched;
        const std::size_t there = std::fread(m_bytes.data() + m_fetched, 1, wanted, m_file);
        m_fetched += there;
        m_ended = there < wanted; // A dying disk can take seconds to fail a read; it is not asked twice.
    }

    std::FILE *m_file;
    std::array<unsigned char, kLargestSize> m_bytes;
    std::size_t m_fetched = 0;
    std::size_t m_position = 0;
    bool m_ended = false; // of the file, or of what can be read of it
};

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
    RecordBytes record(file);
    for (const int expected : kSignature) {
        if (record.next() != expected)
            return false;
    }

    year = record.nextUnsigned() + kYearBase;
    month = record.nextUnsigned() + 1;
    day = record.nextUnsigned() + 1;
    hour = record.nextUnsigned();
    minute = record.nextUnsigned();
    second = record.nextUnsigned();
    record.skip(kUninterpretedAfterTime);

    fileName = record.nextField(kFileNameField);
    channel = record.nextField(kTextField);
    title = record.nextField(kTextField);
    description = record.nextField(kTextField);

    std::array<unsigned char, 3> position; // marker, low byte, high byte
    std::fseek(file, offset + kPositionMarkerOffset, SEEK_SET);
    const std::size_t there = std::fread(position.data(), 1, position.size(), file);
    if (there > 0 && position[0] == kPositionMarker) {
        // Not masked: a marker cut off by the end of the file gives a negative position.
        const int low = there > 1 ? position[1] : EOF;
        const int high = there > 2 ? position[2] : EOF;
        playPosition = high * 256 + low;
    }
    return true;
}

std::string Programme::readCString(std::FILE *file)
{
    return readString([file] { return std::getc(file); });
}
