#include "tests/thumbs/thumbrendering.h"
#include "thumbs/multiframethumb.h"

#include <QApplication>
#include <QScreen>
#include <QTest>

/// The widget on a screen of device pixel ratio 1.5, which counts as 1.
class tst_MultiFrameThumbFractionalScreen : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void frame_isTheStandardOne();
    void ring_isMadeAtItsOwnSize();
};

void tst_MultiFrameThumbFractionalScreen::initTestCase()
{
    QCOMPARE(QApplication::primaryScreen()->devicePixelRatio(), 1.5);
}

void tst_MultiFrameThumbFractionalScreen::frame_isTheStandardOne()
{
    Series x1;
    x1.add({100, 80}, Qt::red);
    Series x2;
    x2.add({200, 160}, Qt::blue, 2);
    MultiFrameThumb widget(nullptr);
    widget.resize(100, 80);
    widget.SetThumbs(x1.pointers, x2.pointers);
    widget.highDensity = true;
    QVERIFY(showsOnly(rendered(widget), QRect(0, 0, 150, 120), Qt::red));
    QCOMPARE(widget.highDensity, false);
}

void tst_MultiFrameThumbFractionalScreen::ring_isMadeAtItsOwnSize()
{
    QPixmapCache::clear();
    MultiFrameThumb widget(nullptr);
    widget.resize(100, 60);
    widget.SetBusy(true);
    widget.highDensity = true;
    rendered(widget);
    QCOMPARE(widget.highDensity, false);
    QPixmap picture;
    QVERIFY(cached("MultiFrameThumb:100:60:0:0", &picture));
    QCOMPARE(picture.size(), QSize(15, 15));
}

int main(int argc, char **argv)
{
    // Both are read once, when the application is made.
    qputenv("QT_SCALE_FACTOR", "1.5");
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    QApplication application(argc, argv);
    tst_MultiFrameThumbFractionalScreen test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_multiframethumb_fractionalscreen.moc"
