#include "tests/support/testclass.h"
#include "tests/thumbs/thumbrendering.h"
#include "thumbs/multiframethumb.h"

#include <QConicalGradient>
#include <QPainter>

#include <cmath>

namespace {
const QColor kRed(255, 0, 0);
constexpr qreal kRadius = 85; // the middle of the ring's stroke

QString keyOf(int width, int height, int angle, int dense)
{
    return QString::asprintf("MultiFrameThumb:%d:%d:%d:%d", width, height, angle, dense);
}

void setTextColour(QWidget &widget, const QColor &colour)
{
    QPalette palette = widget.palette();
    palette.setColor(QPalette::WindowText, colour);
    widget.setPalette(palette);
}

/// The ring's picture at its design size, 200 x 200, so that its pixels are the design's units.
QImage designPicture(const QColor &colour, int angle)
{
    BusyThumb widget({800, 800});
    setTextColour(widget, colour);
    widget.spinAngle = angle;
    return rendered(widget).copy(300, 300, 200, 200);
}

/// The alpha at `degrees`, counter-clockwise from three o'clock, and `radius` from the middle of a design picture.
int alphaAt(const QImage &picture, qreal degrees, qreal radius)
{
    const qreal radians = qDegreesToRadians(degrees);
    const int x = qFloor(100 + radius * std::cos(radians));
    const int y = qFloor(100 - radius * std::sin(radians));
    return qAlpha(picture.pixel(x, y));
}

/// What the gradient's three stops make of an opaque colour's alpha, `degrees` counter-clockwise from the head.
qreal expectedAlpha(qreal degrees)
{
    const qreal position = std::fmod(degrees + 360, 360) / 360;
    return position <= 0.8 ? 255 * (1 - position / 0.8) : 255 * (position - 0.8) / 0.2;
}
} // namespace

/// Only for its name.
class NamedThumb : public MultiFrameThumb
{
    Q_OBJECT

public:
    using MultiFrameThumb::MultiFrameThumb;
};

/// The busy ring: its place and size, its shape and colours, and the pictures kept of it.
class TestMultiFrameThumbRing : public QObject
{
    Q_OBJECT

private slots:
    void init() { QPixmapCache::clear(); }

    void ring_liesInTheMiddle_atAQuarterOfTheSmallerSide_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QRect>("place");
        QTest::newRow("wide") << QSize(100, 60) << QRect(43, 23, 15, 15);
        QTest::newRow("high") << QSize(60, 100) << QRect(23, 43, 15, 15);
        QTest::newRow("as in the window") << QSize(160, 120) << QRect(65, 45, 30, 30);
        // 103 / 4 is 25; 103 / 2 - 25 / 2 is 51 - 12.
        QTest::newRow("odd") << QSize(103, 107) << QRect(39, 41, 25, 25);
        QTest::newRow("smallest") << QSize(4, 4) << QRect(2, 2, 1, 1);
    }
    void ring_liesInTheMiddle_atAQuarterOfTheSmallerSide()
    {
        QFETCH(QSize, size);
        QFETCH(QRect, place);
        BusyThumb widget(size);
        widget.highDensity = true;
        const QImage image = rendered(widget);
        QCOMPARE(widget.highDensity, false);
        QVERIFY(place.contains(paintedRect(image)));

        QPixmap picture;
        QVERIFY(cached(keyOf(size.width(), size.height(), 0, 0), &picture));
        QCOMPARE(picture.size(), place.size());
        // The picture lies in that place dot for dot.
        QCOMPARE(image.copy(place), picture.toImage().convertToFormat(image.format()));
    }

    void ring_turnsAboutAWholePixel_whereItsSizeIsOdd()
    {
        BusyThumb widget({100, 60});
        setTextColour(widget, kRed);
        widget.spinAngle = 30;
        rendered(widget);
        QPixmap picture;
        QVERIFY(cached(keyOf(100, 60, 30, 0), &picture));

        // The middle of 15 pixels is taken as 7, half a pixel towards the top left.
        QImage expected(15, 15, QImage::Format_ARGB32_Premultiplied);
        expected.fill(Qt::transparent);
        QPainter painter(&expected);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.translate(7, 7);
        painter.scale(15 / 200.0, 15 / 200.0);
        QConicalGradient gradient(0, 0, -30);
        gradient.setStops({{0.0, kRed}, {0.8, QColor(255, 0, 0, 0)}, {1.0, kRed}});
        painter.setPen(QPen(QBrush(gradient), 10));
        painter.drawArc(QRect(-85, -85, 170, 170), 0, 5760);
        painter.end();
        QCOMPARE(picture.toImage().convertToFormat(expected.format()), expected);
    }

    void ring_spansRadii80To90_ofItsDesign()
    {
        const QImage picture = designPicture(kRed, 0);
        QCOMPARE(picture.size(), QSize(200, 200));
        for (int degrees = 5; degrees < 250; degrees += 5) { // where the gradient is well above nothing
            for (const qreal radius : {82.0, 85.0, 88.0})
                QVERIFY2(alphaAt(picture, degrees, radius) > 10, qPrintable(QString::number(degrees)));
            for (const qreal radius : {0.0, 40.0, 70.0, 78.0, 92.0, 99.0})
                QCOMPARE(alphaAt(picture, degrees, radius), 0);
        }
        // At nine o'clock the stroke covers the pixels 10 to 19, but for what the curve takes from their corners.
        QCOMPARE(qAlpha(picture.pixel(9, 99)), 0);
        for (int x = 10; x < 20; ++x)
            QVERIFY(std::abs(qAlpha(picture.pixel(x, 99)) - expectedAlpha(180)) <= 5);
        QVERIFY(qAlpha(picture.pixel(20, 99)) <= 2);
        QCOMPARE(qAlpha(picture.pixel(21, 99)), 0);
    }

    void ring_fadesCounterClockwise_fromItsHead_data()
    {
        QTest::addColumn<int>("angle");
        for (int angle = 0; angle < 360; angle += 30)
            QTest::newRow(qPrintable(QString::number(angle))) << angle;
    }
    void ring_fadesCounterClockwise_fromItsHead()
    {
        QFETCH(int, angle);
        const QImage picture = designPicture(kRed, angle);
        for (int degrees = 0; degrees < 360; degrees += 3) {
            // The head is `angle` degrees clockwise of three o'clock.
            const qreal expected = expectedAlpha(degrees + angle);
            const int alpha = alphaAt(picture, degrees, kRadius);
            const QString seen = QStringLiteral("%1 degrees: %2, not %3").arg(degrees).arg(alpha).arg(expected);
            // A pixel covers up to one degree, worth 3.6 on the steep side of the head.
            QVERIFY2(std::abs(alpha - expected) <= 5, qPrintable(seen));
        }
        // The head is opaque and has the colour itself; the fade touches nothing 288 degrees further on.
        const qreal head = qDegreesToRadians(-angle + 2.0);
        const QColor colour =
            picture.pixelColor(qFloor(100 + kRadius * std::cos(head)), qFloor(100 - kRadius * std::sin(head)));
        QVERIFY(colour.alpha() > 245);
        QCOMPARE(colour.rgb(), kRed.rgb());
        QVERIFY(alphaAt(picture, 288 - angle, kRadius) <= 5);
    }

    void ring_startsWithTheColoursOwnAlpha_andEndsOpaque()
    {
        const QImage picture = designPicture(QColor(0, 0, 255, 100), 0);
        // Just past the head the colour's own 100; just before it, at the other end of the gradient, opaque.
        QVERIFY(std::abs(alphaAt(picture, 2, kRadius) - 100) <= 3);
        QVERIFY(alphaAt(picture, -2, kRadius) >= 243);
        QVERIFY(std::abs(alphaAt(picture, 144, kRadius) - 50) <= 3);
    }

    void ring_takesTheTextColour_ofTheCurrentGroup()
    {
        MultiFrameThumb widget(nullptr);
        QPalette palette;
        palette.setColor(QPalette::Active, QPalette::WindowText, Qt::red);
        palette.setColor(QPalette::Inactive, QPalette::WindowText, Qt::red);
        palette.setColor(QPalette::Disabled, QPalette::WindowText, Qt::green);
        palette.setColor(QPalette::Active, QPalette::Text, Qt::yellow);
        widget.setPalette(palette);
        widget.resize(800, 800);
        widget.SetBusy(true);
        const QPoint besideTheHead(485, 395); // 3.4 degrees from it
        QCOMPARE(rendered(widget).pixelColor(besideTheHead).rgb(), QColor(Qt::red).rgb());
        widget.setEnabled(false);
        QPixmapCache::clear(); // colours are no part of the key
        QCOMPARE(rendered(widget).pixelColor(besideTheHead).rgb(), QColor(Qt::green).rgb());
    }

    void ring_isShownInPlaceOfTheFrames()
    {
        ShownThumb widget({100, 60}, solidSeries({100, 60}, {Qt::blue}));
        widget.SetBusy(true);
        QVERIFY(QRect(43, 23, 15, 15).contains(paintedRect(rendered(widget))));
        QVERIFY(!paintedRect(rendered(widget)).isEmpty());
    }

    void ring_fixesNoHeight()
    {
        BusyThumb widget({100, 10100});
        rendered(widget);
        QCOMPARE(widget.height(), 10100);
        QCOMPARE(widget.minimumHeight(), 0);
    }

    void cache_holdsTwelvePictures_afterATurn()
    {
        BusyThumb widget({100, 60});
        QVector<QImage> pictures;
        for (int angle = 0; angle < 360; angle += 30) {
            QVERIFY(!cached(keyOf(100, 60, angle, 0)));
            rendered(widget);
            QPixmap picture;
            QVERIFY(cached(keyOf(100, 60, angle, 0), &picture));
            QCOMPARE(picture.size(), QSize(15, 15));
            QVERIFY(picture.hasAlphaChannel());
            QVERIFY(!pictures.contains(picture.toImage()));
            pictures.append(picture.toImage());
            tick(widget, widget.spinTimerId);
        }
        QCOMPARE(widget.spinAngle, 0);
        // No other key was used: neither further angles nor the other density.
        for (int angle = 0; angle <= 360; ++angle) {
            QCOMPARE(cached(keyOf(100, 60, angle, 0)), angle % 30 == 0 && angle < 360);
            QVERIFY(!cached(keyOf(100, 60, angle, 1)));
        }
    }

    void cache_isAsked_beforeAPictureIsMade()
    {
        QPixmap marker(15, 15);
        marker.fill(Qt::blue);
        QPixmapCache::insert("MultiFrameThumb:100:60:30:0", marker);
        BusyThumb widget({100, 60});
        tick(widget, widget.spinTimerId);
        QVERIFY(showsOnly(rendered(widget), QRect(43, 23, 15, 15), Qt::blue));
    }

    void cache_isAsked_forTheSizeAndAngle()
    {
        QPixmap marker(45, 45);
        marker.fill(Qt::blue);
        QPixmapCache::insert("MultiFrameThumb:320:180:330:0", marker);
        BusyThumb widget({320, 180});
        widget.spinAngle = 330;
        QVERIFY(showsOnly(rendered(widget), QRect(138, 68, 45, 45), Qt::blue));
        widget.resize(321, 180);
        QVERIFY(!showsOnly(rendered(widget), QRect(138, 68, 45, 45), Qt::blue));
        QVERIFY(cached(keyOf(321, 180, 330, 0)));
        widget.resize(320, 181);
        rendered(widget);
        QVERIFY(cached(keyOf(320, 181, 330, 0)));
    }

    void cache_givesTheSamePictures_onTheSecondTurn()
    {
        BusyThumb widget({100, 60});
        QVector<qint64> identities[2];
        for (auto &turn : identities) {
            for (int angle = 0; angle < 360; angle += 30) {
                rendered(widget);
                QPixmap picture;
                QVERIFY(cached(keyOf(100, 60, angle, 0), &picture));
                turn.append(picture.cacheKey());
                tick(widget, widget.spinTimerId);
            }
        }
        QCOMPARE(identities[0], identities[1]);
    }

    void cache_isNamedAfterTheClass_ofASubclassToo()
    {
        NamedThumb widget(nullptr);
        widget.resize(100, 60);
        widget.SetBusy(true);
        rendered(widget);
        QVERIFY(cached("NamedThumb:100:60:0:0"));
        QVERIFY(!cached(keyOf(100, 60, 0, 0)));
    }

    void ring_paintsNothing_whereItHasNoRoom()
    {
        const WarningCounter warnings;
        MultiFrameThumb widget(nullptr);
        widget.SetBusy(true);
        for (const QSize size : {QSize(3, 3), QSize(200, 3), QSize(3, 200), QSize(1, 1)}) {
            widget.resize(size);
            QVERIFY(paintedRect(rendered(widget)).isEmpty());
        }
        QCOMPARE(warnings.count(), 0);
    }
};

TEST_CLASS(TestMultiFrameThumbRing, QApplication)
#include "tst_multiframethumb_ring.moc"
