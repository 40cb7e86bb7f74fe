#pragma once

#include <cstdint>
#include <memory>

struct AVCodecContext;
struct AVFrame;

namespace quorvale::ffmpeg {

/// How much memory the pictures of one reader take together, the ones that its decoders refer to and the ones that were
/// handed out. A stream of a few KB can ask for 16 references of any size; what goes beyond the budget is not decoded.
///
///   pictures                        FFVideo's    room for                                    a second reader's
///   up to 1920x1088                 112 MiB      28 of 4:2:0 with 8 bits, 12 of 4:2:2 with 10  96 MiB
///   up to 4096x2304                 576 MiB      17 of 4:2:0 with 10 bits                     320 MiB
///   larger, of 8 bits               640 MiB      10 of 7680x4320, 4:2:0                       none
///   larger, with more bits          896 MiB      8 of 7680x4320, 4:2:0                        none
///
/// Television has 4 references of 1920x1080, and 6 of the largest pictures, beside the picture in hand and the one that
/// was handed out. Pictures of 8 bits have less, for these are copied and converted outside of the decoder. The bound
/// is that of the largest picture so far.
///
/// The tables of a long MP4 file are taken off that: of the smallest budgets and of the largest what is above 96 and 48
/// MiB, and of a second reader's, which has tables of its own, twice what is above 4 MiB.
///
/// Readers do not share: how far a second reader's threads have come must not change what FFVideo decodes. The second
/// one has less, since it may refuse.
///
/// A handle: copies share the budget. A decoder must not decode any longer than one of them lives; pictures may live
/// longer. Decoders on several threads may share one.
class PictureBudget
{
public:
    /// Whose budget it is: FFVideo's, or that of a reader beside it.
    enum class Reader { First, Second };

    /// `tableBytes`: what the opened file takes (regularfile.h).
    explicit PictureBudget(Reader reader = Reader::First, std::int64_t tableBytes = 0);

    /// Has `decoder`, which is not opened yet, take its pictures' memory from here. Takes its `opaque` and
    /// `get_buffer2`. Not for several threads at once.
    void limit(AVCodecContext &decoder) const;
    /// Whether `decoder`, which was limited, ever got no memory. It then lacks a picture that it does not tell of.
    [[nodiscard]] static bool wasDenied(const AVCodecContext &decoder);

private:
    struct Account;
    struct Borrower;
    struct Lent;

    static int lend(AVCodecContext *decoder, AVFrame *picture, int flags);
    static void takeBack(void *lent, unsigned char *);

    std::shared_ptr<Account> m_account; // shared with the pictures that are out
};

} // namespace quorvale::ffmpeg
