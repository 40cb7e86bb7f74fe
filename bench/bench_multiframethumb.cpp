// What one tick of the thumbnail widget's timers costs, painted into a picture and without a screen.

#include "thumbs/multiframethumb.h"

#include <QApplication>
#include <QImage>
#include <QPixmapCache>
#include <QTimerEvent>

#include <benchmark/benchmark.h>

namespace {
constexpr QSize kWidgetSize(320, 240);

void paint(MultiFrameThumb &widget, QImage &image)
{
    widget.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    benchmark::DoNotOptimize(image.constBits());
}

void tick(MultiFrameThumb &widget, int timer)
{
    QTimerEvent event(timer);
    QCoreApplication::sendEvent(&widget, &event);
}

/// One step of the ring. `state.range(0)`: whether its pictures are kept, as they are from the second turn on.
void busyTick(benchmark::State &state)
{
    MultiFrameThumb widget;
    widget.resize(kWidgetSize);
    QImage image(kWidgetSize, QImage::Format_ARGB32_Premultiplied);
    widget.SetBusy(true);
    QPixmapCache::clear();
    while (state.KeepRunning()) {
        if (state.range(0) == 0) {
            QPixmapCache::clear();
        }
        tick(widget, widget.spinTimerId);
        paint(widget, image);
    }
}
BENCHMARK(busyTick)->ArgName("kept")->Arg(0)->Arg(1);

/// One step of the show, with frames `state.range(0)` pixels wide. Frames wider than the widget are scaled each time.
void frameTick(benchmark::State &state)
{
    const int frameWidth = static_cast<int>(state.range(0));
    QPixmap first(frameWidth, frameWidth * 3 / 4);
    first.fill(Qt::red);
    QPixmap second(first.size());
    second.fill(Qt::blue);
    QVector<QPixmap *> series{&first, &second};

    MultiFrameThumb widget;
    widget.resize(kWidgetSize);
    QImage image(kWidgetSize, QImage::Format_ARGB32_Premultiplied);
    widget.SetThumbs(series, series);
    while (state.KeepRunning()) {
        tick(widget, widget.frameTimerId);
        paint(widget, image);
    }
}
BENCHMARK(frameTick)->ArgName("frame width")->Arg(320)->Arg(640)->UseRealTime(); // scaling may use threads
} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
