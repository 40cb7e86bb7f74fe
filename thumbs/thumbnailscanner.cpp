#include "thumbs/thumbnailscanner.h"

#include "thumbs/pictureconversion.h"
#include "thumbs/pictureseries.h"
#include "thumbs/thumbnailsize.h"
#include "video/ffvideo.h"

#include <QCoreApplication>
#include <QMetaMethod>
#include <QTimer>

#include <cstdio>

using namespace quorvale;

namespace {

// Pictures are taken before this number only: at 25 a second, half a minute shows what a recording is.
constexpr std::int64_t kFrameLimit = 900;

// A picture and its planes.
struct OwnedPicture : BridgeImage
{
    OwnedPicture() = default;
    ~OwnedPicture()
    {
        for (const std::uint8_t *plane : data)
            delete[] plane;
    }
    OwnedPicture(const OwnedPicture &) = delete;
    OwnedPicture &operator=(const OwnedPicture &) = delete;
};

// Picture number `frame` in red, green and blue; null when it cannot be read.
QImage readPicture(PictureSeries &series, int frame)
{
    OwnedPicture picture;
    return series.read(frame, picture) ? rgbPicture(picture) : QImage();
}

} // namespace

void ThumbnailScanner::process()
{
    if (!running || index >= files.size()) {
        emit finished();
        return;
    }
    processFile(files.at(index));
    ++index;
    QTimer::singleShot(0, this, SLOT(process()));
}

void ThumbnailScanner::halt()
{
    running = false;
}

void ThumbnailScanner::processFile(const QString &file)
{
    FFVideo video;
    if (!video.Open(file.toUtf8().constData(), true, FFVideo::FF_ACCESS_READ)) {
        emit missingVideo(file);
        return;
    }
    QVector<QPixmap *> small;
    QVector<QPixmap *> large;
    takePictures(video, small, large);
    video.Close();

    const bool hasReceiver = isSignalConnected(QMetaMethod::fromSignal(&ThumbnailScanner::gotThumbs));
    if (m_emitted && hasReceiver)
        m_emitted->append({file, small, large});
    emit gotThumbs(file, small, large);
    if (!hasReceiver) {
        qDeleteAll(small);
        qDeleteAll(large);
    }
}

// The numbers of the pictures, if they ascend.
std::vector<int> ThumbnailScanner::wantedFrames() const
{
    std::vector<int> frames;
    for (std::int64_t frame = firstFrame; firstFrame >= 0 && frameStep > 0 && frame < kFrameLimit; frame += frameStep)
        frames.push_back(static_cast<int>(frame));
    return frames;
}

void ThumbnailScanner::takePictures(FFVideo &video, QVector<QPixmap *> &small, QVector<QPixmap *> &large) const
{
    const QSize display(video.width, video.height);
    PictureSeries series(video, wantedFrames());
    for (std::int64_t frame = firstFrame; frame < kFrameLimit; frame += frameStep) {
        const QImage picture = readPicture(series, static_cast<int>(frame));
        if (picture.isNull()) {
            std::fputs("ThumbnailScanner - Could not read frame\n", stderr);
            return;
        }
        // A read can hang on a dying disk for longer than the program waits for it; to make a pixmap would then abort.
        if (!QCoreApplication::instance() || QCoreApplication::closingDown())
            return;
        const auto scaled = [&](int rows) { return scaledTo(thumbnailSize(display, picture.size(), rows), picture); };
        small.append(new QPixmap(QPixmap::fromImage(scaled(kSmallRows)))); // owned by the receiver of gotThumbs
        large.append(new QPixmap(QPixmap::fromImage(scaled(kLargeRows)))); // likewise
        large.last()->setDevicePixelRatio(2.0);
        if (frameStep == 0)
            return; // otherwise the same picture again, for ever
    }
}
