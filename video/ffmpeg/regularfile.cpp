#include "video/ffmpeg/regularfile.h"

#include "video/ffmpeg/flvwatch.h"
#include "video/ffmpeg/obuwatch.h"
#include "video/ffmpeg/parametersets.h"
#include "video/ffmpeg/readahead.h"
#include "video/ffmpeg/unitwatch.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/avstring.h>
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

#include <array>
#include <cerrno>
#include <cstdint>
#include <memory>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorvale::ffmpeg {

namespace {

constexpr int kBufferBytes = 32768; // as FFmpeg's own files have

class Descriptor
{
public:
    // Where `off_t` has 32 bits, files larger than 2 GiB could not be opened.
    static_assert(sizeof(off_t) >= sizeof(std::int64_t), "_FILE_OFFSET_BITS is to be 64");

    // O_NONBLOCK: opening a pipe does not wait for a writer.
    explicit Descriptor(const char *path)
        : m_number(::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC))
    {
    }
    ~Descriptor()
    {
        if (m_number >= 0)
            close(m_number);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    [[nodiscard]] int number() const { return m_number; }

    /// The size of a regular file; negative for everything else.
    [[nodiscard]] std::int64_t size() const
    {
        struct stat facts = {};
        return fstat(m_number, &facts) == 0 && S_ISREG(facts.st_mode) ? std::int64_t{facts.st_size} : -1;
    }

private:
    int m_number;
};

// What FFmpeg gets a file's bytes from.
struct OpenFile
{
    explicit OpenFile(const char *path)
        : descriptor(path)
    {
    }

    Descriptor descriptor;
    std::int64_t position = 0; // of the next read
    std::optional<ReadAhead> ahead;
    std::optional<ClaimWatch> claims;
    std::optional<UnitWatch> units;
    std::optional<ObuWatch> obus;
    std::optional<FlvWatch> names;
    ParameterSets sets;
    ReadingLimits limits;
    std::int64_t tableBytes = 0;

    [[nodiscard]] bool hasUnitsToWatch() const { return obus || units || names; }
    [[nodiscard]] bool allowsUnits(std::int64_t at, const unsigned char *bytes, int size)
    {
        if (names)
            names->note(bytes, size);
        return (!units || units->allows(at, bytes, size)) && (!obus || obus->allows(at, bytes, size));
    }
};

int readFile(void *opaque, std::uint8_t *buffer, int size)
{
    OpenFile &file = *static_cast<OpenFile *>(opaque);
    if (!file.limits.allows(size))
        return AVERROR(EFBIG);
    ssize_t bytes = 0;
    do {
        bytes = read(file.descriptor.number(), buffer, static_cast<std::size_t>(size));
    } while (bytes < 0 && errno == EINTR);
    if (bytes < 0)
        return AVERROR(errno);
    if (file.claims && !file.claims->allows(file.descriptor.number(), file.position, buffer, static_cast<int>(bytes)))
        return AVERROR(EPERM);
    if (!file.allowsUnits(file.position, buffer, static_cast<int>(bytes)))
        return AVERROR(EPERM);
    file.position += bytes;
    file.limits.noteRead(buffer, static_cast<int>(bytes));
    if (file.ahead && bytes > 0)
        file.ahead->noteRead(file.descriptor.number(), file.position);
    return bytes == 0 ? AVERROR_EOF : static_cast<int>(bytes);
}

std::int64_t seekInFile(void *opaque, std::int64_t offset, int whence)
{
    OpenFile &file = *static_cast<OpenFile *>(opaque);
    if ((whence & AVSEEK_SIZE) != 0) {
        const std::int64_t size = file.descriptor.size();
        return size < 0 ? AVERROR(EIO) : size; // It was regular when it was opened.
    }
    const std::int64_t position = lseek(file.descriptor.number(), offset, whence & ~AVSEEK_FORCE);
    if (position < 0)
        return AVERROR(errno);
    file.position = position;
    return position;
}

} // namespace

AVIOContext *openRegularFile(const char *path)
{
    auto file = std::make_unique<OpenFile>(path);
    if (file->descriptor.number() < 0 || file->descriptor.size() < 0)
        return nullptr;
    auto *buffer = static_cast<unsigned char *>(av_malloc(kBufferBytes));
    AVIOContext *context =
        buffer ? avio_alloc_context(buffer, kBufferBytes, 0, file.get(), readFile, nullptr, seekInFile) : nullptr;
    if (!context) {
        av_free(buffer);
        return nullptr;
    }
    file.release(); // owned by the context, as its opaque
    return context;
}

void readBeginningAhead(const AVIOContext &file)
{
    ReadAhead::tellBeginning(static_cast<const OpenFile *>(file.opaque)->descriptor.number());
}

void readAhead(AVIOContext &file)
{
    static_cast<OpenFile *>(file.opaque)->ahead.emplace();
}

void watch(AVIOContext &file, const ClaimWatch::Structures &structures)
{
    static_cast<OpenFile *>(file.opaque)->claims.emplace(structures);
}

void watchUnits(AVIOContext &file, AVFormatContext &input)
{
    OpenFile &open = *static_cast<OpenFile *>(file.opaque);
    const char *format = input.iformat->name;
    if (av_match_name(format, "mpegts,mpeg,hevc,vvc") > 0)
        open.units.emplace(input);
    if (av_match_name(format, "ivf,obu") > 0)
        open.obus.emplace(av_match_name(format, "ivf") > 0);
    if (av_match_name(format, "flv,live_flv") > 0)
        open.names.emplace(input);
    // What FFmpeg still has in its buffer it will not read again.
    std::array<unsigned char, kBufferBytes> bytes{};
    ssize_t size = 1;
    for (std::int64_t position = 0; open.hasUnitsToWatch() && position < open.position && size > 0; position += size) {
        size = pread(open.descriptor.number(), bytes.data(), bytes.size(), position);
        if (size > 0 && !open.allowsUnits(position, bytes.data(), static_cast<int>(size)))
            return;
    }
}

UnitWatch *unitWatch(AVIOContext &file)
{
    std::optional<UnitWatch> &units = static_cast<OpenFile *>(file.opaque)->units;
    return units ? &*units : nullptr;
}

bool isContent(const AVIOContext &file)
{
    const OpenFile &open = *static_cast<const OpenFile *>(file.opaque);
    return (!open.claims || open.claims->isContent()) && (!open.units || !open.units->isFlooded()) &&
           (!open.obus || !open.obus->isFlooded()) && open.sets.isContent();
}

ParameterSets &parameterSets(AVIOContext &file)
{
    return static_cast<OpenFile *>(file.opaque)->sets;
}

ReadingLimits &readingLimits(AVIOContext &file)
{
    return static_cast<OpenFile *>(file.opaque)->limits;
}

void noteTables(AVIOContext &file, std::int64_t bytes)
{
    static_cast<OpenFile *>(file.opaque)->tableBytes = bytes;
}

std::int64_t tableBytes(const AVIOContext &file)
{
    const OpenFile &open = *static_cast<const OpenFile *>(file.opaque);
    return open.tableBytes + (open.claims ? open.claims->bytes() : 0);
}

void closeRegularFile(AVIOContext *&file)
{
    if (!file)
        return;
    delete static_cast<OpenFile *>(file->opaque);
    av_freep(&file->buffer);
    avio_context_free(&file);
}

} // namespace quorvale::ffmpeg
