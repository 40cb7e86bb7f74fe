#include "video/ffmpeg/picturebudget.h"

#include "video/ffmpeg/picturelimits.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/buffer.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <list>
#include <new>
#include <utility>

namespace quorvale::ffmpeg {

namespace {

constexpr std::int64_t kUsualBytes = 112 * kMiB;
constexpr std::int64_t kLargeBytes = 576 * kMiB; // up to kMostPixelsUncounted
constexpr std::int64_t kMostBytesOf8Bits = 640 * kMiB;
constexpr std::int64_t kMostBytes = 896 * kMiB;
constexpr std::int64_t kUsualBytesOfSecond = 96 * kMiB;
constexpr std::int64_t kLargeBytesOfSecond = 320 * kMiB; // It decodes no larger pictures.
// With the tables of the file, or of both readers' files.
constexpr std::int64_t kUsualBytesWithTables = 208 * kMiB;
constexpr std::int64_t kMostBytesWithTables = 944 * kMiB;
constexpr std::int64_t kUsualBytesOfSecondWithTables = 104 * kMiB;

std::int64_t pixelsOf(const AVFrame &picture)
{
    return std::int64_t{picture.width} * picture.height;
}

// With what a decoder keeps beside each picture: vectors, references and kinds of its blocks, half a byte a pixel.
std::int64_t bytesOf(const AVFrame &picture)
{
    std::int64_t bytes = pixelsOf(picture) / 2;
    for (const AVBufferRef *plane : picture.buf)
        bytes += plane ? static_cast<std::int64_t>(plane->size) : 0;
    return bytes;
}

bool hasMoreThan8Bits(const AVFrame &picture)
{
    const AVPixFmtDescriptor *format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
    return format && format->comp[0].depth > 8;
}

} // namespace

struct PictureBudget::Borrower
{
    explicit Borrower(Account &from)
        : account(from)
    {
    }

    Account &account;
    std::atomic<bool> wasDenied{false};
};

struct PictureBudget::Account : std::enable_shared_from_this<Account>
{
    std::list<Borrower> borrowers; ///< every decoder so far, which finds its place by `opaque`
    std::atomic<std::int64_t> lentBytes{0};
    std::atomic<std::int64_t> mostPixels{0}; ///< of the pictures so far
    const Reader reader;
    const std::int64_t tableBytes;

    Account(Reader whose, std::int64_t tables)
        : reader(whose)
        , tableBytes(tables)
    {
    }

    std::int64_t limitFor(const AVFrame &picture)
    {
        std::int64_t most = mostPixels;
        while (most < pixelsOf(picture) && !mostPixels.compare_exchange_weak(most, pixelsOf(picture))) {
        }
        most = std::max(most, pixelsOf(picture));
        if (reader == Reader::Second)
            return most <= kUsualPixels ? std::min(kUsualBytesOfSecond, kUsualBytesOfSecondWithTables - 2 * tableBytes)
                                        : kLargeBytesOfSecond;
        if (most <= kUsualPixels)
            return std::min(kUsualBytes, kUsualBytesWithTables - tableBytes);
        if (most <= kMostPixelsUncounted)
            return kLargeBytes;
        return hasMoreThan8Bits(picture) ? std::min(kMostBytes, kMostBytesWithTables - tableBytes) : kMostBytesOf8Bits;
    }
};

// What the first plane's buffer is wrapped in: the last reference to it gives the picture's bytes back.
struct PictureBudget::Lent
{
    Lent(AVBufferRef *first, std::int64_t size, std::shared_ptr<Account> from)
        : buffer(first)
        , bytes(size)
        , account(std::move(from))
    {
        account->lentBytes += bytes;
    }
    ~Lent() { account->lentBytes -= bytes; }
    Lent(const Lent &) = delete;
    Lent &operator=(const Lent &) = delete;

    AVBufferRef *buffer;
    std::int64_t bytes;
    std::shared_ptr<Account> account;
};

PictureBudget::PictureBudget(Reader reader, std::int64_t tableBytes)
    : m_account(std::make_shared<Account>(reader, tableBytes))
{
}

void PictureBudget::limit(AVCodecContext &decoder) const
{
    decoder.opaque = &m_account->borrowers.emplace_back(*m_account);
    decoder.get_buffer2 = lend;
}

bool PictureBudget::wasDenied(const AVCodecContext &decoder)
{
    return static_cast<const Borrower *>(decoder.opaque)->wasDenied;
}

int PictureBudget::lend(AVCodecContext *decoder, AVFrame *picture, int flags)
{
    Borrower &borrower = *static_cast<Borrower *>(decoder->opaque);
    Account &account = borrower.account;
    const int status = avcodec_default_get_buffer2(decoder, picture, flags);
    if (status < 0 || !picture->buf[0])
        return status;

    std::unique_ptr<Lent> lent(new (std::nothrow) Lent(picture->buf[0], bytesOf(*picture), account.shared_from_this()));
    const bool fits = lent && account.lentBytes <= account.limitFor(*picture);
    AVBufferRef *wrapped =
        fits ? av_buffer_create(picture->buf[0]->data, picture->buf[0]->size, takeBack, lent.get(), 0) : nullptr;
    if (!wrapped) {
        borrower.wasDenied = true;
        av_frame_unref(picture);
        return AVERROR(ENOMEM);
    }
    lent.release(); // NOLINT(bugprone-unused-return-value): owned by the buffer
    picture->buf[0] = wrapped;
    return 0;
}

void PictureBudget::takeBack(void *opaque, unsigned char *)
{
    const std::unique_ptr<Lent> lent(static_cast<Lent *>(opaque));
    av_buffer_unref(&lent->buffer);
}

} // namespace quorvale::ffmpeg
