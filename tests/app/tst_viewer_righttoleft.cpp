// Paths on desktops that read from right to left: in what empty lists say and in tips.

#include "app/displaypath.h"
#include "app/emptylisthint.h"
#include "app/listdelegates.h"
#include "tests/app/notingstyle.h"
#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <QHelpEvent>
#include <QTextLayout>
#include <QToolTip>

namespace {

QString tipAt(QWidget *widget, const QPoint &place)
{
    QHelpEvent event(QEvent::ToolTip, place, widget->mapToGlobal(place));
    QCoreApplication::sendEvent(widget, &event);
    return QToolTip::isVisible() ? QToolTip::text() : QString();
}

// What an empty list paints for `text`, without the ground around it.
QImage paintedHint(const QString &text, Qt::LayoutDirection desktop)
{
    QApplication::setLayoutDirection(desktop);
    QListWidget list;
    list.resize(300, 100);
    (new quorvale::EmptyListHint(&list))->setText(text); // owned by the list
    const QImage image = list.viewport()->grab().toImage();
    QRect painted;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) != image.pixel(0, 0))
                painted |= QRect(x, y, 1, 1);
        }
    }
    // Colours, where letters are smoothed by thirds of a pixel, are a matter of where the line begins.
    return image.copy(painted).convertToFormat(QImage::Format_Mono, Qt::ThresholdDither);
}

// Whether each name of the line `text` begins further right than the name before it.
bool namesGoRight(const QString &text, const QStringList &names)
{
    QTextLayout layout(text, QApplication::font());
    QTextOption reading;
    reading.setTextDirection(Qt::LeftToRight);
    layout.setTextOption(reading);
    layout.beginLayout();
    const QTextLine line = layout.createLine();
    layout.endLayout();
    qreal before = -1;
    for (const QString &name : names) {
        const auto begin = static_cast<int>(text.indexOf(name));
        const auto end = static_cast<int>(begin + name.size() - 1); // its last letter, which is the one on its left
        if (begin < 0 || line.cursorToX(end) <= before)
            return false;
        before = line.cursorToX(end);
    }
    return true;
}

} // namespace

class TestViewerRightToLeft : public QObject
{
    Q_OBJECT

private slots:
    void cleanup()
    {
        QToolTip::hideText();
        QApplication::setLayoutDirection(Qt::LeftToRight);
    }

    void hint_showsAPath_asItReads()
    {
        const QString path = "/media/anna";
        const QString isolated = quorvale::pathInText(path);
        const QSize size = paintedHint(isolated, Qt::LeftToRight).size();
        QCOMPARE(paintedHint(isolated, Qt::RightToLeft).size(), size);
        QCOMPARE(paintedHint(isolated, Qt::RightToLeft), paintedHint(isolated, Qt::LeftToRight));
        QVERIFY(paintedHint(path, Qt::RightToLeft) !=
                paintedHint(path, Qt::LeftToRight)); // Its first "/" goes to the end.
    }

    void names_keepTheirOrder_inAScriptFromRightToLeft()
    {
        const QStringList names = {QStringLiteral(u"\u05d3\u05d9\u05e1\u05e7"), QStringLiteral(u"\u05e1\u05e8\u05d8"),
                                   "7"};
        ViewerFixture fixture;
        const QString disk = fixture.path(names.join('/'));
        QVERIFY(!namesGoRight(disk, names));
        QVERIFY(namesGoRight(quorvale::pathInText(disk), names));
        QVERIFY(TestVolume::create(disk, {fixture.titled("one")}));
        ViewerFixture::settings().setValue("Main/mount_point", QFileInfo(disk).path());
        Viewer &viewer = fixture.open();
        viewer.resize(3000, viewer.height());
        NotingStyle style;
        viewer.ui.deviceList->setStyle(&style);
        QVERIFY(!viewer.ui.deviceList->grab().isNull());
        QVERIFY(!style.painted.isEmpty());
        QVERIFY(namesGoRight(style.painted.last().text, names));
        QCOMPARE(deviceTexts(viewer), QStringList(disk));
        fixture.close();
        // The middle is left out where it was.
        const QFontMetrics metrics(QApplication::font());
        const QString shown = quorvale::elidedPath('/' + names[0] + '/' + names[1].repeated(20) + "/7", metrics,
                                                   metrics.horizontalAdvance(names[0] + names[1].repeated(3)));
        QVERIFY(namesGoRight(quorvale::withNamesApart(shown), {names[0], QChar(0x2026), "7"}));
    }

    void names_keepTheirOrder_howeverNarrowTheList()
    {
        const QString parent = QString(QChar(0x05d0)).repeated(20);
        const QString disk = QString(QChar(0x05d1)).repeated(40) + QChar(0x05d2);
        const QString path = "/media/" + parent + '/' + disk;
        const QFontMetrics metrics(QApplication::font());
        for (int width = metrics.horizontalAdvance(path); width > 0; width -= 7) {
            const QString shown = quorvale::withNamesApart(quorvale::elidedPath(path, metrics, width));
            QVERIFY2(!shown.contains(parent.at(0)) || namesGoRight(shown, {parent.left(1), disk}), qPrintable(shown));
            QVERIFY2(shown.count(disk.at(0)) <= 1 || shown.contains(disk.right(1)), qPrintable(shown));
        }
    }

    void names_cannotChangeTheOrder_byTheirOwnCharacters()
    {
        const QStringList names = {QStringLiteral(u"\u05d3\u05d9\u05e1\u05e7"), QStringLiteral(u"\u05e1\u05e8\u05d8"),
                                   "7"};
        const QString clean = '/' + names.join('/');
        for (const char16_t character : {u'\u2069', u'\u2066', u'\u2067', u'\u2068', u'\u202a', u'\u202b', u'\u202c',
                                         u'\u202d', u'\u202e', u'\u2029'}) {
            const QString path = '/' + names.join(QChar(character) + QString('/'));
            QVERIFY2(namesGoRight(quorvale::withNamesApart(path), names),
                     qPrintable(QString::number(ushort(character), 16)));
            QCOMPARE(quorvale::withNamesApart(path), quorvale::withNamesApart(clean));
            QCOMPARE(quorvale::pathInText(path), quorvale::pathInText(clean));
        }
    }

    void tips_isolatePaths()
    {
        QApplication::setLayoutDirection(Qt::RightToLeft);
        ViewerFixture fixture;
        const QString deep = QString("deep").repeated(30);
        QVERIFY(TestVolume::create(fixture.path(deep), {fixture.titled("one")}));
        const Viewer &viewer = fixture.open();
        QTreeWidget *devices = viewer.ui.deviceList;
        const QPoint row = devices->visualItemRect(devices->topLevelItem(0)).center();
        QVERIFY(tipAt(devices->viewport(), row).contains(quorvale::pathInText(fixture.path(deep))));
        QToolTip::hideText();
        QTRY_VERIFY(!QToolTip::isVisible());
        QVERIFY(tipAt(viewer.ui.thumbnailLabel, QPoint(5, 5)).contains(quorvale::pathInText(viewer.recordingFile(0))));
        fixture.close();
        QToolTip::hideText();
        QTRY_VERIFY(!QToolTip::isVisible());
        QVERIFY(QDir(fixture.path(deep)).removeRecursively());
        QVERIFY(tipAt(fixture.open().ui.deviceList->viewport(), QPoint(5, 5))
                    .contains(quorvale::pathInText(fixture.path())));
    }
};

TEST_CLASS(TestViewerRightToLeft, QApplication)
#include "tst_viewer_righttoleft.moc"
