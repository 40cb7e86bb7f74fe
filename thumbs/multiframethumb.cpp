#include "thumbs/multiframethumb.h"

#include <QBrush>
#include <QColor>
#include <QConicalGradient>
#include <QLatin1String>
#include <QMouseEvent>
#include <QPainter>
#include <QPalette>
#include <QPen>
#include <QPixmapCache>
#include <QPoint>
#include <QRect>
#include <QString>
#include <QTimerEvent>

#include <QtMath>

#include <algorithm>

namespace {
constexpr int kFrameInterval = 1000; // milliseconds
constexpr int kSpinInterval = 50;    // milliseconds
constexpr int kSpinStep = 30;        // degrees; twelve steps a turn

constexpr int kNothingDrawn = 10000; // instead of a height: larger than any window, so that nothing shrinks to it

// The ring is designed in a square of 200 by 200 around the origin.
constexpr qreal kDesignSize = 200.0;
constexpr QRect kRingBounds(-85, -85, 170, 170);
constexpr int kRingWidth = 10;
constexpr int kFullCircle = 360 * 16; // arcs are measured in sixteenths of a degree
} // namespace

MultiFrameThumb::MultiFrameThumb(QWidget *parent)
    : QWidget(parent)
{
}

QSize MultiFrameThumb::minimumSizeHint() const
{
    return {64, 64};
}

void MultiFrameThumb::SetThumbs(QVector<QPixmap *> &x1, QVector<QPixmap *> &x2)
{
    stopTimer(spinTimerId);
    busy = false;
    // A running timer is kept: the first frame of the new series then lasts for the rest of the timer's second.
    if (frameTimerId == -1) {
        frameTimerId = startTimer(kFrameInterval, Qt::CoarseTimer);
    }
    thumbs1x = x1;
    thumbs2x = x2;
    frameIndex = 0;
    update();
}

void MultiFrameThumb::ClearThumbs()
{
    stopTimer(frameTimerId);
    thumbs1x.clear();
    thumbs2x.clear();
    frameIndex = -1;
    update();
}

void MultiFrameThumb::SetBusy(bool b)
{
    busy = b;
    if (b) {
        stopTimer(frameTimerId);
        if (spinTimerId == -1) {
            spinTimerId = startTimer(kSpinInterval, Qt::CoarseTimer);
        }
    }
    update();
}

void MultiFrameThumb::timerEvent(QTimerEvent *event)
{
    if (event->timerId() == frameTimerId) {
        // A click may have started the timer without a series: the index then stays at 0.
        ++frameIndex;
        if (frameIndex >= thumbs1x.size()) {
            frameIndex = 0;
        }
        update();
    }
    if (event->timerId() == spinTimerId) {
        spinAngle = (spinAngle + kSpinStep) % 360;
        update();
    }
}

void MultiFrameThumb::mousePressEvent(QMouseEvent *event)
{
    togglePause();
    event->accept();
}

void MultiFrameThumb::togglePause()
{
    // While busy a click starts the timer of a show that is not visible yet; the next SetThumbs keeps it.
    if (frameTimerId >= 0) {
        stopTimer(frameTimerId);
    } else {
        frameTimerId = startTimer(kFrameInterval, Qt::CoarseTimer);
    }
}

void MultiFrameThumb::paintEvent(QPaintEvent * /*event*/)
{
    if (busy) {
        paintBusyRing();
    } else {
        shrinkToHeight(paintFrame()); // when its painter has ended
    }
}

/// The ratio of the screen the widget is on. The painter's device is the widget, so this holds also while it is
/// rendered into a picture of another ratio. A fractional ratio counts as the whole number below it.
int MultiFrameThumb::pixelRatio() const
{
    return metric(QPaintDevice::PdmDevicePixelRatio);
}

int MultiFrameThumb::paintFrame()
{
    QPainter painter(this);
    const QPixmap *frame = chooseFrame();
    // A pixmap without pixels counts as nothing: its height of 0 would shrink the widget to nothing for good.
    if (frame == nullptr || frame->isNull()) {
        return kNothingDrawn;
    }
    // Pixels are compared with the widget's size in units, whatever the frame's own ratio.
    if (frame->width() <= width() && frame->height() <= height()) {
        painter.drawPixmap(placeOf(frame->size()), *frame);
        return frame->height();
    }
    const QSize fitting = frame->size().scaled(size(), Qt::KeepAspectRatio).expandedTo({1, 1});
    const QPixmap copy = scaledTo(fitting, *frame);
    // Pixel for pixel.
    const QRectF place(placeOf(fitting), QSizeF(copy.size()) / devicePixelRatioF());
    painter.drawPixmap(place, copy, QRectF(copy.rect()));
    return fitting.height();
}

/// The frame that suits the screen; null when paused, without a series, and where neither density has the frame.
/// `highDensity` says which density was chosen; it stays as it was when none was.
const QPixmap *MultiFrameThumb::chooseFrame()
{
    if (frameTimerId == -1) {
        return nullptr;
    }
    // value() is null past either end: before the first frame, and where a series is empty or shorter than the other.
    const QPixmap *standard = thumbs1x.value(frameIndex);
    const QPixmap *dense = thumbs2x.value(frameIndex);
    if (dense != nullptr && pixelRatio() >= 2) {
        highDensity = true;
        return dense;
    }
    if (standard != nullptr) {
        highDensity = false;
    }
    return standard;
}

/// A copy of `frame`, scaled to the whole pixels that `fitting`, in units, has on this screen: as sharp as the screen.
QPixmap MultiFrameThumb::scaledTo(const QSize &fitting, const QPixmap &frame) const
{
    const auto wholePixels = [ratio = devicePixelRatioF()](int length) {
        constexpr qreal kRounding = 0.001; // A product that should be whole may be a little less.
        return std::max(1, qFloor(length * ratio + kRounding));
    };
    const QSize pixels(wholePixels(fitting.width()), wholePixels(fitting.height()));
    return frame.scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QPointF MultiFrameThumb::placeOf(const QSize &picture) const
{
    if (alignment != Qt::AlignCenter) {
        return {0, 0};
    }
    // Each length is halved and truncated on its own, so the frame lies on whole units.
    return QPoint(width() / 2 - picture.width() / 2, height() / 2 - picture.height() / 2);
}

/// Shrinks the widget to the picture's height, for good: the widget never grows back by itself.
void MultiFrameThumb::shrinkToHeight(int limit)
{
    if (height() > limit) {
        setFixedHeight(limit); // which tells the layout
    }
}

void MultiFrameThumb::paintBusyRing()
{
    highDensity = pixelRatio() > 1;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    const int size = std::min(width() / 4, height() / 4);
    if (size <= 0) {
        return;
    }
    const QString key = QStringLiteral("%1:%2:%3:%4:%5")
                            .arg(QLatin1String(metaObject()->className()))
                            .arg(width())
                            .arg(height())
                            .arg(spinAngle)
                            .arg(highDensity ? 1 : 0);
    QPixmap picture;
    if (!QPixmapCache::find(key, &picture)) {
        picture = generatePixmap(highDensity ? 2 * size : size);
        QPixmapCache::insert(key, picture);
    }
    painter.translate(QPoint(width() / 2 - size / 2, height() / 2 - size / 2));
    painter.drawPixmap(QRect(0, 0, size, size), picture);
}

/// Draws the ring at its current angle, on a transparent square of `size` pixels.
QPixmap MultiFrameThumb::generatePixmap(int size)
{
    QPixmap picture(size, size);
    picture.fill(QColor(255, 255, 255, 0));

    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(QPoint(size / 2, size / 2));
    painter.scale(size / kDesignSize, size / kDesignSize);

    QColor colour = palette().brush(QPalette::Current, QPalette::WindowText).color();
    // Gradients run counter-clockwise: a start angle that falls turns the head clockwise.
    QConicalGradient gradient(0, 0, -spinAngle);
    gradient.setColorAt(0.0, colour);
    colour.setAlpha(0);
    gradient.setColorAt(0.8, colour);
    colour.setAlpha(255);
    gradient.setColorAt(1.0, colour);

    painter.setPen(QPen(QBrush(gradient), kRingWidth));
    painter.drawArc(kRingBounds, 0, kFullCircle);
    return picture;
}

void MultiFrameThumb::stopTimer(int &id)
{
    if (id >= 0) {
        killTimer(id);
    }
    id = -1;
}
