#include "tools/sampledisk/stamp.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace quorvale {

namespace fs = std::filesystem;

namespace {

const char *const kName = ".quorvale-sampledisk"; // hidden, next to the recorder's own folder
const char *const kUnfinishedName = ".quorvale-sampledisk.part";
const char *const kFirstWord = "quorvale-sampledisk";

/// Whether a name is one in the recorder's folder. This program removes nothing outside of it, even if someone edited
/// the stamp.
bool isInRecorderFolder(const fs::path &name)
{
    return name == name.lexically_normal() && name.has_filename() && name.begin()->string() == "DVR";
}

} // namespace

std::optional<Stamp> readStamp(const fs::path &volume)
{
    std::ifstream file(volume / kName);
    Stamp stamp;
    std::string word;
    if (!(file >> word >> stamp.version) || word != kFirstWord)
        return std::nullopt;
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        words >> word;
        if (word == "recordings") {
            words >> stamp.recordings;
        } else if (word == "length") {
            words >> stamp.length;
        } else if (word == "day") {
            words >> stamp.day;
        } else if (word == "complete") {
            stamp.complete = true;
        } else if (word == "file") {
            std::uintmax_t size = 0;
            std::string name;
            if (words >> size >> name && isInRecorderFolder(name))
                stamp.files[name] = size;
        }
    }
    return stamp;
}

bool isFree(const fs::path &volume)
{
    if (!fs::exists(fs::symlink_status(volume)))
        return true;
    if (!fs::is_directory(volume))
        return false;
    return std::all_of(fs::directory_iterator(volume), fs::directory_iterator(),
                       [](const fs::directory_entry &entry) { return entry.path().filename() == kUnfinishedName; });
}

void writeStamp(const fs::path &volume, const Stamp &stamp)
{
    const fs::path unfinished = volume / kUnfinishedName;
    std::ofstream file(unfinished, std::ios::trunc);
    file << kFirstWord << ' ' << stamp.version << '\n';
    file << "recordings " << stamp.recordings << '\n';
    file << "length " << stamp.length << '\n';
    file << "day " << stamp.day << '\n';
    for (const auto &[name, size] : stamp.files)
        file << "file " << size << ' ' << name << '\n';
    if (stamp.complete)
        file << "complete\n"; // last: a stamp that was cut off must not say so
    file.close();
    if (!file)
        throw std::runtime_error("cannot write " + unfinished.string());
    fs::rename(unfinished, volume / kName);
}

} // namespace quorvale
