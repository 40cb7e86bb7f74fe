#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

/// A disk that misbehaves when told to. Linked into a test, it comes between the whole process (Qt and the
/// FFmpeg libraries included) and the C library's calls about files below one folder; everything else passes through.
/// Linux only.
namespace faultydisk {

enum class What {
    Open, ///< open, fopen
    Read, ///< read, pread, fread
    Seek, ///< lseek, fseek
    Look, ///< stat in all its forms, access
    List, ///< opendir
    Tell, ///< posix_fadvise: what will be read
};

/// A call that is about to be made.
struct Call
{
    What what;
    std::string path;
    bool onMainThread;   ///< on the thread that began to watch
    std::int64_t offset; ///< of a Read or Tell, as far as is known; -1 otherwise
    std::int64_t bytes;  ///< that a Read asks for, as far as is known, or a Tell is about; -1 otherwise
};

/// The verdict on a call: 0 lets it pass, an error number (EIO, ENOENT, ...) makes it fail. It may wait as long as it
/// likes. Runs on the thread that makes the call, on several at once. Not asked when a file is closed.
using Verdict = std::function<int(const Call &)>;

/// Changes the `count` bytes that a FILE's read has brought, as if the disk held other ones.
using Content = std::function<void(const Call &, unsigned char *bytes, std::size_t count)>;

/// What passed or failed since watching began; what only tells the system something is not among all(). A FILE's calls
/// count as one each: it should be unbuffered.
struct Counts
{
    long opens = 0;
    long reads = 0;
    long seeks = 0;
    long looks = 0;
    long lists = 0;
    long tells = 0;
    std::int64_t bytesRead = 0;

    [[nodiscard]] long all() const { return opens + reads + seeks + looks + lists; }
};

/// Watches `folder` as long as it lives; one at a time. Files that are still open then are forgotten, not closed.
class Watch
{
public:
    explicit Watch(const std::string &folder, Verdict verdict = {});
    ~Watch();
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;

    /// From now on. Calls that wait in the old verdict go on waiting there.
    void setVerdict(Verdict verdict);
    void setContent(Content content);

    [[nodiscard]] Counts onMainThread() const;
    [[nodiscard]] Counts elsewhere() const;
    void resetCounts();

    /// Files below the folder that are open.
    [[nodiscard]] int openFiles() const;
};

} // namespace faultydisk
