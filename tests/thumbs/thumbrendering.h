#pragma once

// Shared by the tests of the thumbnail widget: series that own their pixmaps, and rendering.

#include "thumbs/multiframethumb.h"

#include <QColor>
#include <QCoreApplication>
#include <QEvent>
#include <QImage>
#include <QPixmap>
#include <QPixmapCache>
#include <QRect>
#include <QSet>
#include <QTimerEvent>
#include <QVector>
#include <QWidget>

#include <memory>
#include <utility>
#include <vector>

constexpr QSize kFrame(80, 60);

/// Owns pixmaps and hands out pointers to them, as the widget's cache does.
class Series
{
public:
    QVector<QPixmap *> pointers;

    QPixmap *add(const QPixmap &pixmap)
    {
        owned.push_back(std::make_unique<QPixmap>(pixmap));
        pointers.append(owned.back().get());
        return owned.back().get();
    }
    QPixmap *add(QSize size, const QColor &colour, qreal ratio = 1)
    {
        QPixmap pixmap(size);
        pixmap.fill(colour);
        pixmap.setDevicePixelRatio(ratio);
        return add(pixmap);
    }
    void addNull() { pointers.append(nullptr); }

private:
    std::vector<std::unique_ptr<QPixmap>> owned;
};

/// Frames of `size`, each filled with its colour.
inline Series solidSeries(const QSize &size, const QVector<QColor> &colours, qreal ratio = 1)
{
    Series series;
    for (const QColor &colour : colours)
        series.add(size, colour, ratio);
    return series;
}

/// One frame that could not be read.
inline Series nullSeries()
{
    Series series;
    series.addNull();
    return series;
}

/// The widget at a size, and showing series that it owns here.
struct ShownThumb : MultiFrameThumb
{
    ShownThumb(const QSize &size, Series x1, Series x2)
        : standard(std::move(x1))
        , dense(std::move(x2))
    {
        resize(size);
        SetThumbs(standard.pointers, dense.pointers);
    }
    /// The same frames for every density.
    ShownThumb(const QSize &size, Series frames)
        : standard(std::move(frames))
    {
        resize(size);
        SetThumbs(standard.pointers, standard.pointers);
    }

    Series standard;
    Series dense;
};

/// The widget at a size, and busy.
struct BusyThumb : MultiFrameThumb
{
    explicit BusyThumb(const QSize &size)
    {
        resize(size);
        SetBusy(true);
    }
};

/// What `widget` itself paints, without the window's background, on a transparent picture of `ratio`. Which picture the
/// widget takes is a matter of its screen and not of this ratio.
inline QImage rendered(QWidget &widget, qreal ratio)
{
    QImage image(widget.size() * ratio, QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::transparent);
    widget.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

/// The same, on a picture of the screen's own ratio.
inline QImage rendered(QWidget &widget)
{
    return rendered(widget, widget.devicePixelRatioF());
}

/// The smallest rectangle, in the picture's own pixels, that holds everything painted; empty when nothing was.
inline QRect paintedRect(const QImage &image)
{
    QRect painted;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qAlpha(image.pixel(x, y)) != 0)
                painted |= QRect(x, y, 1, 1);
        }
    }
    return painted;
}

/// True when `image` is filled with `colour` inside `rect`, in the picture's own pixels, and transparent elsewhere.
inline bool showsOnly(const QImage &image, const QRect &rect, const QColor &colour)
{
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor expected = rect.contains(x, y) ? colour : QColor(Qt::transparent);
            if (image.pixelColor(x, y) != expected)
                return false;
        }
    }
    return true;
}

/// A picture of `size` that gets redder to the right and greener downwards: made smaller, to at most 200 pixels a side,
/// no two of its pixels have the same colour.
inline QPixmap slopes(const QSize &size)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x)
            image.setPixel(x, y, qRgb(255 * x / (size.width() - 1), 255 * y / (size.height() - 1), 0));
    }
    return QPixmap::fromImage(image);
}

/// How many colours `image` shows inside of `rect`, in the picture's own pixels.
inline int coloursIn(const QImage &image, const QRect &rect)
{
    QSet<QRgb> colours;
    for (int y = rect.top(); y <= rect.bottom(); ++y) {
        for (int x = rect.left(); x <= rect.right(); ++x)
            colours.insert(image.pixel(x, y));
    }
    return int(colours.size());
}

/// Lets the timer `id` fire on `widget` now.
inline void tick(QWidget &widget, int id)
{
    QTimerEvent event(id);
    QCoreApplication::sendEvent(&widget, &event);
}

inline bool cached(const QString &key, QPixmap *picture = nullptr)
{
    QPixmap found;
    const bool present = QPixmapCache::find(key, &found);
    if (picture != nullptr)
        *picture = found;
    return present;
}

/// Counts the events of one type that a widget receives.
class EventCounter : public QObject
{
public:
    EventCounter(QWidget &widget, QEvent::Type counted)
        : type(counted)
    {
        widget.installEventFilter(this);
    }

    int count = 0;

protected:
    bool eventFilter(QObject * /*watched*/, QEvent *event) override
    {
        count += event->type() == type ? 1 : 0;
        return false;
    }

private:
    QEvent::Type type;
};

/// Counts Qt's warnings while it lives, and passes them on.
class WarningCounter
{
public:
    WarningCounter()
    {
        warnings = 0;
        previous = qInstallMessageHandler(&WarningCounter::receive);
    }
    ~WarningCounter() { qInstallMessageHandler(previous); }
    WarningCounter(const WarningCounter &) = delete;
    WarningCounter &operator=(const WarningCounter &) = delete;

    [[nodiscard]] static int count() { return warnings; }

private:
    static void receive(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        warnings += type == QtWarningMsg || type == QtCriticalMsg ? 1 : 0;
        if (previous != nullptr)
            previous(type, context, text);
    }

    inline static int warnings = 0;
    inline static QtMessageHandler previous = nullptr;
};
