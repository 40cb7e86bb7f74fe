// Rows wider than their list: which part of a path is left out, and that no title makes a scroll bar.

#include "app/listdelegates.h"
#include "tests/app/notingstyle.h"
#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <QScrollBar>

using quorvale::elidedPath;

namespace {

QFontMetrics metrics()
{
    return QFontMetrics(QApplication::font());
}

QImage rowOf(const Viewer &viewer, int row)
{
    QTreeWidget *list = viewer.ui.deviceList;
    return list->viewport()->grab(list->visualItemRect(list->topLevelItem(row))).toImage();
}

} // namespace

class TestListDelegates : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { QApplication::setLayoutDirection(Qt::LeftToRight); }

    void elidedPath_keepsWhatFits()
    {
        const QString path = "/media/anna/DISK";
        QCOMPARE(elidedPath(path, metrics(), metrics().horizontalAdvance(path)), path);
    }

    void elidedPath_keepsTheLastName_whereItFits()
    {
        const QString path = "/media/" + QString("anna").repeated(20) + "/RECORDER";
        const int room = metrics().horizontalAdvance("/media/anna") + metrics().horizontalAdvance("/RECORDER");
        const QString shown = elidedPath(path, metrics(), room);
        QVERIFY2(shown.endsWith(QChar(0x2026) + QString("/RECORDER")), qPrintable(shown));
        QVERIFY2(shown.startsWith("/media/"), qPrintable(shown));
        QVERIFY(metrics().horizontalAdvance(shown) <= room);
    }

    void elidedPath_losesTheMiddle_whereTheLastNameDoesNotFit()
    {
        for (const QString &path : {"/media/" + QString("name").repeated(20), "/" + QString("name").repeated(20),
                                    QString("name").repeated(20)}) {
            const int room = metrics().horizontalAdvance("namename");
            const QString shown = elidedPath(path, metrics(), room);
            QVERIFY2(shown.contains(QChar(0x2026)) && shown.endsWith('e'), qPrintable(shown));
            QVERIFY2(path.lastIndexOf('/') <= 0 || shown.startsWith('n'), qPrintable(shown)); // nothing of its parent
            QVERIFY(metrics().horizontalAdvance(shown) <= room);
        }
        QCOMPARE(elidedPath(QString(), metrics(), 10), QString());
    }

    void deviceList_showsTheNamesOfDisks_belowALongPath()
    {
        ViewerFixture fixture;
        const QString deep = QString("deep").repeated(40) + '/';
        QVERIFY(TestVolume::create(fixture.path(deep + "IIII"), {fixture.titled("one")}));
        QVERIFY(TestVolume::create(fixture.path(deep + "WWWW"), {fixture.titled("one")}));
        ViewerFixture::settings().setValue("Main/mount_point", fixture.path(deep));
        const Viewer &viewer = fixture.open();
        QCOMPARE(deviceTexts(viewer).size(), 2);
        QVERIFY(rowOf(viewer, 0) != rowOf(viewer, 1)); // cut off at their ends, both would look the same
        QCOMPARE(viewer.ui.deviceList->topLevelItem(0)->text(0).count(QChar(0x2026)), 0);
    }

    void deviceList_readsFromLeftToRight_onEveryDesktop()
    {
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("one")}));
        for (const Qt::LayoutDirection desktop : {Qt::LeftToRight, Qt::RightToLeft}) {
            QApplication::setLayoutDirection(desktop);
            Viewer &viewer = fixture.open();
            viewer.resize(3000, viewer.height());
            NotingStyle style;
            viewer.ui.deviceList->setStyle(&style);
            QVERIFY(!rowOf(viewer, 0).isNull());
            QVERIFY(!style.painted.isEmpty());
            const QStyleOptionViewItem row = style.painted.last();
            QCOMPARE(row.text, fixture.path("disk"));
            QCOMPARE(row.direction, Qt::LeftToRight);
            // It begins where rows of this desktop do.
            QCOMPARE(row.displayAlignment.testFlag(Qt::AlignRight), desktop == Qt::RightToLeft);
            fixture.close();
        }
    }

    void programmeList_hasALineForEachTitle_ofWhichLittleIsMeasured()
    {
        NotingStyle style; // outlives the window
        ViewerFixture fixture;
        RecordBytes record = fixture.titled(QByteArray("word\n\xE2\x80\xA8\xE2\x80\xA9 ").repeated(40));
        record.fileName = "long";
        Viewer &viewer = fixture.openDisk({record, fixture.titled("short")});
        QListWidget *list = viewer.ui.summaryList;
        list->setStyle(&style);
        QVERIFY(QTest::qWaitForWindowExposed(&viewer));
        QVERIFY(!list->horizontalScrollBar()->isVisible());
        QCOMPARE(list->horizontalScrollBar()->maximum(), 0);
        const QRect row = list->visualItemRect(list->item(0));
        QCOMPARE(row.size(), QSize(list->viewport()->width(), list->visualItemRect(list->item(1)).height()));
        QVERIFY(style.measured.contains("short"));
        for (const QString &measured : std::as_const(style.measured))
            QVERIFY(measured.size() <= 32);
        QVERIFY(!list->viewport()->grab(row).isNull());
        QCOMPARE(style.painted.last().text, QString("word    ").repeated(40));
        QCOMPARE(list->item(0)->text(), QString::fromStdString(viewer.programmes[0].title)); // whole
    }
};

TEST_CLASS(TestListDelegates, QApplication)
#include "tst_listdelegates.moc"
