#include "video/ffmpeg/regularfile.h"

extern "C" {
#include <libavformat/avio.h>
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

#include <cerrno>
#include <cstdint>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorvale::ffmpeg {

namespace {

constexpr int kBufferBytes = 32768; // as FFmpeg's own files have

class Descriptor
{
public:
    // O_NONBLOCK: opening a pipe does not wait for a writer.
    explicit Descriptor(const char *path)
        : m_number(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC))
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

int readFile(void *opaque, std::uint8_t *buffer, int size)
{
    const Descriptor &file = *static_cast<const Descriptor *>(opaque);
    ssize_t bytes = 0;
    do {
        bytes = read(file.number(), buffer, static_cast<std::size_t>(size));
    } while (bytes < 0 && errno == EINTR);
    if (bytes < 0)
        return AVERROR(errno);
    return bytes == 0 ? AVERROR_EOF : static_cast<int>(bytes);
}

std::int64_t seekInFile(void *opaque, std::int64_t offset, int whence)
{
    const Descriptor &file = *static_cast<const Descriptor *>(opaque);
    const bool asksForSize = (whence & AVSEEK_SIZE) != 0;
    const std::int64_t result = asksForSize ? file.size() : lseek(file.number(), offset, whence & ~AVSEEK_FORCE);
    return result < 0 ? AVERROR(errno) : result;
}

} // namespace

AVIOContext *openRegularFile(const char *path)
{
    auto file = std::make_unique<Descriptor>(path);
    if (file->number() < 0 || file->size() < 0)
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

void closeRegularFile(AVIOContext *&file)
{
    if (!file)
        return;
    delete static_cast<Descriptor *>(file->opaque);
    av_freep(&file->buffer);
    avio_context_free(&file);
}

} // namespace quorvale::ffmpeg
