#include "tests/thumbs/thumbrendering.h"
#include "thumbs/multiframethumb.h"

#include <QApplication>
#include <QScreen>
#include <QTest>

/// The widget on a screen of device pixel ratio 2, rendered and as that screen shows it.
class tst_MultiFrameThumbDenseScreen : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void frame_isTheDenseOne();
    void frame_isTheStandardOne_whereTheDenseOneIsNull();
    void frame_isTheDenseOne_whereTheStandardOneIsNull();
    void frame_leavesHighDensity_whenBothAreNull();
    void frame_isDrawnDotForDot_whereItsPixelsFit();
    void frame_fillsTheWidget_whenItWasScaled();
    void scaledFrame_hasEveryPixelOfItsPlace_onThisScreen();
    void frame_fixesTheHeight_atItsPixels();
    void frame_isCentredByItsPixels();
    void series_areNeverReadPastTheirEnds_data();
    void series_areNeverReadPastTheirEnds();

    void ring_isMadeAtTwiceTheSize_inTheSamePlace();
    void ring_setsHighDensity_withoutRoomToo();
    void cache_isAsked_forTheDensePicture();
    void cache_keepsPicturesOfRatio1();

    void grab_holdsTheDenseFrame();
    void screen_keepsThePausedFrame_untilTheNextPaint();
    void screen_keepsThePausedFrame_untilAResize();
};

namespace {
const QColor kBackground(10, 20, 30);

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

void tst_MultiFrameThumbDenseScreen::initTestCase()
{
    QCOMPARE(QApplication::primaryScreen()->devicePixelRatio(), 2.0);
}

void tst_MultiFrameThumbDenseScreen::init()
{
    QPixmapCache::clear();
}

void tst_MultiFrameThumbDenseScreen::frame_isTheDenseOne()
{
    Series x1;
    x1.add({100, 80}, Qt::red);
    Series x2;
    x2.add({100, 80}, Qt::blue);
    MultiFrameThumb widget(nullptr);
    widget.resize(100, 80);
    widget.SetThumbs(x1.pointers, x2.pointers);
    QVERIFY(showsOnly(rendered(widget), QRect(0, 0, 200, 160), Qt::blue));
    QCOMPARE(widget.highDensity, true);
}

void tst_MultiFrameThumbDenseScreen::frame_isTheStandardOne_whereTheDenseOneIsNull()
{
    Series x1;
    x1.add({100, 80}, Qt::red);
    Series x2;
    x2.addNull();
    MultiFrameThumb widget(nullptr);
    widget.resize(100, 80);
    widget.SetThumbs(x1.pointers, x2.pointers);
    widget.highDensity = true;
    QVERIFY(showsOnly(rendered(widget), QRect(0, 0, 200, 160), Qt::red));
    QCOMPARE(widget.highDensity, false);
}

void tst_MultiFrameThumbDenseScreen::frame_isTheDenseOne_whereTheStandardOneIsNull()
{
    Series x1;
    x1.addNull();
    Series x2;
    x2.add({100, 80}, Qt::blue);
    MultiFrameThumb widget(nullptr);
    widget.resize(100, 80);
    widget.SetThumbs(x1.pointers, x2.pointers);
    QVERIFY(showsOnly(rendered(widget), QRect(0, 0, 200, 160), Qt::blue));
    QCOMPARE(widget.highDensity, true);
}

void tst_MultiFrameThumbDenseScreen::frame_leavesHighDensity_whenBothAreNull()
{
    Series nulls;
    nulls.addNull();
    MultiFrameThumb widget(nullptr);
    widget.resize(100, 80);
    widget.SetThumbs(nulls.pointers, nulls.pointers);
    for (const bool before : {false, true}) {
        widget.highDensity = before;
        QVERIFY(paintedRect(rendered(widget)).isEmpty());
        QCOMPARE(widget.highDensity, before);
    }
}

void tst_MultiFrameThumbDenseScreen::frame_isDrawnDotForDot_whereItsPixelsFit()
{
    Series x1;
    x1.add({80, 60}, Qt::red);
    Series x2;
    x2.add({160, 120}, Qt::blue, 2);
    MultiFrameThumb widget(nullptr);
    widget.resize(160, 120);
    widget.SetThumbs(x1.pointers, x2.pointers);
    // 160 x 120 dots are a quarter of this widget: its own ratio of 2 makes the frame 80 x 60 units large.
    QVERIFY(showsOnly(rendered(widget), QRect(0, 0, 160, 120), Qt::blue));
}

void tst_MultiFrameThumbDenseScreen::frame_fillsTheWidget_whenItWasScaled()
{
    Series x1;
    x1.add({320, 240}, Qt::red);
    Series x2;
    x2.add({640, 480}, Qt::blue, 2);
    MultiFrameThumb widget(nullptr);
    widget.resize(320, 260);
    widget.SetThumbs(x1.pointers, x2.pointers);
    QVERIFY(showsOnly(rendered(widget), QRect(0, 0, 640, 480), Qt::blue));
    QCOMPARE(widget.height(), 240);
}

// 640 x 480 dots in a place of 320 x 240 units, which has as many dots: not one is lost.
void tst_MultiFrameThumbDenseScreen::scaledFrame_hasEveryPixelOfItsPlace_onThisScreen()
{
    Series series;
    series.add(manyColoured({640, 480}))->setDevicePixelRatio(2);
    MultiFrameThumb widget(nullptr);
    widget.resize(320, 260);
    widget.SetThumbs(series.pointers, series.pointers);
    QImage image = rendered(widget);
    image.setDevicePixelRatio(1);
    QCOMPARE(paintedRect(image), QRect(0, 0, 640, 480));
    QCOMPARE(coloursIn(image, QRect(0, 0, 640, 480)), 640 * 480);
    QImage source = series.pointers[0]->toImage();
    source.setDevicePixelRatio(1);
    QCOMPARE(image.copy(0, 0, 640, 480).convertToFormat(QImage::Format_RGB32), source);
    QCOMPARE(widget.height(), 240);
}

void tst_MultiFrameThumbDenseScreen::frame_fixesTheHeight_atItsPixels()
{
    Series x1;
    x1.add({80, 60}, Qt::red);
    Series x2;
    x2.add({160, 120}, Qt::blue, 2);
    MultiFrameThumb widget(nullptr);
    widget.resize(200, 300);
    widget.SetThumbs(x1.pointers, x2.pointers);
    rendered(widget);
    QCOMPARE(widget.height(), 120);
    QCOMPARE(widget.minimumHeight(), 120);
    QCOMPARE(widget.maximumHeight(), 120);
}

void tst_MultiFrameThumbDenseScreen::frame_isCentredByItsPixels()
{
    Series x1;
    x1.add({40, 40}, Qt::red);
    Series x2;
    x2.add({80, 80}, Qt::blue, 2);
    MultiFrameThumb widget(nullptr);
    widget.resize(100, 80);
    widget.alignment = Qt::AlignCenter;
    widget.SetThumbs(x1.pointers, x2.pointers);
    // At 100 / 2 - 80 / 2 units, which are 20 dots, with 80 dots a side.
    QVERIFY(showsOnly(rendered(widget), QRect(20, 0, 80, 80), Qt::blue));
}

void tst_MultiFrameThumbDenseScreen::series_areNeverReadPastTheirEnds_data()
{
    QTest::addColumn<int>("length1x");
    QTest::addColumn<int>("length2x");
    QTest::newRow("empty") << 0 << 0;
    QTest::newRow("fewer dense frames") << 3 << 1;
    QTest::newRow("fewer standard frames") << 1 << 3;
    QTest::newRow("no dense frames") << 2 << 0;
    QTest::newRow("no standard frames") << 0 << 2;
}

void tst_MultiFrameThumbDenseScreen::series_areNeverReadPastTheirEnds()
{
    QFETCH(int, length1x);
    QFETCH(int, length2x);
    Series x1;
    for (int i = 0; i < length1x; ++i) {
        x1.add({100, 80}, Qt::red);
    }
    Series x2;
    for (int i = 0; i < length2x; ++i) {
        x2.add({100, 80}, Qt::blue);
    }
    MultiFrameThumb widget(nullptr);
    widget.resize(100, 80);
    widget.SetThumbs(x1.pointers, x2.pointers);
    for (int i = 0; i < 4; ++i) {
        const bool hasDense = widget.frameIndex < length2x;
        const bool hasStandard = widget.frameIndex < length1x;
        const QColor expected = hasDense ? Qt::blue : hasStandard ? Qt::red : Qt::transparent;
        QCOMPARE(rendered(widget).pixelColor(0, 0), expected);
        tick(widget, widget.frameTimerId);
        QVERIFY(widget.frameIndex == 0 || widget.frameIndex < length1x);
    }
}

void tst_MultiFrameThumbDenseScreen::ring_isMadeAtTwiceTheSize_inTheSamePlace()
{
    MultiFrameThumb widget(nullptr);
    widget.resize(320, 180);
    widget.SetBusy(true);
    tick(widget, widget.spinTimerId);
    QImage image = rendered(widget);
    QCOMPARE(widget.highDensity, true);
    QPixmap picture;
    QVERIFY(cached("MultiFrameThumb:320:180:30:1", &picture));
    QVERIFY(!cached("MultiFrameThumb:320:180:30:0"));
    QCOMPARE(picture.size(), QSize(90, 90));

    // The indicator is 45 units a side at (160 - 22, 90 - 22), and the picture lies there dot for dot.
    const QRect place(276, 136, 90, 90);
    QVERIFY(place.contains(paintedRect(image)));
    image.setDevicePixelRatio(1);
    QCOMPARE(image.copy(place), picture.toImage().convertToFormat(image.format()));
}

void tst_MultiFrameThumbDenseScreen::ring_setsHighDensity_withoutRoomToo()
{
    MultiFrameThumb widget(nullptr);
    widget.resize(3, 3);
    widget.SetBusy(true);
    QVERIFY(paintedRect(rendered(widget)).isEmpty());
    QCOMPARE(widget.highDensity, true);
}

void tst_MultiFrameThumbDenseScreen::cache_isAsked_forTheDensePicture()
{
    QPixmap standard(15, 15);
    standard.fill(Qt::blue);
    QPixmap dense(30, 30);
    dense.fill(Qt::green);
    QPixmapCache::insert("MultiFrameThumb:100:60:0:0", standard);
    QPixmapCache::insert("MultiFrameThumb:100:60:0:1", dense);
    MultiFrameThumb widget(nullptr);
    widget.resize(100, 60);
    widget.SetBusy(true);
    QVERIFY(showsOnly(rendered(widget), QRect(86, 46, 30, 30), Qt::green));
}

void tst_MultiFrameThumbDenseScreen::cache_keepsPicturesOfRatio1()
{
    MultiFrameThumb widget(nullptr);
    widget.resize(100, 60);
    widget.SetBusy(true);
    rendered(widget);
    QPixmap picture;
    QVERIFY(cached("MultiFrameThumb:100:60:0:1", &picture));
    QCOMPARE(picture.devicePixelRatioF(), 1.0);
}

void tst_MultiFrameThumbDenseScreen::grab_holdsTheDenseFrame()
{
    Series x1;
    x1.add({320, 240}, Qt::red);
    Series x2;
    x2.add({640, 480}, Qt::blue, 2);
    MultiFrameThumb widget(nullptr);
    setBackground(widget);
    widget.resize(160, 200);
    widget.SetThumbs(x1.pointers, x2.pointers);
    const QImage image = widget.grab().toImage();
    QCOMPARE(image.size(), QSize(320, 400));
    QCOMPARE(image.pixelColor(319, 239), QColor(Qt::blue));
    QCOMPARE(image.pixelColor(319, 240), kBackground);
    QCOMPARE(widget.height(), 120);
}

void tst_MultiFrameThumbDenseScreen::screen_keepsThePausedFrame_untilTheNextPaint()
{
    Series series;
    series.add({160, 120}, Qt::red);
    MultiFrameThumb widget(nullptr);
    setBackground(widget);
    widget.resize(160, 120);
    widget.SetThumbs(series.pointers, series.pointers);
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
}

void tst_MultiFrameThumbDenseScreen::screen_keepsThePausedFrame_untilAResize()
{
    Series series;
    series.add({160, 120}, Qt::red);
    MultiFrameThumb widget(nullptr);
    setBackground(widget);
    widget.resize(160, 120);
    widget.SetThumbs(series.pointers, series.pointers);
    widget.show();
    QVERIFY(QTest::qWaitForWindowExposed(&widget));
    QTRY_COMPARE(colourOnScreen(widget), QColor(Qt::red));
    QTest::mouseClick(&widget, Qt::LeftButton);
    widget.resize(170, 120);
    QTRY_COMPARE(colourOnScreen(widget), kBackground);
}

int main(int argc, char **argv)
{
    qputenv("QT_SCALE_FACTOR", "2"); // read once, when the application is made
    QApplication application(argc, argv);
    tst_MultiFrameThumbDenseScreen test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_multiframethumb_densescreen.moc"
