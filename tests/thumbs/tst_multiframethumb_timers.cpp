#include "tests/support/testclass.h"
#include "tests/thumbs/thumbrendering.h"
#include "thumbs/multiframethumb.h"

#include <algorithm>

namespace {
/// The timers that run on `widget`, by their interval.
QVector<int> intervals(QWidget &widget)
{
    QVector<int> found;
    const auto timers = QAbstractEventDispatcher::instance()->registeredTimers(&widget);
    for (const auto &timer : timers)
        found.append(timer.interval);
    std::sort(found.begin(), found.end());
    return found;
}

bool runsCoarse(QWidget &widget, int id, int interval)
{
    const auto timers = QAbstractEventDispatcher::instance()->registeredTimers(&widget);
    return std::any_of(timers.begin(), timers.end(), [=](const QAbstractEventDispatcher::TimerInfo &timer) {
        return timer.timerId == id && timer.interval == interval && timer.timerType == Qt::CoarseTimer;
    });
}

/// A widget on the screen, where everything that showing it paints has been painted.
struct OnScreen : MultiFrameThumb
{
    OnScreen()
    {
        resize(80, 60);
        show();
        const bool exposed = QTest::qWaitForWindowExposed(this);
        [&] { QVERIFY(exposed); }();
        QTest::qWait(50);
    }
};

/// Notes the ring's angle at every paint and at every tick, before the widget sees either.
class AngleNotes : public QObject
{
public:
    explicit AngleNotes(MultiFrameThumb &watched)
        : widget(watched)
    {
        widget.installEventFilter(this);
    }

    QVector<int> ticks;
    QSet<int> painted;

protected:
    bool eventFilter(QObject * /*watched*/, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            painted.insert(widget.spinAngle);
        if (event->type() == QEvent::Timer && static_cast<QTimerEvent *>(event)->timerId() == widget.spinTimerId)
            ticks.append(widget.spinAngle);
        return false;
    }

private:
    MultiFrameThumb &widget;
};
} // namespace

/// The two timers as the event loop sees them, and what their real ticks paint on a shown widget.
class TestMultiFrameThumbTimers : public QObject
{
    Q_OBJECT

private slots:
    void frameTimer_isCoarse_of1000ms()
    {
        QVector<QPixmap *> none;
        MultiFrameThumb widget(nullptr);
        QCOMPARE(intervals(widget), QVector<int>());
        widget.SetThumbs(none, none);
        QCOMPARE(intervals(widget), QVector<int>{1000});
        QVERIFY(runsCoarse(widget, widget.frameTimerId, 1000));

        QTest::mousePress(&widget, Qt::LeftButton);
        QCOMPARE(intervals(widget), QVector<int>());
        QTest::mousePress(&widget, Qt::LeftButton);
        QCOMPARE(intervals(widget), QVector<int>{1000});
        QVERIFY(runsCoarse(widget, widget.frameTimerId, 1000));
    }

    void spinTimer_isCoarse_of50ms()
    {
        MultiFrameThumb widget(nullptr);
        widget.SetBusy(true);
        widget.SetBusy(true);
        QCOMPARE(intervals(widget), QVector<int>{50});
        QVERIFY(runsCoarse(widget, widget.spinTimerId, 50));
    }

    void timers_areStopped_withTheirStates()
    {
        QVector<QPixmap *> none;
        MultiFrameThumb widget(nullptr);
        widget.SetThumbs(none, none);
        widget.SetThumbs(none, none);
        QCOMPARE(intervals(widget), QVector<int>{1000});
        widget.SetBusy(true);
        QCOMPARE(intervals(widget), QVector<int>{50});
        widget.ClearThumbs();
        QCOMPARE(intervals(widget), QVector<int>{50});
        widget.SetBusy(false);
        QCOMPARE(intervals(widget), QVector<int>{50});
        QTest::mousePress(&widget, Qt::LeftButton);
        QCOMPARE(intervals(widget), (QVector<int>{50, 1000}));
        widget.SetThumbs(none, none);
        QCOMPARE(intervals(widget), QVector<int>{1000});
        widget.ClearThumbs();
        QCOMPARE(intervals(widget), QVector<int>());
    }

    void timers_areStopped_byADestroyedWidget()
    {
        int frameTimer = -1;
        int spinTimer = -1;
        {
            MultiFrameThumb widget(nullptr);
            widget.SetBusy(true);
            QTest::mousePress(&widget, Qt::LeftButton);
            frameTimer = widget.frameTimerId;
            spinTimer = widget.spinTimerId;
            QVERIFY(QAbstractEventDispatcher::instance()->remainingTime(frameTimer) >= 0);
            QVERIFY(QAbstractEventDispatcher::instance()->remainingTime(spinTimer) >= 0);
        }
        // Qt 6.11 answers with another negative number than -1.
        QVERIFY(QAbstractEventDispatcher::instance()->remainingTime(frameTimer) < 0);
        QVERIFY(QAbstractEventDispatcher::instance()->remainingTime(spinTimer) < 0);
    }

    void frameTimer_showsTheNextFrame_whenItsSecondIsOver()
    {
        Series series = solidSeries({80, 60}, {Qt::red});
        series.add({80, 60}, Qt::green);
        OnScreen widget;
        widget.SetThumbs(series.pointers, series.pointers);
        QCOMPARE(widget.frameIndex, 0);
        const EventCounter paints(widget, QEvent::Paint);
        QTRY_VERIFY(paints.count > 0);
        const int before = paints.count;
        QTRY_COMPARE(widget.frameIndex, 1);
        QTRY_COMPARE(paints.count, before + 1);
    }

    void frameTimer_repaints_aSeriesOfOne()
    {
        Series series = solidSeries({80, 60}, {Qt::red});
        OnScreen widget;
        const EventCounter paints(widget, QEvent::Paint);
        widget.SetThumbs(series.pointers, series.pointers);
        QTRY_COMPARE(paints.count, 1);
        QTRY_COMPARE(paints.count, 2); // the timer's own tick, a second later
        QCOMPARE(widget.frameIndex, 0);
    }

    void spinTimer_paintsEveryAngle_whileBusy()
    {
        OnScreen widget;
        const AngleNotes notes(widget);
        widget.SetBusy(true);
        const QSet<int> all{0, 30, 60, 90, 120, 150, 180, 210, 240, 270, 300, 330};
        QTRY_COMPARE(notes.painted, all);
        QTRY_VERIFY(notes.ticks.size() >= 13);
        for (int i = 0; i < notes.ticks.size(); ++i)
            QCOMPARE(notes.ticks[i], 30 * i % 360);
    }

    void spinTimer_onlyRepaints_afterSetBusyFalse()
    {
        OnScreen widget;
        widget.SetBusy(true);
        widget.SetBusy(false);
        const EventCounter paints(widget, QEvent::Paint);
        QTRY_VERIFY(paints.count >= 3); // one for the slot, the others for ticks
        QCOMPARE(widget.frameTimerId, -1);
        QVERIFY(paintedRect(rendered(widget)).isEmpty());
    }

    void slots_repaint_aShownWidget()
    {
        QVector<QPixmap *> none;
        OnScreen widget;
        const EventCounter paints(widget, QEvent::Paint);
        widget.ClearThumbs();
        QTRY_COMPARE(paints.count, 1);
        widget.SetBusy(false);
        QTRY_COMPARE(paints.count, 2);
        widget.SetThumbs(none, none);
        QTRY_COMPARE(paints.count, 3);
        widget.SetBusy(true);
        QTRY_VERIFY(paints.count >= 4);
    }

    void mousePress_doesNotRepaint()
    {
        Series series = solidSeries({80, 60}, {Qt::red});
        OnScreen widget;
        const EventCounter paints(widget, QEvent::Paint);
        widget.SetThumbs(series.pointers, series.pointers);
        QTRY_COMPARE(paints.count, 1);
        QTest::mouseClick(&widget, Qt::LeftButton);
        QCOMPARE(widget.frameTimerId, -1);
        QTest::qWait(100);
        QCOMPARE(paints.count, 1);
        // The same wait is long enough for a paint that was asked for.
        widget.update();
        QTest::qWait(100);
        QCOMPARE(paints.count, 2);
    }
};

TEST_CLASS(TestMultiFrameThumbTimers, QApplication)
#include "tst_multiframethumb_timers.moc"
