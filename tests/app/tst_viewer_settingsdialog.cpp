// The dialog of the settings: how it looks, what it takes over, what follows when it is closed.

#include "app/programmetext.h"

#include "tests/support/modaldialog.h"
#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <QComboBox>
#include <QDialog>
#include <QFormLayout>

#include <functional>

using namespace quorvale;

namespace {

struct SettingsDialog
{
    explicit SettingsDialog(const QDialog &dialog)
        : mountPoint(dialog.findChild<QLineEdit *>())
        , dateFormat(dialog.findChild<QComboBox *>())
    {
    }
    QLineEdit *mountPoint;
    QComboBox *dateFormat;
};

// Opens the dialog from the menu, lets `act` use it and closes it with Escape.
bool inDialog(const Viewer &viewer, const std::function<void(QDialog &, const SettingsDialog &)> &act)
{
    WhenModal<QDialog> settings([&](QDialog &dialog) {
        act(dialog, SettingsDialog(dialog));
        QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    viewer.ui.actionPreferences->trigger();
    return settings.wasSeen();
}

void retype(QLineEdit *field, const QString &text)
{
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(field, Qt::Key_Delete);
    QTest::keyClicks(field, text);
}

// Waits for the scan that loading a device starts, because the test would count its results, too.
bool scanIsOver(const Viewer &viewer)
{
    constexpr int kScanMs = 60000; // far more than a scan takes
    return QTest::qWaitFor([&] { return !viewer.thumbnailScanRunning; }, kScanMs);
}

} // namespace

class TestViewerSettingsDialog : public QObject
{
    Q_OBJECT

private slots:
    void dialog_isLaidOut_likeThis()
    {
        ViewerFixture fixture;
        fixture.settings().setValue("Main/dateformat", "mdy");
        const Viewer &viewer = fixture.open();
        const bool seen = inDialog(viewer, [&](QDialog &dialog, const SettingsDialog &fields) {
            QCOMPARE(dialog.windowTitle(), QString("Settings"));
            QCOMPARE(dialog.parentWidget(), static_cast<const QWidget *>(&viewer));
            QVERIFY(dialog.isModal());
            const auto *box = qobject_cast<QVBoxLayout *>(dialog.layout());
            QVERIFY(box);
            QCOMPARE(box->spacing(), 10);
            QCOMPARE(box->count(), 1);
            QCOMPARE(box->stretch(0), 0);
            const auto *form = qobject_cast<QFormLayout *>(box->itemAt(0)->layout());
            QVERIFY(form);
            QCOMPARE(form->spacing(), 5);
            QCOMPARE(form->rowCount(), 2);
            const auto *mountLabel = qobject_cast<QLabel *>(form->labelForField(fields.mountPoint));
            const auto *formatLabel = qobject_cast<QLabel *>(form->labelForField(fields.dateFormat));
            QVERIFY(mountLabel && formatLabel);
            QCOMPARE(mountLabel->text(), QString("Drive Mount Point:"));
            QCOMPARE(mountLabel->buddy(), static_cast<QWidget *>(fields.mountPoint));
            QCOMPARE(formatLabel->text(), QString("Date Format:"));
            QCOMPARE(fields.mountPoint->text(), fixture.path());
            QCOMPARE(fields.mountPoint->minimumWidth(), 300);
            dialog.setLayoutDirection(Qt::RightToLeft);
            QCOMPARE(fields.mountPoint->layoutDirection(), Qt::LeftToRight);
            QVERIFY(!fields.dateFormat->isEditable());
            QCOMPARE(fields.dateFormat->count(), 3);
            QCOMPARE(fields.dateFormat->itemText(0), QString("dd.mm.yyyy"));
            QCOMPARE(fields.dateFormat->itemText(1), QString("mm.dd.yyyy"));
            QCOMPARE(fields.dateFormat->itemText(2), QString("yyyy.mm.dd"));
            QCOMPARE(fields.dateFormat->currentIndex(), 1);
            QVERIFY(dialog.findChildren<QAbstractButton *>().isEmpty());
        });
        QVERIFY(seen);
    }

    void dialog_showsTheFirstOrder_whenItIsUnknown()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        for (const int unknown : {-1, 3}) {
            viewer.dateFormat = unknown;
            QVERIFY(inDialog(viewer, [](QDialog &, const SettingsDialog &fields) {
                QCOMPARE(fields.dateFormat->currentIndex(), 0);
                fields.dateFormat->setCurrentIndex(-1); // No key does this.
            }));
            QCOMPARE(viewer.dateFormat, unknown); // No order selected leaves it.
        }
    }

    void dialog_takesOverWhatIsTyped_asItIs_alsoAfterARestart()
    {
        const QString deep = "/media" + QString("/deep").repeated(60);
        for (const QString &typed : {QString("  /no/such place "), deep, QString()}) {
            ViewerFixture fixture;
            Viewer &viewer = fixture.open();
            QVERIFY(
                inDialog(viewer, [&](QDialog &, const SettingsDialog &fields) { retype(fields.mountPoint, typed); }));
            QCOMPARE(viewer.mountPoint, typed);
            fixture.close();
            QVERIFY(fixture.settings().contains("Main/mount_point"));
            QCOMPARE(fixture.open().mountPoint, typed);
        }
    }

    void dialog_takesOverTheOrder_andShowsItAtOnce()
    {
        ViewerFixture fixture;
        fixture.settings().setValue("Main/dateformat", "dmy");
        RecordBytes record;
        record.year = 2016;
        record.month = 7;
        record.day = 3;
        Viewer &viewer = fixture.openDisk({record});
        QCOMPARE(viewer.ui.dateEdit->text(), QString("03.07.2016"));
        QVERIFY(inDialog(viewer, [](QDialog &, const SettingsDialog &fields) {
            fields.dateFormat->setFocus();
            QTest::keyClick(fields.dateFormat, Qt::Key_Down);
        }));
        QCOMPARE(viewer.dateFormat, 1);
        QCOMPARE(viewer.ui.dateEdit->text(), QString("07.03.2016"));
    }

    void dialog_countsAlso_whenItIsClosedByTheWindowsControl()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        WhenModal<QDialog> settings([&](QDialog &dialog) {
            retype(SettingsDialog(dialog).mountPoint, "/closed");
            dialog.close();
        });
        viewer.Preferences();
        QVERIFY(settings.wasSeen());
        QCOMPARE(viewer.mountPoint, QString("/closed"));
    }

    void dialog_changesAndStoresNothing_untouched()
    {
        ViewerFixture fixture;
        const Viewer &viewer = fixture.open();
        const int dateFormat = viewer.dateFormat;
        fixture.settings().clear();
        QVERIFY(inDialog(viewer, [](QDialog &, const SettingsDialog &) {}));
        QCOMPARE(viewer.mountPoint, fixture.path());
        QCOMPARE(viewer.dateFormat, dateFormat);
        QVERIFY(fixture.settings().allKeys().isEmpty());
    }

    void dialog_refillsThePanel_evenUntouched()
    {
        ViewerFixture fixture;
        const Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        viewer.ui.programmeEdit->setText("edited");
        viewer.ui.dateEdit->setText("edited");
        viewer.ui.timeEdit->setText("edited");
        QVERIFY(inDialog(viewer, [](QDialog &, const SettingsDialog &) {}));
        QCOMPARE(viewer.ui.programmeEdit->text(), QString("one"));
        QCOMPARE(viewer.ui.dateEdit->text(), QString("2016.03.05"));
        QCOMPARE(viewer.ui.timeEdit->text(), QString("18:00:07"));
    }

    void dialog_showsTheCachedPictures_evenUntouched()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        QVERIFY(scanIsOver(viewer));
        const MultiFrameThumb &thumb = *viewer.ui.thumbnailLabel;
        const auto series = [](int width) { return QVector<QPixmap *>{new QPixmap(width, 10)}; }; // owned by the cache
        viewer.thumbnailCache = {{viewer.recordingFile(0), series(3), series(6)}};
        QVERIFY(thumb.busy);
        QVERIFY(inDialog(viewer, [](QDialog &, const SettingsDialog &) {}));
        QVERIFY(!thumb.busy);
        QCOMPARE(thumb.thumbs1x, viewer.thumbnailCache.at(0).x1);
        QCOMPARE(thumb.thumbs2x, viewer.thumbnailCache.at(0).x2);
    }

    void dialog_showsTheRing_whenTheCacheHasNoPictures()
    {
        ViewerFixture fixture;
        const Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        QVERIFY(scanIsOver(viewer));
        MultiFrameThumb &thumb = *viewer.ui.thumbnailLabel;
        QPixmap picture(16, 12);
        QVector<QPixmap *> shown{&picture};
        thumb.SetThumbs(shown, shown);
        QVERIFY(!thumb.busy);
        QVERIFY(inDialog(viewer, [](QDialog &, const SettingsDialog &) {}));
        QVERIFY(thumb.busy);
        QVERIFY(thumb.thumbs1x.isEmpty());
    }

    void dialog_leavesTheRelativeDate_asItIs_data()
    {
        QTest::addColumn<int>("daysBack");
        QTest::newRow("today") << 0;
        QTest::newRow("yesterday") << 1;
        QTest::newRow("earlier this week") << 3;
        QTest::newRow("ahead") << -400;
    }
    void dialog_leavesTheRelativeDate_asItIs()
    {
        QFETCH(int, daysBack);
        QDate today;
        QDate date;
        QString before;
        QString after;
        do { // once more if midnight passes meanwhile
            ViewerFixture fixture;
            today = QDate::currentDate();
            date = today.addDays(-daysBack);
            RecordBytes record;
            record.year = date.year();
            record.month = date.month();
            record.day = date.day();
            const Viewer &viewer = fixture.openDisk({record});
            before = viewer.ui.dateEdit->text();
            QVERIFY(inDialog(viewer, [](QDialog &, const SettingsDialog &fields) {
                QTest::keyClick(fields.dateFormat, Qt::Key_Up);
            }));
            QCOMPARE(viewer.dateFormat, 1);
            after = viewer.ui.dateEdit->text();
        } while (QDate::currentDate() != today);
        // On 1 January the day before goes by its weekday.
        const QString expected =
            formatRecordingDate(date.day(), date.month(), date.year(), DateOrder::YearFirst, today);
        QCOMPARE(before, expected);
        QCOMPARE(after, expected);
        QVERIFY(!expected.contains('.'));
    }

    void dialog_startsNoScan()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        QVERIFY(
            inDialog(viewer, [](QDialog &, const SettingsDialog &fields) { retype(fields.mountPoint, "/elsewhere"); }));
        QCOMPARE(deviceTexts(viewer), QStringList(fixture.path("disk")));
        QCOMPARE(viewer.scanTimerId, -1);
        viewer.scanDrives();
        QCOMPARE(deviceTexts(viewer), QStringList());
    }

    void dialog_isDeleted_afterUse()
    {
        ViewerFixture fixture;
        const Viewer &viewer = fixture.open();
        QPointer<QDialog> used;
        QVERIFY(inDialog(viewer, [&](QDialog &dialog, const SettingsDialog &) { used = &dialog; }));
        QVERIFY(!used);
        QVERIFY(viewer.findChildren<QDialog *>().isEmpty());
    }
};

TEST_CLASS(TestViewerSettingsDialog, QApplication)
#include "tst_viewer_settingsdialog.moc"
