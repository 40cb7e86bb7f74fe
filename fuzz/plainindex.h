#pragma once

#include "archive/programme.h"

#include <cstdio>
#include <vector>

/// A second reader of the index, as slow and plain as can be: byte by byte, one seek for each gap. The program's own
/// reader, which fetches pieces, must agree with it.
namespace plainindex {

inline constexpr long kStride = 32768;

inline std::string readText(std::FILE *file)
{
    std::string text;
    while (text.size() < 1025) {
        const int byte = std::getc(file);
        if ((byte & 0xFF) == 0)
            break;
        text += static_cast<char>(byte);
    }
    return text;
}

inline std::string readField(std::FILE *file, std::size_t size)
{
    const std::string text = readText(file);
    if (text.size() < size)
        std::fseek(file, static_cast<long>(size - 1 - text.size()), SEEK_CUR);
    return text;
}

inline bool readRecord(std::FILE *file, long offset, Programme &programme)
{
    std::fseek(file, offset, SEEK_SET);
    for (const int expected : {0x52, 0x01, 0x07}) {
        if (std::getc(file) != expected)
            return false;
    }
    const auto number = [file] { return std::getc(file) & 0xFF; };
    programme.year = number() + 0x700;
    programme.month = number() + 1;
    programme.day = number() + 1;
    programme.hour = number();
    programme.minute = number();
    programme.second = number();
    std::fseek(file, 3, SEEK_CUR);
    std::getc(file);
    programme.fileName = readField(file, 30);
    programme.channel = readField(file, 1024);
    programme.title = readField(file, 1024);
    programme.description = readField(file, 1024);
    std::fseek(file, offset + 16390, SEEK_SET);
    if (std::getc(file) == 0x6A) {
        const int low = std::getc(file);
        programme.playPosition = std::getc(file) * 256 + low;
    }
    return true;
}

inline std::vector<Programme> read(std::FILE *file)
{
    std::vector<Programme> programmes;
    Programme programme;
    for (long offset = kStride; readRecord(file, offset, programme); offset += kStride)
        programmes.push_back(programme);
    return programmes;
}

} // namespace plainindex
