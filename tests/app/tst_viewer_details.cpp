// The details panel of a real window on a real volume.

#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <QScopeGuard>
#include <QScrollBar>
#include <QTextFrame>
#include <QtTest>

class TestViewerDetails : public QObject
{
    Q_OBJECT

private slots:
    void choose_fillsEveryField()
    {
        ViewerFixture fixture;
        RecordBytes record;
        record.title = "N\xC3\xA4"
                       "chste Folge";
        record.channel = "K1 \xE2\x82\xAC";
        record.description = "<b>Bold</b> &amp; plain<br>second \xC3\xA4 \xE2\x82\xAC";
        record.fileName = "rec one";
        record.year = 2015;
        record.month = 12;
        record.day = 24;
        record.hour = 7;
        record.minute = 5;
        record.second = 0;
        record.playPosition = 3725;
        QVERIFY(TestVolume::create(fixture.path("disk"), {record}));
        QVERIFY(TestVolume::writeSparseFile(fixture.path("disk/DVR/RECS/rec one.ts"), qint64(1000) << 20));
        QVERIFY(TestVolume::writeSparseFile(fixture.path("disk/DVR/RECS/rec one.ts1"), qint64(500) << 20));
        QVERIFY(TestVolume::writeSparseFile(fixture.path("disk/DVR/RECS/rec one.ts3"), qint64(500) << 20));
        const Viewer &viewer = fixture.open();
        QCOMPARE(viewer.ui.programmeEdit->text(), QString::fromUtf8("N\xC3\xA4"
                                                                    "chste Folge"));
        QCOMPARE(viewer.ui.channelEdit->text(), QString::fromUtf8("K1 \xE2\x82\xAC"));
        QCOMPARE(viewer.ui.detailsEdit->toPlainText(), QString::fromUtf8("Bold & plain\nsecond \xC3\xA4 \xE2\x82\xAC"));
        QCOMPARE(viewer.ui.dateEdit->text(), QString("2015.12.24"));
        QCOMPARE(viewer.ui.timeEdit->text(), QString("07:05:00"));
        QCOMPARE(viewer.ui.watchedEdit->text(), QString("1h 2m 5s"));
        QCOMPARE(viewer.ui.fileSizeEdit->text(), QString("1.46 GB"));
        QCOMPARE(viewer.currentProgramme, 0);
    }

    void choose_changesNothing_outsideTheList()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one"), fixture.titled("two")});
        viewer.chooseProgramme(1);
        for (const int row : {-1, 2, 100, INT_MAX, INT_MIN}) {
            viewer.chooseProgramme(row);
            QCOMPARE(viewer.currentProgramme, 1);
            QCOMPARE(viewer.ui.programmeEdit->text(), QString("two"));
        }
    }

    void choose_showsTheDateRelativeToToday()
    {
        QDate today;
        QString shown;
        do { // once more if midnight passes meanwhile
            ViewerFixture fixture;
            RecordBytes record;
            today = QDate::currentDate();
            record.year = today.year();
            record.month = today.month();
            record.day = today.day();
            shown = fixture.openDisk({record}).ui.dateEdit->text();
        } while (QDate::currentDate() != today);
        QCOMPARE(shown, QString("Today"));
    }

    void choose_rendersMarkup_andForgetsThatOfTheOneBefore()
    {
        ViewerFixture fixture;
        RecordBytes bold = fixture.titled("bold"), plain = fixture.titled("plain");
        bold.description = "<b>all bold</b>";
        plain.description = "<body bgcolor='#ff0000'>all plain</body>"; // a text in the field, not the field's document
        Viewer &viewer = fixture.openDisk({bold, plain});
        QCOMPARE(viewer.ui.detailsEdit->toPlainText(), QString("all bold"));
        QTextCursor cursor = viewer.ui.detailsEdit->textCursor();
        cursor.setPosition(3);
        QVERIFY(cursor.charFormat().fontWeight() > QFont::Normal);
        viewer.chooseProgramme(1);
        QCOMPARE(viewer.ui.detailsEdit->toPlainText(), QString("all plain"));
        cursor = viewer.ui.detailsEdit->textCursor();
        cursor.setPosition(3);
        QVERIFY(cursor.charFormat().fontWeight() <= QFont::Normal);
        QCOMPARE(viewer.ui.detailsEdit->document()->rootFrame()->frameFormat().background().style(), Qt::NoBrush);
    }

    // Qt lays nested tables out twice for each level: these for ever.
    void choose_showsTheWords_ofTablesInTablesWithoutEnd()
    {
        ViewerFixture fixture;
        RecordBytes record = ViewerFixture::titled("a");
        record.description = "<b>words</b> " + QByteArray("<table><tr><td>").repeated(60) + "and more";
        const Viewer &viewer = fixture.openDisk({record});
        QCOMPARE(viewer.ui.detailsEdit->toPlainText().simplified(), QString("words and more"));
    }

    void choose_showsTheDescription_inTheFieldsFont()
    {
        const QFont usual = QApplication::font("QTextEdit");
        QFont large = usual;
        large.setPointSize(31);
        QApplication::setFont(large, "QTextEdit");
        const auto restore = qScopeGuard([&] { QApplication::setFont(usual, "QTextEdit"); });
        ViewerFixture fixture;
        const Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        QCOMPARE(viewer.ui.detailsEdit->font().pointSize(), 31);
        QCOMPARE(viewer.ui.detailsEdit->document()->defaultFont(), viewer.ui.detailsEdit->font());
    }

    void choose_showsLongTexts_fromTheirStart()
    {
        ViewerFixture fixture;
        RecordBytes record = fixture.titled(QByteArray("word ").repeated(200));
        record.fileName = "long";
        record.description = QByteArray("line<br>").repeated(120);
        const Viewer &viewer = fixture.openDisk({record, record});
        QTextEdit *details = viewer.ui.detailsEdit;
        QCOMPARE(viewer.ui.programmeEdit->cursorPosition(), 0);
        QVERIFY(details->verticalScrollBar()->maximum() > 0);
        QCOMPARE(details->verticalScrollBar()->value(), 0);
        // Nor does it matter how far the one before was read.
        details->setFocus();
        details->moveCursor(QTextCursor::End);
        details->verticalScrollBar()->setValue(details->verticalScrollBar()->maximum());
        viewer.ui.summaryList->setCurrentRow(1);
        QCoreApplication::processEvents();
        QCOMPARE(details->verticalScrollBar()->value(), 0);
    }

    void choose_measuresTheFile_everyTime()
    {
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("one")}));
        const QString file = fixture.path("disk/DVR/RECS/one.ts");
        QVERIFY(TestVolume::writeSparseFile(file, 500000));
        Viewer &viewer = fixture.open();
        QCOMPARE(viewer.ui.fileSizeEdit->text(), QString("0 MB"));
        QVERIFY(TestVolume::writeSparseFile(file, qint64(1) << 30));
        viewer.chooseProgramme(0);
        QCOMPARE(viewer.ui.fileSizeEdit->text(), QString("1 GB"));
        QCOMPARE(viewer.getFileSizeKB(0), 1048576);
    }

    void choose_showsNoFile_withoutMainFile()
    {
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("one")}));
        QVERIFY(TestVolume::writeSparseFile(fixture.path("disk/DVR/RECS/one.ts1"), 5000));
        Viewer &viewer = fixture.open();
        QCOMPARE(viewer.ui.fileSizeEdit->text(), QString("No file"));
        QCOMPARE(viewer.getFileSizeKB(0), 0);
    }

    void choose_namesTheRecording_onTheThumbnail()
    {
        ViewerFixture fixture;
        const Viewer &viewer = fixture.openDisk({fixture.titled("caf\xC3\xA9")});
        QCOMPARE(viewer.ui.thumbnailLabel->toolTip(),
                 fixture.path("disk") + QString::fromUtf8("/DVR/RECS/caf\xC3\xA9.ts"));
    }

    void choose_showsTheRing_untilTheRecordingHasPictures()
    {
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("one")}));
        const MultiFrameThumb &thumb = *fixture.open().ui.thumbnailLabel;
        QVERIFY(thumb.busy);
        QVERIFY(thumb.thumbs1x.isEmpty());
        QCOMPARE(thumb.frameIndex, -1);
    }

    void choose_showsTheFirstSeries_ofExactlyThisPath()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one"), fixture.titled("ONE")});
        const QString path = fixture.path("disk/DVR/RECS/one.ts");
        const auto series = [](int width) { return QVector<QPixmap *>{new QPixmap(width, 10)}; }; // owned by the cache
        viewer.thumbnailCache = {
            {path + "1", series(1), series(2)}, {path, series(3), series(6)}, {path, series(4), series(8)}};
        const MultiFrameThumb &thumb = *viewer.ui.thumbnailLabel;
        viewer.chooseProgramme(0);
        QVERIFY(!thumb.busy);
        QCOMPARE(thumb.thumbs1x, viewer.thumbnailCache.at(1).x1);
        QCOMPARE(thumb.thumbs2x, viewer.thumbnailCache.at(1).x2);
        QCOMPARE(thumb.frameIndex, 0);
        viewer.chooseProgramme(1);
        QVERIFY(thumb.busy);
        QVERIFY(thumb.thumbs1x.isEmpty());
    }

    void choose_leavesTheDateEmpty_whenItDoesNotExist()
    {
        ViewerFixture fixture;
        RecordBytes record;
        record.month = 13;
        QVERIFY(TestVolume::create(fixture.path("disk"), {record}));
        QCOMPARE(fixture.open().ui.dateEdit->text(), QString());
    }

    void numbers_areFormatted_byTheWindowsOwnFunctions()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        QCOMPARE(viewer.getTwoNumString(5), QString("05"));
        QCOMPARE(viewer.getTwoNumString(123), QString("123"));
        QCOMPARE(viewer.getTwoNumString(-3), QString("0-3"));
        viewer.dateFormat = 1;
        QCOMPARE(viewer.getFormattedDate(3, 7, 1996), QString("07.03.1996"));
    }

    void keys_walkThroughTheList()
    {
        ViewerFixture fixture;
        const Viewer &viewer = fixture.openDisk({fixture.titled("one"), fixture.titled("two")});
        QTest::keyClick(viewer.ui.summaryList, Qt::Key_Down);
        QCOMPARE(viewer.ui.programmeEdit->text(), QString("two"));
        QTest::keyClick(viewer.ui.summaryList, Qt::Key_Down);
        QCOMPARE(viewer.ui.programmeEdit->text(), QString("two"));
        QTest::keyClick(viewer.ui.summaryList, Qt::Key_Up);
        QCOMPARE(viewer.ui.programmeEdit->text(), QString("one"));
    }
};

TEST_CLASS(TestViewerDetails, QApplication)
#include "tst_viewer_details.moc"
