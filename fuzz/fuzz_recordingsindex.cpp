#include "archive/recordingsindex.h"
#include "fuzz/plainindex.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <tuple>

namespace {

namespace fs = std::filesystem;

void require(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/// A recorder's disk with an index, under a name of this process's own. Removed with the object.
class Disk
{
public:
    Disk()
    {
        std::string name = (fs::temp_directory_path() / "quorvale-fuzz-XXXXXX").string();
        require(mkdtemp(name.data()), "a folder can be made");
        m_folder = name;
        fs::create_directories(index().parent_path());
    }
    ~Disk()
    {
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }
    Disk(const Disk &) = delete;
    Disk &operator=(const Disk &) = delete;

    [[nodiscard]] std::string folder() const { return m_folder.string(); }
    [[nodiscard]] fs::path index() const { return m_folder / "DVR" / "RECSINFO" / "RECS.INF"; }

private:
    fs::path m_folder;
};

// In an index few bytes matter, and they are far apart; a fuzzer does not find them. So its bytes are a recipe: for
// each record the size of a beginning (two bytes, low byte first), that beginning, and three bytes for the play
// position. The file ends where the recipe ends, also in the middle of a record.
constexpr std::size_t kLongestBeginning = 4300; // four texts without a terminator in their fields, and some more
constexpr long kPositionOffset = 16390;

void writeIndex(const fs::path &path, const std::uint8_t *bytes, std::size_t size)
{
    fs::remove(path); // Some file systems write a file that is emptied and filled again to the disk at once.
    std::FILE *file = std::fopen(path.c_str(), "wb");
    require(file, "the index can be written");
    const auto put = [&](long offset, std::size_t count) {
        const std::size_t there = std::min(count, size);
        if (there > 0)
            require(std::fseek(file, offset, SEEK_SET) == 0 && std::fwrite(bytes, 1, there, file) == there,
                    "the index can be written");
        bytes += there;
        size -= there;
    };
    for (long record = plainindex::kStride; size >= 2; record += plainindex::kStride) {
        const std::size_t wanted = std::size_t{bytes[0]} | std::size_t{bytes[1]} << 8;
        bytes += 2;
        size -= 2;
        put(record, wanted % (kLongestBeginning + 1));
        put(record + kPositionOffset, 3);
    }
    require(std::fclose(file) == 0, "the index can be written");
}

auto everythingIn(const Programme &p)
{
    return std::tie(p.year, p.month, p.day, p.hour, p.minute, p.second, p.channel, p.title, p.description, p.fileName,
                    p.playPosition);
}

bool isWithinBounds(const Programme &p)
{
    const auto isText = [](const std::string &text) {
        return text.size() <= 1025 && text.find('\0') == std::string::npos;
    };
    return p.year >= 1792 && p.year <= 2047 && p.month >= 1 && p.month <= 256 && p.day >= 1 && p.day <= 256 &&
           p.playPosition >= -257 && p.playPosition <= 65535 && isText(p.channel) && isText(p.title) &&
           isText(p.description) && isText(p.fileName);
}

} // namespace

// Any bytes give the list that the plainest reader gives, with no more programmes than the file has room for.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    static const Disk disk;
    writeIndex(disk.index(), bytes, size);

    const auto programmes = readRecordingsIndex(disk.folder());
    require(programmes.has_value(), "an index that exists can be read");
    const auto fileSize = fs::file_size(disk.index());
    require(programmes->size() <= fileSize / plainindex::kStride, "there is no programme that is not in the file");
    require(std::all_of(programmes->begin(), programmes->end(), isWithinBounds), "texts and numbers keep their bounds");

    std::FILE *file = std::fopen(disk.index().c_str(), "rb");
    const std::vector<Programme> plain = plainindex::read(file);
    std::fclose(file);
    require(std::equal(programmes->begin(), programmes->end(), plain.begin(), plain.end(),
                       [](const Programme &a, const Programme &b) { return everythingIn(a) == everythingIn(b); }),
            "what was read fast is what is there");
    return 0;
}
