#include "tests/thumbs/thumbrendering.h"
#include "thumbs/multiframethumb.h"

#include <QApplication>
#include <QScreen>
#include <QTest>

/// The widget on a screen of device pixel ratio 3, for which there are only pictures of twice the density.
class tst_MultiFrameThumbTripleScreen : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void frame_isTheDenseOne();
    void scaledFrame_hasEveryPixelOfItsPlace_onThisScreen();
    void ring_isMadeAtTwiceTheSize();
    void ring_fillsItsPlace_whateverItsPixels();
};

void tst_MultiFrameThumbTripleScreen::initTestCase()
{
    QCOMPARE(QApplication::primaryScreen()->devicePixelRatio(), 3.0);
}

void tst_MultiFrameThumbTripleScreen::init()
{
    QPixmapCache::clear();
}

void tst_MultiFrameThumbTripleScreen::frame_isTheDenseOne()
{
    Series x1;
    x1.add({100, 80}, Qt::red);
    Series x2;
    x2.add({100, 80}, Qt::blue);
    MultiFrameThumb widget(nullptr);
    widget.resize(100, 80);
    widget.SetThumbs(x1.pointers, x2.pointers);
    QVERIFY(showsOnly(rendered(widget), QRect(0, 0, 300, 240), Qt::blue));
    QCOMPARE(widget.highDensity, true);
}

// 240 x 180 dots in a place of 80 x 60 units.
void tst_MultiFrameThumbTripleScreen::scaledFrame_hasEveryPixelOfItsPlace_onThisScreen()
{
    Series series;
    series.add(manyColoured({240, 180}))->setDevicePixelRatio(2);
    MultiFrameThumb widget(nullptr);
    widget.resize(80, 100);
    widget.SetThumbs(series.pointers, series.pointers);
    QImage image = rendered(widget);
    image.setDevicePixelRatio(1);
    QCOMPARE(paintedRect(image), QRect(0, 0, 240, 180));
    QCOMPARE(coloursIn(image, QRect(0, 0, 240, 180)), 240 * 180);
    QCOMPARE(widget.height(), 60);
}

void tst_MultiFrameThumbTripleScreen::ring_isMadeAtTwiceTheSize()
{
    MultiFrameThumb widget(nullptr);
    widget.resize(320, 180);
    widget.SetBusy(true);
    const QImage image = rendered(widget);
    QCOMPARE(widget.highDensity, true);
    QPixmap picture;
    QVERIFY(cached("MultiFrameThumb:320:180:0:1", &picture));
    QCOMPARE(picture.size(), QSize(90, 90));
    QVERIFY(QRect(414, 204, 135, 135).contains(paintedRect(image)));
}

void tst_MultiFrameThumbTripleScreen::ring_fillsItsPlace_whateverItsPixels()
{
    QPixmap marker(90, 90);
    marker.fill(Qt::green);
    QPixmapCache::insert("MultiFrameThumb:320:180:0:1", marker);
    MultiFrameThumb widget(nullptr);
    widget.resize(320, 180);
    widget.SetBusy(true);
    // 45 units a side at (160 - 22, 90 - 22), three dots each.
    QVERIFY(showsOnly(rendered(widget), QRect(414, 204, 135, 135), Qt::green));
}

int main(int argc, char **argv)
{
    qputenv("QT_SCALE_FACTOR", "3"); // read once, when the application is made
    QApplication application(argc, argv);
    tst_MultiFrameThumbTripleScreen test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_multiframethumb_triplescreen.moc"
