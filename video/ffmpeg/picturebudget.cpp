#include "video/ffmpeg/picturebudget.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/buffer.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
}

#include <cerrno>
#include <new>

namespace quorvale::ffmpeg {

namespace {

constexpr std::int64_t kMiB = 1024 * 1024;
constexpr std::int64_t kUsualPixels = std::int64_t{1920} * 1088;
constexpr std::int64_t kUsualBytes = 104 * kMiB;
constexpr std::int64_t kMostBytes = 512 * kMiB;

std::int64_t bytesOf(const AVFrame &picture)
{
    std::int64_t bytes = 0;
    for (const AVBufferRef *plane : picture.buf)
        bytes += plane ? static_cast<std::int64_t>(plane->size) : 0;
    return bytes;
}

} // namespace

// What the first plane's buffer is wrapped in: the last reference to it gives the picture's bytes back.
struct PictureBudget::Lent
{
    AVBufferRef *buffer;
    std::int64_t bytes;
    std::shared_ptr<std::atomic<std::int64_t>> budget;
};

void PictureBudget::limit(AVCodecContext &decoder)
{
    decoder.opaque = this;
    decoder.get_buffer2 = lend;
}

int PictureBudget::lend(AVCodecContext *decoder, AVFrame *picture, int flags)
{
    const PictureBudget &budget = *static_cast<const PictureBudget *>(decoder->opaque);
    const int status = avcodec_default_get_buffer2(decoder, picture, flags);
    if (status < 0 || !picture->buf[0])
        return status;

    const std::int64_t bytes = bytesOf(*picture);
    const bool isUsual = std::int64_t{picture->width} * picture->height <= kUsualPixels;
    // Taken first: decoders on other threads may ask at the same time.
    const bool fits = (*budget.m_bytes += bytes) <= (isUsual ? kUsualBytes : kMostBytes);
    auto *lent =
        fits ? new (std::nothrow) Lent{picture->buf[0], bytes, budget.m_bytes} : nullptr; // owned by the buffer
    AVBufferRef *wrapped =
        lent ? av_buffer_create(picture->buf[0]->data, picture->buf[0]->size, takeBack, lent, 0) : nullptr;
    if (!wrapped) {
        delete lent;
        *budget.m_bytes -= bytes;
        av_frame_unref(picture);
        return AVERROR(ENOMEM);
    }
    picture->buf[0] = wrapped;
    return 0;
}

void PictureBudget::takeBack(void *opaque, std::uint8_t *)
{
    const std::unique_ptr<Lent> lent(static_cast<Lent *>(opaque));
    av_buffer_unref(&lent->buffer);
    *lent->budget -= lent->bytes;
}

} // namespace quorvale::ffmpeg
