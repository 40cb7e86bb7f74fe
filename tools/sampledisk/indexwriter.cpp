#include "tools/sampledisk/indexwriter.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <stdexcept>

namespace quorvale {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kBlockSize = 32768;

// Offsets in a record's block.
constexpr std::size_t kSignature = 0; // 2 bytes
constexpr std::size_t kYear = 2;      // 2 bytes, high byte first
constexpr std::size_t kMonth = 4;     // counts from 0
constexpr std::size_t kDay = 5;       // counts from 0
constexpr std::size_t kHour = 6;
constexpr std::size_t kMinute = 7;
constexpr std::size_t kSecond = 8;
constexpr std::size_t kFileName = 13;
constexpr std::size_t kFileNameSize = 30;
constexpr std::size_t kChannel = 43;
constexpr std::size_t kTitle = 1067;
constexpr std::size_t kDescription = 2091;
constexpr std::size_t kTextSize = 1024;
constexpr std::size_t kPositionMarker = 16390;
constexpr std::size_t kPosition = 16391; // 2 bytes, low byte first

constexpr int kFirstYear = 0x700; // the recorder accepts no other high byte
constexpr int kLastYear = 0x7FF;

using Block = std::vector<std::uint8_t>;

void putByte(Block &block, std::size_t offset, int value, int least, int most, const char *what)
{
    if (value < least || value > most)
        throw std::runtime_error(std::string("the index cannot hold the ") + what + " " + std::to_string(value));
    block[offset] = static_cast<std::uint8_t>(value & 0xFF);
}

void putText(Block &block, std::size_t offset, std::size_t size, const std::string &text)
{
    if (text.size() >= size) // the last byte ends the text
        throw std::runtime_error("too long for the index: \"" + text + "\"");
    std::copy(text.begin(), text.end(), block.begin() + static_cast<std::ptrdiff_t>(offset));
}

Block recordBlock(const IndexRecord &record)
{
    Block block(kBlockSize, 0);
    block[kSignature] = 'R';
    block[kSignature + 1] = 1;
    if (record.day.year < kFirstYear || record.day.year > kLastYear)
        throw std::runtime_error("the index cannot hold the year " + std::to_string(record.day.year));
    block[kYear] = static_cast<std::uint8_t>(record.day.year >> 8);
    block[kYear + 1] = static_cast<std::uint8_t>(record.day.year & 0xFF);
    putByte(block, kMonth, record.day.month - 1, 0, 11, "month");
    putByte(block, kDay, record.day.day - 1, 0, 30, "day");
    putByte(block, kHour, record.hour, 0, 23, "hour");
    putByte(block, kMinute, record.minute, 0, 59, "minute");
    putByte(block, kSecond, record.second, 0, 59, "second");
    putText(block, kFileName, kFileNameSize, record.fileName);
    putText(block, kChannel, kTextSize, record.channel);
    putText(block, kTitle, kTextSize, record.title);
    putText(block, kDescription, kTextSize, record.description);
    if (record.playPosition) {
        const int position = *record.playPosition;
        if (position < 0 || position > 0xFFFF)
            throw std::runtime_error("the index cannot hold the play position " + std::to_string(position));
        block[kPositionMarker] = 'j';
        block[kPosition] = static_cast<std::uint8_t>(position & 0xFF);
        block[kPosition + 1] = static_cast<std::uint8_t>(position >> 8);
    }
    return block;
}

void writeBlock(std::ofstream &file, const Block &block)
{
    file.write(reinterpret_cast<const char *>(block.data()), static_cast<std::streamsize>(block.size()));
}

} // namespace

void writeIndex(const fs::path &path, const std::vector<IndexRecord> &records)
{
    fs::path unfinished = path;
    unfinished += ".part";
    std::ofstream file(unfinished, std::ios::binary | std::ios::trunc);
    writeBlock(file, Block(kBlockSize, 0));
    for (const IndexRecord &record : records)
        writeBlock(file, recordBlock(record));
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + unfinished.string());
    fs::rename(unfinished, path);
}

} // namespace quorvale
