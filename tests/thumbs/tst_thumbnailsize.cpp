#include "tests/support/testclass.h"
#include "thumbs/thumbnailsize.h"

#include <limits>

using namespace quorvale;

namespace {

QSize scaledSize(QSize display, QSize decoded, int rows)
{
    const QImage picture(decoded, QImage::Format_RGB888);
    return scaledTo(thumbnailSize(display, decoded, rows), picture).size();
}

} // namespace

class TestThumbnailSize : public QObject
{
    Q_OBJECT

private slots:
    void scaledTo_givesTheSizesOfBothDensities_data()
    {
        QTest::addColumn<QSize>("display");
        QTest::addColumn<QSize>("decoded");
        QTest::addColumn<QSize>("small");
        QTest::addColumn<QSize>("large");
        const auto add = [](const char *name, QSize display, QSize decoded, QSize small, QSize large) {
            QTest::newRow(name) << display << decoded << small << large;
        };
        add("square pixels", {720, 576}, {720, 576}, {150, 120}, {300, 240});
        add("16:11", {1047, 576}, {720, 576}, {218, 120}, {436, 240});
        add("12:11", {785, 576}, {720, 576}, {163, 120}, {327, 240});
        add("16:9 broadcast", {1024, 576}, {704, 576}, {213, 120}, {426, 240});
        add("square 16:9", {1920, 1080}, {1920, 1080}, {160, 90}, {320, 180});
        add("1440 columns shown as 1920", {1920, 1080}, {1440, 1080}, {213, 120}, {426, 240});
        add("square and high", {240, 480}, {240, 480}, {60, 120}, {120, 240});
        add("smaller than a thumbnail", {64, 48}, {64, 48}, {160, 120}, {320, 240});
        add("exactly the small one", {160, 120}, {160, 120}, {160, 120}, {320, 240});
        add("higher than its coded size", {720, 480}, {720, 576}, {180, 120}, {360, 240});
        add("a line of one pixel's width", {1, 4000}, {1, 4000}, {1, 120}, {1, 240});
        add("display of one pixel's width", {1, 576}, {720, 576}, {1, 120}, {1, 240});
        add("display of unknown size", {0, 0}, {720, 576}, {150, 120}, {300, 240});
        add("absurdly wide display", {std::numeric_limits<int>::max(), 1}, {720, 576}, {8192, 120}, {8192, 240});
    }
    void scaledTo_givesTheSizesOfBothDensities()
    {
        QFETCH(QSize, display);
        QFETCH(QSize, decoded);
        QTEST(scaledSize(display, decoded, kSmallRows), "small");
        QTEST(scaledSize(display, decoded, kLargeRows), "large");
    }

    void thumbnailSize_roundsTheWidthDown_inDoublePrecision()
    {
        for (int height = 1; height <= 1200; height += 7) {
            for (int width = 1; width <= 2000; width += 11) {
                const QSize decoded(width + 1, height);
                for (const double rows : {120.0, 240.0}) {
                    const ThumbnailSize thumbnail = thumbnailSize(QSize(width, height), decoded, int(rows));
                    QCOMPARE(thumbnail.aspect, Qt::IgnoreAspectRatio);
                    QCOMPARE(thumbnail.size, QSize(qBound(1, int(rows / height * width), 8192), int(rows)));
                }
            }
        }
    }

    void thumbnailSize_isABoxOf4To3_forSquarePixels()
    {
        const ThumbnailSize small = thumbnailSize({720, 576}, {720, 576}, kSmallRows);
        QCOMPARE(small.size, QSize(160, 120));
        QCOMPARE(small.aspect, Qt::KeepAspectRatio);
        const ThumbnailSize large = thumbnailSize({720, 576}, {720, 576}, kLargeRows);
        QCOMPARE(large.size, QSize(320, 240));
        QCOMPARE(large.aspect, Qt::KeepAspectRatio);
    }

    void scaledTo_isNull_forANullPicture()
    {
        QVERIFY(scaledTo(thumbnailSize({720, 576}, {720, 576}, kSmallRows), QImage()).isNull());
    }
};

TEST_CLASS(TestThumbnailSize, QCoreApplication)
#include "tst_thumbnailsize.moc"
