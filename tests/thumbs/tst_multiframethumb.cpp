#include "tests/support/testclass.h"
#include "tests/thumbs/thumbrendering.h"
#include "thumbs/multiframethumb.h"

#include <algorithm>
#include <type_traits>

/// The widget's initial state, and what its slots do. The test sends the timers' events; no event loop runs here.
class TestMultiFrameThumb : public QObject
{
    Q_OBJECT

private slots:
    void construct_setsEveryField_toItsInitialValue()
    {
        const MultiFrameThumb widget(nullptr);
        QVERIFY(widget.thumbs1x.isEmpty());
        QVERIFY(widget.thumbs2x.isEmpty());
        QCOMPARE(widget.highDensity, false);
        QCOMPARE(widget.alignment, 0);
        QCOMPARE(widget.busy, false);
        QCOMPARE(widget.spinAngle, 0);
        QCOMPARE(widget.spinTimerId, -1);
        QCOMPARE(widget.frameTimerId, -1);
        QCOMPARE(widget.frameIndex, -1);
    }

    void construct_setsNoWindowFlags_underAParent()
    {
        QWidget parent;
        const QWidget plain(&parent);
        const MultiFrameThumb widget(&parent);
        QCOMPARE(widget.parentWidget(), &parent);
        QCOMPARE(widget.windowFlags(), plain.windowFlags());
        QVERIFY(!widget.isWindow());
    }

    void minimumSizeHint_is64x64() { QCOMPARE(MultiFrameThumb(nullptr).minimumSizeHint(), QSize(64, 64)); }

    void metaObject_namesTheThreeSlots_inOrder()
    {
        const QMetaObject &meta = MultiFrameThumb::staticMetaObject;
        QCOMPARE(meta.className(), "MultiFrameThumb");
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
        QCOMPARE(meta.methodCount() - meta.methodOffset(), 3);

        const QMetaMethod setThumbs = meta.method(meta.methodOffset());
        QCOMPARE(setThumbs.methodSignature(),
                 QMetaObject::normalizedSignature("SetThumbs(QVector<QPixmap*>&,QVector<QPixmap*>&)"));
        QCOMPARE(setThumbs.parameterNames(), (QList<QByteArray>{"x1", "x2"}));
        const QMetaMethod clearThumbs = meta.method(meta.methodOffset() + 1);
        QCOMPARE(clearThumbs.methodSignature(), QByteArray("ClearThumbs()"));
        const QMetaMethod setBusy = meta.method(meta.methodOffset() + 2);
        QCOMPARE(setBusy.methodSignature(), QByteArray("SetBusy(bool)"));
        QCOMPARE(setBusy.parameterNames(), (QList<QByteArray>{"b"}));

        for (const QMetaMethod &method : {setThumbs, clearThumbs, setBusy}) {
            QCOMPARE(method.methodType(), QMetaMethod::Slot);
            QCOMPARE(method.access(), QMetaMethod::Public);
        }
    }

    void slots_canBeInvoked_byName()
    {
        MultiFrameThumb widget(nullptr);
        QVERIFY(QMetaObject::invokeMethod(&widget, "SetBusy", Q_ARG(bool, true)));
        QVERIFY(widget.busy);
        widget.frameIndex = 3;
        QVERIFY(QMetaObject::invokeMethod(&widget, "ClearThumbs"));
        QCOMPARE(widget.frameIndex, -1);
    }

    void fields_haveTheirTypes_inTheirOrder()
    {
        static_assert(std::is_same_v<decltype(MultiFrameThumb::thumbs1x), QVector<QPixmap *>>);
        static_assert(std::is_same_v<decltype(MultiFrameThumb::thumbs2x), QVector<QPixmap *>>);
        static_assert(std::is_same_v<decltype(MultiFrameThumb::alignment), int>);
        // The declared order, as the addresses show it.
        const MultiFrameThumb widget(nullptr);
        const QVector<const void *> fields{&widget.thumbs1x,    &widget.thumbs2x,     &widget.highDensity,
                                           &widget.alignment,   &widget.busy,         &widget.spinAngle,
                                           &widget.spinTimerId, &widget.frameTimerId, &widget.frameIndex};
        QVERIFY(std::is_sorted(fields.begin(), fields.end(), std::less<>()));
    }

    void setThumbs_showsFrameZero_fromEmpty()
    {
        Series x1 = solidSeries(kFrame, {Qt::red, Qt::green});
        Series x2 = solidSeries(kFrame, {Qt::cyan, Qt::magenta});
        MultiFrameThumb widget(nullptr);
        widget.resize(kFrame);

        widget.SetThumbs(x1.pointers, x2.pointers);
        QCOMPARE(widget.thumbs1x, x1.pointers);
        QCOMPARE(widget.thumbs2x, x2.pointers);
        QCOMPARE(widget.frameIndex, 0);
        QVERIFY(widget.frameTimerId >= 0);
        QVERIFY(showsOnly(rendered(widget), QRect(QPoint(), kFrame), Qt::red));
    }

    void setThumbs_sharesTheVectors_andNotTheirLaterChanges()
    {
        Series x1 = solidSeries(kFrame, {Qt::red});
        Series x2 = solidSeries(kFrame, {Qt::cyan});
        MultiFrameThumb widget(nullptr);
        widget.SetThumbs(x1.pointers, x2.pointers);
        QCOMPARE(widget.thumbs1x.constData(), x1.pointers.constData());
        QCOMPARE(widget.thumbs2x.constData(), x2.pointers.constData());

        x1.pointers.append(nullptr);
        QCOMPARE(widget.thumbs1x.size(), 1);
    }

    void setThumbs_keepsTheFrameTimer_whenItRuns()
    {
        Series series = solidSeries(kFrame, {Qt::red});
        MultiFrameThumb widget(nullptr);
        widget.SetThumbs(series.pointers, series.pointers);
        const int timer = widget.frameTimerId;
        widget.SetThumbs(series.pointers, series.pointers);
        QCOMPARE(widget.frameTimerId, timer);
    }

    void setThumbs_endsTheBusyState()
    {
        Series series = solidSeries(kFrame, {Qt::red});
        BusyThumb widget(kFrame);
        widget.SetThumbs(series.pointers, series.pointers);
        QCOMPARE(widget.busy, false);
        QCOMPARE(widget.spinTimerId, -1);
        QVERIFY(widget.frameTimerId >= 0);
        QVERIFY(showsOnly(rendered(widget), QRect(QPoint(), kFrame), Qt::red));
    }

    void setThumbs_startsOver_whenPlaying()
    {
        Series first = solidSeries(kFrame, {Qt::red, Qt::green});
        Series second = solidSeries(kFrame, {Qt::blue, Qt::yellow});
        MultiFrameThumb widget(nullptr);
        widget.resize(kFrame);
        widget.SetThumbs(first.pointers, first.pointers);
        tick(widget, widget.frameTimerId);
        QCOMPARE(widget.frameIndex, 1);
        widget.SetThumbs(second.pointers, second.pointers);
        QCOMPARE(widget.frameIndex, 0);
        QVERIFY(showsOnly(rendered(widget), QRect(QPoint(), kFrame), Qt::blue));
    }

    void clearThumbs_empties_whenPlaying()
    {
        ShownThumb widget(kFrame, solidSeries(kFrame, {Qt::red}));
        widget.ClearThumbs();
        QVERIFY(widget.thumbs1x.isEmpty());
        QVERIFY(widget.thumbs2x.isEmpty());
        QCOMPARE(widget.frameTimerId, -1);
        QCOMPARE(widget.frameIndex, -1);
        QVERIFY(paintedRect(rendered(widget)).isEmpty());
    }

    void clearThumbs_keepsTheRing_whenBusy()
    {
        Series series = solidSeries(kFrame, {Qt::red});
        BusyThumb widget(kFrame);
        const int timer = widget.spinTimerId;
        widget.ClearThumbs();
        QCOMPARE(widget.busy, true);
        QCOMPARE(widget.spinTimerId, timer);
        tick(widget, timer);
        QCOMPARE(widget.spinAngle, 30);
        QVERIFY(!paintedRect(rendered(widget)).isEmpty());

        widget.SetThumbs(series.pointers, series.pointers);
        QCOMPARE(widget.spinTimerId, -1);
        QVERIFY(showsOnly(rendered(widget), QRect(QPoint(), kFrame), Qt::red));
    }

    void clearThumbsAndDestructor_leaveThePixmaps_toTheirOwner()
    {
        Series series = solidSeries(kFrame, {Qt::red});
        for (const bool isCleared : {true, false}) {
            MultiFrameThumb widget(nullptr);
            widget.SetThumbs(series.pointers, series.pointers);
            if (isCleared)
                widget.ClearThumbs();
        }
        QCOMPARE(series.pointers.size(), 1);
        QCOMPARE(series.pointers.first()->size(), kFrame);
    }

    void setBusy_stopsTheShow_andKeepsItsFrames()
    {
        Series series = solidSeries(kFrame, {Qt::red, Qt::green});
        MultiFrameThumb widget(nullptr);
        widget.SetThumbs(series.pointers, series.pointers);
        tick(widget, widget.frameTimerId);
        widget.SetBusy(true);
        QCOMPARE(widget.busy, true);
        QCOMPARE(widget.frameTimerId, -1);
        QVERIFY(widget.spinTimerId >= 0);
        QCOMPARE(widget.frameIndex, 1);
        QCOMPARE(widget.thumbs1x, series.pointers);
    }

    void setBusy_keepsTheRingsTimer_whenCalledTwice()
    {
        MultiFrameThumb widget(nullptr);
        widget.SetBusy(true);
        const int timer = widget.spinTimerId;
        widget.SetBusy(false);
        widget.SetBusy(true);
        widget.SetBusy(true);
        QCOMPARE(widget.spinTimerId, timer);
    }

    void setBusyFalse_pauses_withTheRingsTimerRunning()
    {
        ShownThumb widget(kFrame, solidSeries(kFrame, {Qt::red}));
        widget.SetBusy(true);
        widget.SetBusy(false);
        QCOMPARE(widget.busy, false);
        QCOMPARE(widget.frameTimerId, -1);
        QVERIFY(widget.spinTimerId >= 0);
        tick(widget, widget.spinTimerId);
        QCOMPARE(widget.spinAngle, 30);
        QVERIFY(paintedRect(rendered(widget)).isEmpty());
    }

    void setBusyFalse_doesNotPause_aRunningShow()
    {
        ShownThumb widget(kFrame, solidSeries(kFrame, {Qt::red}));
        const int timer = widget.frameTimerId;
        widget.SetBusy(false);
        QCOMPARE(widget.frameTimerId, timer);
        QCOMPARE(widget.spinTimerId, -1);
    }
};

TEST_CLASS(TestMultiFrameThumb, QApplication)
#include "tst_multiframethumb.moc"
