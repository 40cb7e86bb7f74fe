#include "tests/video/skipcomparison.h"

#include "tests/support/picture.h"
#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/pixelformats.h"
#include "video/ffvideo.h"

#include <QFile>

namespace {

// One reader and what it says about one picture.
struct Reading
{
    bool delivered = false;
    QByteArray checksum;
    int error = 0;
    int position = 0;
    int pictures = 0;
    bool atEnd = false;

    [[nodiscard]] bool operator==(const Reading &other) const
    {
        return delivered == other.delivered && checksum == other.checksum && error == other.error &&
               position == other.position && pictures == other.pictures && atEnd == other.atEnd;
    }
    [[nodiscard]] QString text() const
    {
        return QStringLiteral("%1 %2 error %3 at %4 of %5%6")
            .arg(delivered)
            .arg(QString::fromLatin1(checksum.left(8)))
            .arg(error)
            .arg(position)
            .arg(pictures)
            .arg(atEnd ? QStringLiteral(" end") : QString());
    }
};

Reading read(FFVideo &video, int target)
{
    Reading reading;
    // A layout that Read does not copy is looked at in the decoder's frame.
    if (planeLayoutOf(video.frame->format) == PlaneLayout::None) {
        reading.delivered = video.seekToFrame(target);
        if (reading.delivered)
            reading.checksum = checksum(*video.frame);
    } else {
        Picture picture;
        reading.delivered = video.Read(target, picture);
        if (reading.delivered)
            reading.checksum = checksum(picture, video.frame->format);
    }
    reading.error = video.lastError;
    reading.position = video.currentFrame;
    reading.pictures = video.frameCount;
    reading.atEnd = video.endOfStream;
    return reading;
}

// Whether any of a few further plain readers delivers something else than `checksum`.
bool checksumsDiffer(const QByteArray &name, int target, const QByteArray &checksum)
{
    for (int attempt = 0; attempt < 4; ++attempt) {
        FFVideo video;
        if (!video.Open(name.constData(), true, FFVideo::FF_ACCESS_READ) || read(video, target).checksum != checksum)
            return true;
    }
    return false;
}

QString differenceOf(const KeyFrameTable &plain, const KeyFrameTable &skipping)
{
    if (plain.count != skipping.count || plain.frames != skipping.frames || plain.complete != skipping.complete)
        return QStringLiteral("table: %1 rows of %2 pictures instead of %3 of %4")
            .arg(skipping.count)
            .arg(skipping.frames)
            .arg(plain.count)
            .arg(plain.frames);
    for (int row = 0; row < quorvale::rowsHeld(&plain); ++row) {
        const KeyFrameEntry &a = plain.entries[row];
        const KeyFrameEntry &b = skipping.entries[row];
        if (a.frame != b.frame || a.seekDts != b.seekDts || a.frameDts != b.frameDts)
            return QStringLiteral("row %1: %2 %3 %4 instead of %5 %6 %7")
                .arg(row)
                .arg(b.frame)
                .arg(b.seekDts)
                .arg(b.frameDts)
                .arg(a.frame)
                .arg(a.seekDts)
                .arg(a.frameDts);
    }
    return {};
}

} // namespace

SkipComparison compareSkipping(const QString &path, const QVector<int> &targets)
{
    SkipComparison result;
    FFVideo plain;
    FFVideo skipping;
    skipping.setSkipAhead(true);
    const QByteArray name = QFile::encodeName(path);
    const bool opened = plain.Open(name.constData(), true, FFVideo::FF_ACCESS_READ);
    if (skipping.Open(name.constData(), true, FFVideo::FF_ACCESS_READ) != opened)
        result.difference = QStringLiteral("opens in one way only");
    if (!opened || !result.difference.isEmpty())
        return result;

    for (const int target : targets) {
        const Reading expected = read(plain, target);
        const Reading found = read(skipping, target);
        result.delivered += expected.delivered && found.delivered ? 1 : 0;
        if (!(expected == found)) {
            // What is concealed in a damaged picture can depend on what the decoder finds in memory.
            Reading alike = found;
            alike.checksum = expected.checksum;
            if (expected == alike && checksumsDiffer(name, target, expected.checksum)) {
                ++result.unrepeatable;
                continue;
            }
            result.difference =
                QStringLiteral("picture %1: %2 instead of %3").arg(target).arg(found.text(), expected.text());
            break;
        }
    }
    if (result.difference.isEmpty())
        result.difference = differenceOf(plain.keyFrames, skipping.keyFrames);
    result.counters = skipping.skipAheadCounters();
    return result;
}
