#include "video/exact/stretches.h"

namespace quorvale {

namespace {

// Pictures at the end of a file that may be torn, lost or unpaired: decoding shows which of them exist.
constexpr std::int64_t kRaggedEnd = 3;

} // namespace

void Stretches::extend(PictureList &pictures)
{
    while (m_next < pictures.settledEnd()) {
        const CodedPicture &picture = pictures.picture(m_next);
        if (isOpen()) {
            Stretch &open = m_stretches.back();
            if (picture.doubts != 0)
                open.close(pictures, m_next);
            else
                open.append(pictures, m_next);
            // A picture that closes a stretch late does not begin the next one.
            if (open.isClosed())
                m_next = open.end();
        } else if (picture.doubts == 0 && picture.randomAccess != RandomAccess::None) {
            m_stretches.emplace_back(pictures, m_next);
        }
        ++m_next;
    }
    if (pictures.isFinished())
        finishFile(pictures);
}

void Stretches::finishFile(PictureList &pictures)
{
    if (m_stretches.empty())
        return;
    Stretch &last = m_stretches.back();
    last.close(pictures, pictures.pictureEnd());
    if (pictures.pictureEnd() - last.end() <= kRaggedEnd && last.certainEnd() + kMostReordering >= last.size())
        last.setEndsFile();
}

} // namespace quorvale
