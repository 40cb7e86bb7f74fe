// The widget on screens of several densities: CTest runs this test once for each, for a process has but one.

#include "tests/thumbs/thumbrendering.h"
#include "thumbs/multiframethumb.h"

#include <QApplication>
#include <QScreen>
#include <QTest>

#include <QtMath>

namespace {
const QColor kBackground(10, 20, 30);

/// A frame of `size` for standard screens, and the same for dense ones, of twice as many pixels and marked so.
ShownThumb shownFrame(const QSize &widget, const QSize &size)
{
    return {widget, solidSeries(size, {Qt::red}), solidSeries(2 * size, {Qt::blue}, 2)};
}

/// The colour on screen at the top left of `widget`, without painting anything for it.
QColor colourOnScreen(const QWidget &widget)
{
    return QApplication::primaryScreen()->grabWindow(widget.winId()).toImage().pixelColor(5, 5);
}

void setBackground(QWidget &widget)
{
    QPalette palette = widget.palette();
    palette.setColor(QPalette::Window, kBackground);
    widget.setPalette(palette);
}
} // namespace

/// What is painted on a screen of this process's ratio, and as that screen shows it. A fractional ratio counts as the
/// whole number below it: there are pictures for 1, and dense ones for all from 2 on. Standard frames are red here, and
/// dense ones blue.
class TestMultiFrameThumbScreens : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_ratio = qEnvironmentVariable("QT_SCALE_FACTOR", "1").toDouble();
        QCOMPARE(QApplication::primaryScreen()->devicePixelRatio(), m_ratio);
    }

    void init() { QPixmapCache::clear(); }

    void frame_isTheOneForTheScreen()
    {
        ShownThumb widget({100, 80}, solidSeries({100, 80}, {Qt::red}), solidSeries({100, 80}, {Qt::blue}));
        widget.highDensity = !isDense();
        QVERIFY(showsOnly(rendered(widget), dots({0, 0, 100, 80}), colour()));
        QCOMPARE(widget.highDensity, isDense());
    }

    void frame_isTheStandardOne_whereTheDenseOneIsNull()
    {
        ShownThumb widget({100, 80}, solidSeries({100, 80}, {Qt::red}), nullSeries());
        widget.highDensity = true;
        QVERIFY(showsOnly(rendered(widget), dots({0, 0, 100, 80}), Qt::red));
        QCOMPARE(widget.highDensity, false);
    }

    void frame_isADenseOneAlone_onADenseScreenOnly()
    {
        ShownThumb widget({100, 80}, nullSeries(), solidSeries({100, 80}, {Qt::blue}));
        for (const bool before : {false, true}) {
            widget.highDensity = before;
            QVERIFY(showsOnly(rendered(widget), isDense() ? dots({0, 0, 100, 80}) : QRect(), Qt::blue));
            QCOMPARE(widget.highDensity, isDense() || before);
        }
    }

    void frame_leavesHighDensity_whereNothingIsPainted()
    {
        for (const bool before : {false, true}) {
            ShownThumb widget({100, 80}, nullSeries());
            widget.highDensity = before;
            QVERIFY(paintedRect(rendered(widget)).isEmpty());
            QCOMPARE(widget.highDensity, before);
            widget.ClearThumbs();
            QVERIFY(paintedRect(rendered(widget)).isEmpty());
            QCOMPARE(widget.highDensity, before);
        }
    }

    void frame_isDrawnDotForDot_whereItsPixelsFit()
    {
        // A dense frame of 160 x 120 dots is no larger than a standard one of 80 x 60: its own ratio says so.
        ShownThumb widget = shownFrame({160, 120}, {80, 60});
        QVERIFY(showsOnly(rendered(widget), dots({0, 0, 80, 60}), colour()));
    }

    void frame_fillsTheWidget_whenItWasScaled()
    {
        ShownThumb widget = shownFrame({320, 260}, {320, 240});
        QVERIFY(showsOnly(rendered(widget), dots({0, 0, 320, 240}), colour()));
        QCOMPARE(widget.height(), 240);
    }

    // As many dots as its place in the widget has on this screen, each once, and none that lies partly outside of it.
    void scaledFrame_hasEveryPixelOfItsPlace_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("even") << QSize(60, 44);
        QTest::newRow("odd") << QSize(61, 45);
    }
    void scaledFrame_hasEveryPixelOfItsPlace()
    {
        QFETCH(QSize, size);
        const QSize pixels(qFloor(size.width() * m_ratio), qFloor(size.height() * m_ratio));
        Series series;
        const QPixmap *frame = series.add(slopes(4 * size));
        series.pointers[0]->setDevicePixelRatio(2);
        MultiFrameThumb widget(nullptr);
        widget.resize(size);
        widget.SetThumbs(series.pointers, series.pointers);
        QImage image = rendered(widget);
        image.setDevicePixelRatio(1);
        QCOMPARE(paintedRect(image), QRect({0, 0}, pixels));
        image = image.copy(paintedRect(image));
        QCOMPARE(coloursIn(image, image.rect()), pixels.width() * pixels.height());
        QImage expected = frame->scaled(pixels, Qt::IgnoreAspectRatio, Qt::SmoothTransformation).toImage();
        expected.setDevicePixelRatio(1);
        QCOMPARE(image.convertToFormat(QImage::Format_RGB32), expected.convertToFormat(QImage::Format_RGB32));
        QCOMPARE(widget.height(), size.height());
    }

    void frame_fixesTheHeight_atItsPixels()
    {
        ShownThumb widget = shownFrame({200, 300}, {80, 60});
        rendered(widget);
        const int pixels = isDense() ? 120 : 60;
        QCOMPARE(widget.height(), pixels);
        QCOMPARE(widget.minimumHeight(), pixels);
        QCOMPARE(widget.maximumHeight(), pixels);
    }

    void frame_isCentredByItsPixels()
    {
        ShownThumb widget = shownFrame({100, 80}, {40, 40});
        widget.alignment = Qt::AlignCenter;
        // A dense frame lies at 100 / 2 - 80 / 2 units, a standard one at 100 / 2 - 40 / 2, and both take 40 units a
        // side.
        const QPoint at = isDense() ? QPoint(10, 0) : QPoint(30, 20);
        QVERIFY(showsOnly(rendered(widget), dots({at, QSize(40, 40)}), colour()));
    }

    void series_areNeverReadPastTheirEnds_data()
    {
        QTest::addColumn<int>("length1x");
        QTest::addColumn<int>("length2x");
        QTest::newRow("empty") << 0 << 0;
        QTest::newRow("fewer dense frames") << 3 << 1;
        QTest::newRow("fewer standard frames") << 1 << 3;
        QTest::newRow("no dense frames") << 2 << 0;
        QTest::newRow("no standard frames") << 0 << 2;
    }
    void series_areNeverReadPastTheirEnds()
    {
        QFETCH(int, length1x);
        QFETCH(int, length2x);
        ShownThumb widget({100, 80}, solidSeries({100, 80}, QVector<QColor>(length1x, Qt::red)),
                          solidSeries({100, 80}, QVector<QColor>(length2x, Qt::blue)));
        for (int i = 0; i < 4; ++i) {
            const bool hasDense = isDense() && widget.frameIndex < length2x;
            const bool hasStandard = widget.frameIndex < length1x;
            const QColor expected = hasDense ? Qt::blue : hasStandard ? Qt::red : Qt::transparent;
            QCOMPARE(rendered(widget).pixelColor(0, 0), expected);
            tick(widget, widget.frameTimerId);
            QVERIFY(widget.frameIndex == 0 || widget.frameIndex < length1x);
        }
    }

    void ring_isMadeAtItsOwnSizeOrTwice_inTheSamePlace()
    {
        BusyThumb widget({320, 180});
        widget.highDensity = !isDense();
        tick(widget, widget.spinTimerId);
        QImage image = rendered(widget);
        QCOMPARE(widget.highDensity, isDense());
        QPixmap picture;
        QVERIFY(cached(ringKey(320, 180, 30, isDense()), &picture));
        QVERIFY(!cached(ringKey(320, 180, 30, !isDense())));
        QCOMPARE(picture.size(), isDense() ? QSize(90, 90) : QSize(45, 45));

        // The indicator is 45 units a side at (160 - 22, 90 - 22).
        const QRect place = dots({138, 68, 45, 45});
        QVERIFY(place.contains(paintedRect(image)));
        if (place.size() == picture.size()) { // Then the picture lies there dot for dot.
            image.setDevicePixelRatio(1);
            QCOMPARE(image.copy(place), picture.toImage().convertToFormat(image.format()));
        }
    }

    void ring_setsHighDensity_withoutRoomToo()
    {
        BusyThumb widget({3, 3});
        widget.highDensity = !isDense();
        QVERIFY(paintedRect(rendered(widget)).isEmpty());
        QCOMPARE(widget.highDensity, isDense());
    }

    void ring_fillsItsPlace_whateverItsPixels()
    {
        QPixmap standard(44, 44);
        standard.fill(Qt::red);
        QPixmap dense(88, 88);
        dense.fill(Qt::blue);
        QPixmapCache::insert(ringKey(320, 176, 0, false), standard);
        QPixmapCache::insert(ringKey(320, 176, 0, true), dense);
        BusyThumb widget({320, 176});
        // 44 units a side at (160 - 22, 88 - 22).
        QVERIFY(showsOnly(rendered(widget), dots({138, 66, 44, 44}), colour()));
    }

    void cache_keepsPicturesOfRatio1()
    {
        BusyThumb widget({100, 60});
        rendered(widget);
        QPixmap picture;
        QVERIFY(cached(ringKey(100, 60, 0, isDense()), &picture));
        QCOMPARE(picture.size(), isDense() ? QSize(30, 30) : QSize(15, 15));
        QCOMPARE(picture.devicePixelRatioF(), 1.0);
    }

    void grab_holdsTheFrameForTheScreen()
    {
        ShownThumb widget = shownFrame({160, 200}, {320, 240});
        setBackground(widget);
        const QImage image = widget.grab().toImage();
        const QRect frame = dots({0, 0, 160, 120});
        QCOMPARE(image.size(), dots({0, 0, 160, 200}).size());
        QCOMPARE(image.pixelColor(frame.bottomRight()), colour());
        QCOMPARE(image.pixelColor(frame.bottomRight() + QPoint(0, 1)), kBackground);
        QCOMPARE(widget.height(), 120);
    }

    void screen_keepsThePausedFrame_untilTheNextPaint_orAResize()
    {
        ShownThumb widget({160, 120}, solidSeries({160, 120}, {Qt::red}));
        setBackground(widget);
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
        QTRY_COMPARE(colourOnScreen(widget), QColor(Qt::red));
        QTest::mouseClick(&widget, Qt::LeftButton);
        QTest::qWait(100);
        QCOMPARE(colourOnScreen(widget), QColor(Qt::red));
        widget.update();
        QTRY_COMPARE(colourOnScreen(widget), kBackground);
        // Resumed, but nothing is painted before the next frame's time has come.
        QTest::mouseClick(&widget, Qt::LeftButton);
        QTest::qWait(100);
        QCOMPARE(colourOnScreen(widget), kBackground);
        QTRY_COMPARE(colourOnScreen(widget), QColor(Qt::red));
        QTest::mouseClick(&widget, Qt::LeftButton);
        widget.resize(170, 120);
        QTRY_COMPARE(colourOnScreen(widget), kBackground);
    }

private:
    [[nodiscard]] bool isDense() const { return m_ratio >= 2; }
    [[nodiscard]] QColor colour() const { return isDense() ? Qt::blue : Qt::red; }
    // A place in the screen's dots, rounded outwards.
    [[nodiscard]] QRect dots(const QRect &place) const
    {
        return QRectF(place.topLeft() * m_ratio, QSizeF(place.size()) * m_ratio).toAlignedRect();
    }
    [[nodiscard]] QString ringKey(int width, int height, int angle, bool dense) const
    {
        return QString::asprintf("MultiFrameThumb:%d:%d:%d:%d", width, height, angle, dense ? 1 : 0);
    }

    qreal m_ratio = 1;
};

int main(int argc, char **argv)
{
    // The density is read once, when the application is made.
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    QApplication application(argc, argv);
    TestMultiFrameThumbScreens test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_multiframethumb_screens.moc"
