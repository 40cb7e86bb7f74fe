#include "video/keyframetable.h"

#include <algorithm>
#include <cstring>
#include <limits>

using namespace quorvale;

namespace {

constexpr int kUsualCapacity = 100;
constexpr int kDefaultCapacityAsked = -1;

char *copyOf(const char *text)
{
    if (!text)
        return nullptr;
    const std::size_t size = std::strlen(text) + 1;
    char *copy = new char[size]; // owned by the table
    std::memcpy(copy, text, size);
    return copy;
}

int twice(int capacity)
{
    if (capacity > std::numeric_limits<int>::max() / 2)
        return std::numeric_limits<int>::max();
    return std::max(1, 2 * capacity); // A table without any room can grow, too.
}

} // namespace

void InitialiseKFT(KeyFrameTable *table, const char *name, int capacity)
{
    table->frames = 0;
    table->count = 0;
    table->reservedIndex = -1;
    table->capacity = capacity == kDefaultCapacityAsked ? kUsualCapacity : std::max(0, capacity);
    table->complete = false;
    table->modified = true;
    table->fileName = copyOf(name);
    table->entries = new KeyFrameEntry[static_cast<std::size_t>(table->capacity)]; // owned by the table
}

void ResizeKFT(KeyFrameTable *table, int newCapacity)
{
    newCapacity = std::max(0, newCapacity);
    auto *entries = new KeyFrameEntry[static_cast<std::size_t>(newCapacity)]; // owned by the table
    if (table->entries)
        std::copy_n(table->entries, std::min(table->capacity, newCapacity), entries);
    delete[] table->entries;
    table->entries = entries;
    table->capacity = newCapacity;
}

int quorvale::rowsHeld(const KeyFrameTable *table)
{
    if (!table || !table->entries)
        return 0;
    return std::clamp(table->count, 0, table->capacity);
}

void AddEntry(KeyFrameTable *table, KeyFrameEntry entry)
{
    if (!table || !table->entries)
        return;
    const int rows = rowsHeld(table);
    if (rows > 0 && entry.frame <= table->entries[rows - 1].frame)
        return;
    if (rows == table->capacity)
        ResizeKFT(table, twice(table->capacity));
    table->entries[rows] = entry;
    table->count = rows + 1;
    table->modified = true;
}

int GetEntryIndex(const KeyFrameTable *table, int frame)
{
    // Rows from a file need not ascend: the search ends at the first row after the picture.
    const int rows = rowsHeld(table);
    int index = -1;
    while (index + 1 < rows && table->entries[index + 1].frame <= frame)
        ++index;
    return index;
}

bool CopyKFT(KeyFrameTable *to, const KeyFrameTable *from)
{
    to->frames = from->frames;
    to->count = from->count;
    to->reservedIndex = from->reservedIndex;
    to->capacity = std::max(0, from->capacity);
    to->complete = from->complete;
    to->modified = from->modified;
    to->fileName = copyOf(from->fileName);
    to->entries = new KeyFrameEntry[static_cast<std::size_t>(to->capacity)]; // owned by the table
    if (from->entries)
        std::copy_n(from->entries, to->capacity, to->entries);
    return true;
}

void ReleaseKFT(KeyFrameTable *table)
{
    delete[] table->entries;
    delete[] table->fileName;
    table->entries = nullptr;
    table->fileName = nullptr;
    table->capacity = 0;
    table->frames = 0;
}
