#include "video/keyframetable.h"

#include "video/saturate.h"

#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

using namespace quorvale;

namespace {

constexpr char kHeaderWord[] = "KFT";

struct FileCloser
{
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

bool readHeader(std::FILE *file)
{
    std::array<char, 255> word = {};
    // The blank also passes over the line feed, and over blanks at the start of the name that follows.
    return std::fscanf(file, "%254s\n", word.data()) == 1 && std::strcmp(word.data(), kHeaderWord) == 0;
}

// Reads up to `announced` rows. Memory is allocated for the rows that exist, never for the announced number.
std::vector<KeyFrameEntry> readRows(std::FILE *file, std::int32_t announced)
{
    std::vector<KeyFrameEntry> rows;
    for (std::int32_t row = 0; row < announced; ++row) {
        // Sixteen characters always fit 64 bits; what does not fit 32 is saturated.
        std::int64_t frame = 0;
        KeyFrameEntry entry;
        if (std::fscanf(file, "%16" SCNd64 " %" SCNd64 " %" SCNd64 "\n", &frame, &entry.seekDts, &entry.frameDts) != 3)
            break;
        entry.frame = saturateToInt32(frame);
        rows.push_back(entry);
    }
    return rows;
}

} // namespace

bool LoadKeyFrameTable(KeyFrameTable *table, const char *path)
{
    const FilePtr file(path ? std::fopen(path, "rb") : nullptr);
    if (!file)
        return false;
    if (!readHeader(file.get())) {
        std::fputs("KFT header incorrect\n", stderr);
        return false;
    }

    std::array<char, 1024> name = {};
    if (!std::fgets(name.data(), static_cast<int>(name.size()), file.get()))
        name[0] = '\0';
    const std::size_t nameSize = std::strlen(name.data()) + 1;
    delete[] table->fileName;
    table->fileName = new char[nameSize]; // owned by the table
    std::memcpy(table->fileName, name.data(), nameSize);

    std::int64_t frames = 0;
    std::int64_t announced = 0;
    int complete = 0;
    // Figures that are missing or not numbers count as 0.
    if (std::fscanf(file.get(), "%16" SCNd64 " %16" SCNd64 " %1d\n", &frames, &announced, &complete) != 3)
        complete = 0;
    const std::vector<KeyFrameEntry> rows = readRows(file.get(), saturateToInt32(announced));

    const auto count = static_cast<std::int32_t>(rows.size());
    if (count > table->capacity) {
        delete[] table->entries;
        table->entries = nullptr;
        table->entries = new KeyFrameEntry[rows.size()]; // owned by the table
        table->capacity = count;
    }
    for (std::int32_t row = 0; row < count; ++row)
        table->entries[row] = rows[static_cast<std::size_t>(row)];
    table->frames = saturateToInt32(frames);
    table->count = count;
    table->complete = complete != 0;
    table->modified = false;
    return true;
}

bool SaveKeyFrameTable(KeyFrameTable *table, const char *path, bool markSaved)
{
    const FilePtr file(path ? std::fopen(path, "wb") : nullptr);
    if (!file)
        return false;

    const int rows = rowsHeld(table);
    std::fprintf(file.get(), "%s\n", kHeaderWord);
    std::fprintf(file.get(), "%s\n", table->fileName ? table->fileName : "");
    std::fprintf(file.get(), "%d %d %d\n", table->frames, rows, table->complete ? 1 : 0);
    for (int row = 0; row < rows; ++row) {
        const KeyFrameEntry &entry = table->entries[row];
        std::fprintf(file.get(), "%d %" PRId64 " %" PRId64 "\n", entry.frame, entry.seekDts, entry.frameDts);
    }

    // Whether everything could be written is not looked at.
    if (markSaved)
        table->modified = false;
    return true;
}
