#include "tests/support/testclass.h"
#include "tests/thumbs/thumbrendering.h"
#include "thumbs/multiframethumb.h"

#include <QMouseEvent>

namespace {
bool press(QWidget &widget, Qt::MouseButton button = Qt::LeftButton)
{
    QMouseEvent event(QEvent::MouseButtonPress, QPointF(5, 5), widget.mapToGlobal(QPoint(5, 5)), button, button,
                      Qt::NoModifier);
    event.ignore();
    QCoreApplication::sendEvent(&widget, &event);
    return event.isAccepted();
}
} // namespace

/// What ticks and clicks do in each state. The test sends the timers' events; no event loop runs here.
class TestMultiFrameThumbEvents : public QObject
{
    Q_OBJECT

private slots:
    void timerEvent_showsFramesInOrder_andLoops()
    {
        const QVector<QColor> colours{Qt::red, Qt::green, Qt::blue, Qt::yellow, Qt::magenta};
        ShownThumb widget(kFrame, solidSeries(kFrame, colours));
        for (int shown = 0; shown < 12; ++shown) {
            QCOMPARE(widget.frameIndex, shown % 5);
            QVERIFY(showsOnly(rendered(widget), QRect(QPoint(), kFrame), colours[shown % 5]));
            tick(widget, widget.frameTimerId);
        }
    }

    void timerEvent_staysAtFrameZero_withASeriesOfOne()
    {
        ShownThumb widget(kFrame, solidSeries(kFrame, {Qt::red}));
        tick(widget, widget.frameTimerId);
        QCOMPARE(widget.frameIndex, 0);
        QVERIFY(showsOnly(rendered(widget), QRect(QPoint(), kFrame), Qt::red));
    }

    void timerEvent_turnsTheRing_in12Steps()
    {
        MultiFrameThumb widget(nullptr);
        widget.SetBusy(true);
        for (const int angle : {30, 60, 90, 120, 150, 180, 210, 240, 270, 300, 330, 0, 30}) {
            tick(widget, widget.spinTimerId);
            QCOMPARE(widget.spinAngle, angle);
        }
    }

    void timerEvent_ignores_otherTimers()
    {
        ShownThumb widget(kFrame, solidSeries(kFrame, {Qt::red, Qt::green}));
        widget.SetBusy(true);
        press(widget); // both timers run now
        tick(widget, widget.frameTimerId + widget.spinTimerId + 1);
        QCOMPARE(widget.frameIndex, 0);
        QCOMPARE(widget.spinAngle, 0);
    }

    void timerEvent_makesBothSteps_whenOneIdIsBoth()
    {
        MultiFrameThumb widget(nullptr);
        QVector<QPixmap *> nulls(2, nullptr);
        widget.SetThumbs(nulls, nulls);
        widget.spinTimerId = widget.frameTimerId;
        tick(widget, widget.frameTimerId);
        QCOMPARE(widget.frameIndex, 1);
        QCOMPARE(widget.spinAngle, 30);
    }

    void mousePress_pausesAndResumes_withAnyButton_data()
    {
        QTest::addColumn<int>("button");
        QTest::newRow("left") << int(Qt::LeftButton);
        QTest::newRow("right") << int(Qt::RightButton);
        QTest::newRow("middle") << int(Qt::MiddleButton);
        QTest::newRow("back") << int(Qt::BackButton);
    }
    void mousePress_pausesAndResumes_withAnyButton()
    {
        QFETCH(int, button);
        ShownThumb widget(kFrame, solidSeries(kFrame, {Qt::red}));
        QVERIFY(press(widget, Qt::MouseButton(button)));
        QCOMPARE(widget.frameTimerId, -1);
        QVERIFY(press(widget, Qt::MouseButton(button)));
        QVERIFY(widget.frameTimerId >= 0);
    }

    void mousePress_resumesWithTheFollowingFrame()
    {
        ShownThumb widget(kFrame, solidSeries(kFrame, {Qt::red, Qt::green, Qt::blue}));
        tick(widget, widget.frameTimerId);
        press(widget);
        QCOMPARE(widget.frameIndex, 1);
        QVERIFY(paintedRect(rendered(widget)).isEmpty());
        press(widget);
        QCOMPARE(widget.frameIndex, 1);
        tick(widget, widget.frameTimerId);
        QCOMPARE(widget.frameIndex, 2);
        QVERIFY(showsOnly(rendered(widget), QRect(QPoint(), kFrame), Qt::blue));
    }

    void mousePress_startsAFrameTimer_whileBusy()
    {
        Series series = solidSeries(kFrame, {Qt::red});
        BusyThumb widget(kFrame);
        press(widget);
        const int timer = widget.frameTimerId;
        QVERIFY(timer >= 0);
        QVERIFY(widget.busy);
        QVERIFY(!paintedRect(rendered(widget)).isEmpty());
        widget.SetThumbs(series.pointers, series.pointers);
        QCOMPARE(widget.frameTimerId, timer);
    }

    void mousePress_isHarmless_afterClearThumbs()
    {
        ShownThumb widget(kFrame, solidSeries(kFrame, {Qt::red}));
        widget.ClearThumbs();
        press(widget);
        QVERIFY(widget.frameTimerId >= 0);
        QVERIFY(paintedRect(rendered(widget)).isEmpty()); // frame -1
        tick(widget, widget.frameTimerId);
        QCOMPARE(widget.frameIndex, 0);
        QVERIFY(paintedRect(rendered(widget)).isEmpty()); // frame 0 of none
    }

    void emptySeries_staysAtFrameZero_onEveryTick()
    {
        QVector<QPixmap *> none;
        MultiFrameThumb widget(nullptr);
        widget.resize(kFrame);
        widget.SetThumbs(none, none);
        QCOMPARE(widget.frameIndex, 0);
        QVERIFY(widget.frameTimerId >= 0);
        for (int i = 0; i < 3; ++i) {
            QVERIFY(paintedRect(rendered(widget)).isEmpty());
            tick(widget, widget.frameTimerId);
            QCOMPARE(widget.frameIndex, 0);
        }
    }

    void seriesOfDifferentLengths_areNeverReadPastTheirEnds_data()
    {
        QTest::addColumn<int>("length1x");
        QTest::addColumn<int>("length2x");
        QTest::newRow("fewer dense frames") << 3 << 1;
        QTest::newRow("fewer standard frames") << 1 << 3;
        QTest::newRow("no dense frames") << 2 << 0;
        QTest::newRow("no standard frames") << 0 << 2;
    }
    void seriesOfDifferentLengths_areNeverReadPastTheirEnds()
    {
        QFETCH(int, length1x);
        QFETCH(int, length2x);
        Series x1 = solidSeries(kFrame, QVector<QColor>(length1x, Qt::red));
        Series x2 = solidSeries(kFrame, QVector<QColor>(length2x, Qt::cyan));
        MultiFrameThumb widget(nullptr);
        widget.resize(kFrame);
        widget.SetThumbs(x1.pointers, x2.pointers);
        for (int i = 0; i < 4; ++i) {
            QCOMPARE(!paintedRect(rendered(widget)).isEmpty(), widget.frameIndex < length1x);
            tick(widget, widget.frameTimerId);
            QVERIFY(widget.frameIndex == 0 || widget.frameIndex < length1x);
        }
    }
};

TEST_CLASS(TestMultiFrameThumbEvents, QApplication)
#include "tst_multiframethumb_events.moc"
