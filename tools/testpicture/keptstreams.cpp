#include "tools/testpicture/keptstreams.h"

#include <atomic>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <unistd.h>

namespace fs = std::filesystem;

namespace quorvale::keptstreams {

namespace {

// Fowler, Noll and Vo's hash (FNV-1a) of 64 bits.
std::uint64_t hashOf(const std::string &text, std::uint64_t hash = 0xCBF29CE484222325U)
{
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
    return hash;
}

// What the ffmpeg program says of itself and of its libraries.
const std::string &ffmpegVersion()
{
    static const std::string version = [] {
        std::string text;
        const std::unique_ptr<std::FILE, int (*)(std::FILE *)> output(popen("ffmpeg -version 2>&1", "r"), pclose);
        for (int c = 0; output && (c = std::fgetc(output.get())) != EOF;)
            text += static_cast<char>(c);
        return text;
    }();
    return version;
}

// The kept file of a recipe; empty if nothing is kept.
std::string fileFor(const std::string &recipe)
{
    const char *folder = std::getenv("QUORVALE_KEPT_STREAMS"); // NOLINT(concurrency-mt-unsafe): nobody sets it
    if (!folder || !*folder)
        return {};
    // The definition is a hash of the sources that draw the pictures.
    const std::uint64_t hash = hashOf(recipe, hashOf(QUORVALE_STREAM_MAKER + ffmpegVersion()));
    char name[17] = "";
    std::snprintf(name, sizeof name, "%016" PRIx64, hash);
    return (fs::path(folder) / name).string();
}

bool fetch(const std::string &kept, const std::string &path)
{
    std::error_code error;
    if (!fs::copy_file(kept, path, fs::copy_options::overwrite_existing, error))
        return false;
    fs::last_write_time(kept, fs::file_time_type::clock::now(), error);
    return true;
}

// Unless that cannot be done.
void keep(const std::string &path, const std::string &kept)
{
    static std::atomic<int> copies{0};
    std::error_code error;
    fs::create_directories(fs::path(kept).parent_path(), error);
    const fs::path whole = kept + '.' + std::to_string(getpid()) + '.' + std::to_string(++copies);
    if (fs::copy_file(path, whole, fs::copy_options::overwrite_existing, error))
        fs::rename(whole, kept, error);
    if (error)
        fs::remove(whole, error);
}

} // namespace

ProcessEnd makeOnce(const std::string &path, const std::string &recipe, const std::function<ProcessEnd()> &make)
{
    const std::string kept = fileFor(recipe);
    if (!kept.empty() && fetch(kept, path))
        return {};
    ProcessEnd result = make();
    if (!kept.empty() && result.ok())
        keep(path, kept);
    return result;
}

} // namespace quorvale::keptstreams
