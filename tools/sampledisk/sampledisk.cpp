#include "tools/sampledisk/sampledisk.h"

#include "tools/sampledisk/catalogue.h"
#include "tools/sampledisk/parallel.h"
#include "tools/sampledisk/recordingencoder.h"
#include "tools/sampledisk/stamp.h"

#include <algorithm>
#include <mutex>
#include <ostream>
#include <stdexcept>
#include <unistd.h>

namespace quorvale {

namespace fs = std::filesystem;

namespace {

constexpr int kContentVersion = 2; // raise it when the same options make another disk than before

const fs::path kVolume = "RECORDER";
const fs::path kStreams = "DVR/RECS";
const fs::path kIndex = "DVR/RECSINFO/RECS.INF";

std::string streamFile(const Recording &recording, const std::string &extension)
{
    return (kStreams / (recording.record.fileName + extension)).string();
}

/// A hidden folder of the volume for unfinished streams, removed at the end of the run. Each run has its own: ffmpeg
/// programs that outlive a killed run cannot create files in the folder of the next one.
class WorkFolder
{
public:
    explicit WorkFolder(const fs::path &volume)
        : m_path(volume / (kPrefix + std::to_string(getpid())))
    {
        removeLeftOver(volume);
        fs::create_directory(m_path);
    }
    WorkFolder(const WorkFolder &) = delete;
    WorkFolder &operator=(const WorkFolder &) = delete;
    ~WorkFolder()
    {
        std::error_code ignored; // the next run removes it
        fs::remove_all(m_path, ignored);
    }

    [[nodiscard]] const fs::path &path() const { return m_path; }

private:
    static void removeLeftOver(const fs::path &volume)
    {
        std::vector<fs::path> folders;
        for (const fs::directory_entry &entry : fs::directory_iterator(volume))
            if (entry.path().filename().string().rfind(kPrefix, 0) == 0)
                folders.push_back(entry.path());
        for (const fs::path &folder : folders) {
            std::error_code ignored; // such a program may be creating its file right now
            fs::remove_all(folder, ignored);
        }
    }

    static inline const std::string kPrefix = ".quorvale-sampledisk.work.";
    fs::path m_path;
};

std::string unfinishedFile(const std::string &file)
{
    return file + ".part";
}

void writeIndexOf(const fs::path &volume, const std::vector<Recording> &recordings)
{
    std::vector<IndexRecord> records;
    records.reserve(recordings.size());
    for (const Recording &recording : recordings)
        records.push_back(recording.record);
    writeIndex(volume / kIndex, records);
}

/// Whether the streams that `options` ask for are on the volume, unchanged.
bool holdsStreams(const fs::path &volume, const Stamp &stamp, const Options &options)
{
    if (!stamp.complete || stamp.version != kContentVersion || stamp.recordings != options.recordings ||
        stamp.length != options.length)
        return false;
    return std::all_of(stamp.files.begin(), stamp.files.end(), [&volume](const auto &file) {
        std::error_code error;
        return fs::file_size(volume / file.first, error) == file.second && !error;
    });
}

/// Every name that making the recordings uses, also temporarily.
std::vector<std::string> namesOf(const std::vector<Recording> &recordings)
{
    std::vector<std::string> names{kIndex.string(), unfinishedFile(kIndex.string())};
    for (const Recording &recording : recordings) {
        for (const std::string &extension : fileExtensions(recording.kind))
            names.push_back(streamFile(recording, extension));
    }
    return names;
}

/// Takes over the volume: from here on the stamp names every file that this run or an earlier one writes. Removes all
/// of them.
void clearVolume(const fs::path &volume, const std::optional<Stamp> &before, Stamp &stamp,
                 const std::vector<std::string> &names)
{
    if (!before && !isFree(volume))
        throw std::runtime_error(volume.string() + " is there already and was not made by this program");
    if (before)
        stamp.files = before->files;
    for (const std::string &name : names) {
        const bool isOwn = stamp.files.count(name) != 0;
        if (!isOwn && fs::exists(fs::symlink_status(volume / name)))
            throw std::runtime_error((volume / name).string() + " is in the way and was not written by this program");
    }
    for (const std::string &name : names)
        stamp.files.emplace(name, 0);
    fs::create_directories(volume);
    writeStamp(volume, stamp);

    fs::remove(volume / kIndex); // first: without it the volume is no recorder's disk
    for (const auto &[name, size] : stamp.files)
        fs::remove(volume / name);
    fs::create_directories(volume / kStreams);
    fs::create_directories(volume / kIndex.parent_path());
}

void encodeBuiltIn(const std::vector<Recording> &recordings, int length, const fs::path &volume, std::ostream &progress)
{
    std::vector<const Recording *> builtIn;
    for (const Recording &recording : recordings)
        if (&recording == &recordings[static_cast<std::size_t>(recording.source)] &&
            !fileExtensions(recording.kind).empty())
            builtIn.push_back(&recording);
    // HEVC takes by far the longest, so it begins first.
    std::stable_partition(builtIn.begin(), builtIn.end(),
                          [](const Recording *recording) { return recording->kind == RecordingKind::Hevc; });

    const WorkFolder work(volume);
    std::mutex progressMutex;
    std::vector<std::function<void()>> jobs;
    jobs.reserve(builtIn.size());
    for (const Recording *recording : builtIn) {
        jobs.emplace_back([recording, &volume, &work, &progress, &progressMutex, length] {
            encodeRecording(*recording, length, work.path(), volume / kStreams);
            const std::lock_guard lock(progressMutex);
            progress << recording->record.fileName << "  " << recording->record.title << std::endl;
        });
    }
    runParallel(jobs);
}

/// Gives further episodes the files of the built-in recordings: as hard links if the file system has them, else as
/// copies.
void linkEpisodes(const std::vector<Recording> &recordings, const fs::path &volume)
{
    for (const Recording &recording : recordings) {
        const Recording &source = recordings[static_cast<std::size_t>(recording.source)];
        if (&source == &recording)
            continue;
        for (const std::string &extension : fileExtensions(recording.kind)) {
            const fs::path from = volume / streamFile(source, extension);
            const fs::path to = volume / streamFile(recording, extension);
            std::error_code error;
            fs::create_hard_link(from, to, error);
            if (error)
                fs::copy_file(from, to);
        }
    }
}

void recordSizes(const fs::path &volume, Stamp &stamp)
{
    for (auto file = stamp.files.begin(); file != stamp.files.end();) {
        if (fs::exists(volume / file->first)) {
            file->second = fs::file_size(volume / file->first);
            ++file;
        } else {
            file = stamp.files.erase(file);
        }
    }
}

} // namespace

SampleDiskResult makeSampleDisk(const Options &options, std::ostream &progress)
{
    const Day day = today();
    const std::vector<Recording> recordings = catalogue(options.recordings, day);
    const fs::path volume = fs::absolute(options.directory) / kVolume;
    const std::optional<Stamp> before = readStamp(volume);

    if (before && holdsStreams(volume, *before, options)) {
        if (before->day == isoText(day))
            return SampleDiskResult::Kept;
        writeIndexOf(volume, recordings);
        Stamp renewed = *before;
        renewed.day = isoText(day);
        writeStamp(volume, renewed);
        return SampleDiskResult::IndexRenewed;
    }

    Stamp stamp{kContentVersion, options.recordings, options.length, isoText(day), false, {}};
    clearVolume(volume, before, stamp, namesOf(recordings));
    encodeBuiltIn(recordings, options.length, volume, progress);
    linkEpisodes(recordings, volume);
    writeIndexOf(volume, recordings);
    recordSizes(volume, stamp);
    stamp.complete = true;
    writeStamp(volume, stamp);
    return SampleDiskResult::Written;
}

} // namespace quorvale
