#pragma once

#include <memory>

struct AVCodecContext;
struct AVFrame;

namespace quorvale::ffmpeg {

/// How much memory the pictures of one recording take together, the ones that its decoders refer to and the ones that
/// were handed out. A stream of a few KB can ask for 16 references of any size; what goes beyond the budget is not
/// decoded.
///
///   pictures                        in bytes    room for
///   up to 1920x1088                 112 MiB     28 of 4:2:0 with 8 bits, 12 of 4:2:2 with 10
///   larger, of 8 bits               640 MiB     10 of 7680x4320, 4:2:0
///   larger, with more bits          896 MiB     8 of 7680x4320, 4:2:0
///
/// Television has 4 references of 1920x1080, and 6 of the largest pictures, beside the picture in hand and the one that
/// was handed out. Pictures of 8 bits have less, for these are copied and converted outside of the decoder. Once one
/// picture was large, the bound is that of large ones.
///
/// A handle: copies share the budget. A decoder must not decode any longer than one of them lives; pictures may live
/// longer. Decoders on several threads may share one.
class PictureBudget
{
public:
    PictureBudget();
    /// The budget of `decoder`, which limit() was called with.
    [[nodiscard]] static PictureBudget of(const AVCodecContext &decoder);

    /// Has `decoder`, which is not opened yet, take its pictures' memory from here. Takes its `opaque` and
    /// `get_buffer2`.
    void limit(AVCodecContext &decoder) const;

private:
    struct Account;
    struct Lent;

    explicit PictureBudget(std::shared_ptr<Account> account);
    static int lend(AVCodecContext *decoder, AVFrame *picture, int flags);
    static void takeBack(void *lent, unsigned char *);

    std::shared_ptr<Account> m_account; // shared with the pictures that are out
};

} // namespace quorvale::ffmpeg
