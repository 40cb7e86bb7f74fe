#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

struct AVCodecContext;
struct AVFrame;

namespace quorvale::ffmpeg {

/// How much memory the pictures of one decoder take together, the ones that it refers to and the ones that were handed
/// out. A stream of a few KB can ask for 16 references of any size; what goes beyond the budget is not decoded.
///
///   pictures up to       in bytes    room for
///   1920x1088            104 MiB     34 of 4:2:0 with 8 bits, 13 of 4:2:2 with 10
///   larger               512 MiB     21 of 3840x2160 with 10 bits, 10 of 7680x4320 with 8, of 4:2:0
///
/// Television has 4 references of 1920x1080, and 6 of the largest pictures.
/// Decoders that share a budget may run on several threads. It belongs to their owner, and lives until they are freed;
/// pictures may live longer.
class PictureBudget
{
public:
    PictureBudget()
        : m_bytes(std::make_shared<std::atomic<std::int64_t>>(0))
    {
    }
    PictureBudget(const PictureBudget &) = delete;
    PictureBudget &operator=(const PictureBudget &) = delete;

    /// Has `decoder`, which is not opened yet, take its pictures' memory from here. Takes its `opaque` and
    /// `get_buffer2`.
    void limit(AVCodecContext &decoder);

private:
    struct Lent;
    static int lend(AVCodecContext *decoder, AVFrame *picture, int flags);
    static void takeBack(void *lent, std::uint8_t *);

    std::shared_ptr<std::atomic<std::int64_t>> m_bytes; // shared with the pictures that are out
};

} // namespace quorvale::ffmpeg
