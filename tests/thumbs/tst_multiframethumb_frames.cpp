#include "tests/support/testclass.h"
#include "tests/thumbs/thumbrendering.h"
#include "thumbs/multiframethumb.h"

#include <QPainter>
#include <QVBoxLayout>

namespace {
/// A picture in which no two neighbouring pixels are alike, so that scaling and shifting both show.
QPixmap pattern(int width, int height)
{
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            image.setPixelColor(x, y, QColor((x * 37) % 256, (y * 59) % 256, (x * y) % 256));
    }
    return QPixmap::fromImage(image);
}

/// `pixmap` drawn at `at` on an otherwise transparent picture of `size`.
QImage expectation(const QSize &size, const QPoint &at, const QPixmap &pixmap)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter(&image).drawPixmap(at, pixmap);
    return image;
}

bool heightIsFixed(const QWidget &widget)
{
    return widget.minimumHeight() == widget.maximumHeight();
}
} // namespace

/// Which frame is painted, where, how large, and what that does to the widget's height.
class TestMultiFrameThumbFrames : public QObject
{
    Q_OBJECT

private slots:
    void paint_takesTheStandardFrame_intoADensePictureToo()
    {
        ShownThumb widget({100, 80}, solidSeries({100, 80}, {Qt::red}), solidSeries({200, 160}, {Qt::blue}, 2));
        QVERIFY(showsOnly(rendered(widget, 2), QRect(0, 0, 200, 160), Qt::red));
        QCOMPARE(widget.highDensity, false);
    }

    void paint_drawsTheFrameItself_whereItFits()
    {
        Series series;
        const QPixmap *frame = series.add(pattern(120, 90));
        ShownThumb widget({160, 90}, std::move(series));
        QCOMPARE(rendered(widget), expectation({160, 90}, {0, 0}, *frame));
        QVERIFY(!heightIsFixed(widget)); // No room was taken away.
    }

    void paint_scalesSmoothly_whereThePixelsDoNotFit_data()
    {
        QTest::addColumn<QSize>("frameSize");
        QTest::addColumn<QSize>("widgetSize");
        QTest::addColumn<QSize>("drawnSize");
        QTest::newRow("too wide") << QSize(320, 240) << QSize(200, 400) << QSize(200, 150);
        QTest::newRow("too high") << QSize(320, 240) << QSize(400, 120) << QSize(160, 120);
        QTest::newRow("both") << QSize(320, 240) << QSize(100, 90) << QSize(100, 75);
        QTest::newRow("too wide by one") << QSize(201, 100) << QSize(200, 100) << QSize(200, 99);
        QTest::newRow("too high by one") << QSize(200, 101) << QSize(200, 100) << QSize(198, 100);
    }
    void paint_scalesSmoothly_whereThePixelsDoNotFit()
    {
        QFETCH(QSize, frameSize);
        QFETCH(QSize, widgetSize);
        QFETCH(QSize, drawnSize);
        Series series;
        const QPixmap *frame = series.add(pattern(frameSize.width(), frameSize.height()));
        const QPixmap smooth = frame->scaled(drawnSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        const QPixmap fast = frame->scaled(drawnSize, Qt::IgnoreAspectRatio, Qt::FastTransformation);
        ShownThumb widget(widgetSize, std::move(series));
        const QImage image = rendered(widget);
        QCOMPARE(paintedRect(image), QRect(QPoint(0, 0), drawnSize));
        QCOMPARE(image, expectation(widgetSize, {0, 0}, smooth));
        QVERIFY(image != expectation(widgetSize, {0, 0}, fast));
    }

    void paint_scalesAnew_onEachPaint()
    {
        Series series;
        QPixmap *frame = series.add({160, 120}, Qt::red);
        ShownThumb widget({80, 60}, std::move(series));
        QVERIFY(showsOnly(rendered(widget), QRect(0, 0, 80, 60), Qt::red));
        frame->fill(Qt::blue);
        QVERIFY(showsOnly(rendered(widget), QRect(0, 0, 80, 60), Qt::blue));
    }

    void paint_drawsAtTheTopLeft_unlessCentred_data()
    {
        QTest::addColumn<int>("alignment");
        QTest::addColumn<QSize>("frameSize");
        QTest::addColumn<QPoint>("at");
        QTest::newRow("none") << 0 << QSize(50, 51) << QPoint(0, 0);
        QTest::newRow("centred") << 132 << QSize(50, 51) << QPoint(75, 25);
        // 201 / 2 - 49 / 2 is 100 - 24, although 152 / 2 would be 76 as well; 101 / 2 - 50 / 2 is 25 and not 25.5.
        QTest::newRow("centred, odd and even") << 132 << QSize(49, 50) << QPoint(76, 25);
        // 201 / 2 - 200 / 2 is 0, and 101 / 2 - 99 / 2 is 1.
        QTest::newRow("centred, nearly as large") << 132 << QSize(200, 99) << QPoint(0, 1);
        QTest::newRow("horizontally centred only") << int(Qt::AlignHCenter) << QSize(50, 51) << QPoint(0, 0);
        QTest::newRow("at the bottom right") << int(Qt::AlignRight | Qt::AlignBottom) << QSize(50, 51) << QPoint(0, 0);
        QTest::newRow("centred and more") << int(Qt::AlignCenter | Qt::AlignLeft) << QSize(50, 51) << QPoint(0, 0);
    }
    void paint_drawsAtTheTopLeft_unlessCentred()
    {
        QFETCH(int, alignment);
        QFETCH(QSize, frameSize);
        QFETCH(QPoint, at);
        ShownThumb widget({201, 101}, solidSeries(frameSize, {Qt::red}));
        widget.alignment = alignment;
        QVERIFY(showsOnly(rendered(widget), QRect(at, frameSize), Qt::red));
    }

    void paint_centresTheScaledCopy()
    {
        ShownThumb widget({120, 80}, solidSeries({200, 200}, {Qt::red}));
        widget.alignment = Qt::AlignCenter;
        QVERIFY(showsOnly(rendered(widget), QRect(20, 0, 80, 80), Qt::red));
    }

    void paint_halvesEachLength_onItsOwn()
    {
        ShownThumb widget({120, 80}, solidSeries({81, 41}, {Qt::red}));
        widget.alignment = Qt::AlignCenter;
        QVERIFY(showsOnly(rendered(widget), QRect(60 - 40, 40 - 20, 81, 41), Qt::red));
    }

    void paint_fixesTheHeight_atThatOfALowerFrame()
    {
        ShownThumb widget({200, 400}, solidSeries({320, 240}, {Qt::red}));
        QVERIFY(showsOnly(rendered(widget), QRect(0, 0, 200, 150), Qt::red));
        QCOMPARE(widget.size(), QSize(200, 150));
        QCOMPARE(widget.minimumHeight(), 150);
        QCOMPARE(widget.maximumHeight(), 150);
        QVERIFY(showsOnly(rendered(widget), QRect(0, 0, 200, 150), Qt::red));
    }

    void paint_keepsTheHeight_whenAHigherFrameFollows()
    {
        Series series;
        series.add({100, 50}, Qt::red);
        series.add({100, 100}, Qt::blue);
        ShownThumb widget({200, 300}, std::move(series));
        rendered(widget);
        QCOMPARE(widget.height(), 50);
        tick(widget, widget.frameTimerId);
        QVERIFY(showsOnly(rendered(widget), QRect(0, 0, 50, 50), Qt::blue));
        QCOMPARE(widget.height(), 50);
        widget.ClearThumbs();
        rendered(widget);
        QCOMPARE(widget.height(), 50);
    }

    void paint_shrinksAgain_whenALowerFrameFollows()
    {
        Series series;
        series.add({100, 50}, Qt::red);
        series.add({100, 40}, Qt::blue);
        ShownThumb widget({200, 300}, std::move(series));
        rendered(widget);
        tick(widget, widget.frameTimerId);
        rendered(widget);
        QCOMPARE(widget.height(), 40);
        QVERIFY(heightIsFixed(widget));
    }

    void paint_keepsTheHeight_whenNothingIsDrawn()
    {
        Series nulls = nullSeries();
        MultiFrameThumb widget(nullptr);
        widget.resize(200, 300);
        rendered(widget);
        widget.SetThumbs(nulls.pointers, nulls.pointers);
        rendered(widget);
        widget.SetBusy(true);
        rendered(widget);
        QCOMPARE(widget.height(), 300);
        QVERIFY(!heightIsFixed(widget));
    }

    void paint_limitsTheHeight_to10000_whenNothingIsDrawn()
    {
        MultiFrameThumb widget(nullptr);
        widget.resize(4, 10001);
        rendered(widget);
        QCOMPARE(widget.height(), 10000);
        QVERIFY(heightIsFixed(widget));
    }

    void paint_keepsTheHeight_withAPixmapWithoutPixels()
    {
        Series series;
        series.add(QPixmap());
        ShownThumb widget({200, 300}, std::move(series));
        QVERIFY(paintedRect(rendered(widget)).isEmpty());
        QCOMPARE(widget.height(), 300);
        QVERIFY(!heightIsFixed(widget));
    }

    void paint_tellsTheLayout_aboutTheNewHeight()
    {
        Series series;
        series.add({160, 120}, Qt::red);
        QWidget window;
        QVBoxLayout layout(&window);
        MultiFrameThumb widget(&window);
        QWidget rest(&window);
        layout.setContentsMargins(0, 0, 0, 0);
        layout.setSpacing(0);
        layout.addWidget(&widget);
        layout.addWidget(&rest);
        window.resize(200, 600);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(widget.height(), 300);
        widget.SetThumbs(series.pointers, series.pointers);
        QTRY_COMPARE(widget.height(), 120);
        QTRY_COMPARE(rest.geometry(), QRect(0, 120, 200, 480));
    }

    void paint_warnsOfNothing_whenItResizesAShownWidget()
    {
        Series series;
        series.add({160, 120}, Qt::red);
        const WarningCounter warnings;
        QWidget window;
        window.resize(200, 300);
        MultiFrameThumb widget(&window);
        widget.resize(200, 300);
        widget.SetThumbs(series.pointers, series.pointers);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTRY_COMPARE(widget.size(), QSize(200, 120));
        widget.repaint();
        QCOMPARE(warnings.count(), 0);
    }
};

TEST_CLASS(TestMultiFrameThumbFrames, QApplication)
#include "tst_multiframethumb_frames.moc"
