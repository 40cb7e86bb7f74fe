// The window as a whole: how it starts, what it is made of, how it follows disks, how it ends.

#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <QAbstractEventDispatcher>
#include <QSignalSpy>
#include <QTimerEvent>
#include <QtTest>

namespace {

QList<QAbstractEventDispatcher::TimerInfo> timersOf(QObject *object)
{
    return QAbstractEventDispatcher::instance()->registeredTimers(object);
}

void addArchive(const ViewerFixture &fixture, const QString &volume, const QList<RecordBytes> &records)
{
    QVERIFY(TestVolume::create(fixture.path(volume), records));
}

} // namespace

class TestViewer : public QObject
{
    Q_OBJECT

private slots:
    void start_showsAWindowWithItsOwnTitle()
    {
        ViewerFixture fixture;
        const Viewer &viewer = fixture.open();
        QCOMPARE(viewer.windowTitle(), QString("Quorvale"));
        QVERIFY(viewer.isVisible());
        QCOMPARE(viewer.objectName(), QString("MainWindow"));
        QVERIFY(!viewer.parent());
    }

    void start_leavesEverythingEmpty_withoutDevice()
    {
        ViewerFixture fixture;
        const Viewer &viewer = fixture.open();
        QCOMPARE(deviceTexts(viewer), QStringList());
        QCOMPARE(programmeTexts(viewer), QStringList());
        QCOMPARE(viewer.selectedDevice, QString());
        QVERIFY(viewer.programmes.empty());
        QCOMPARE(viewer.currentProgramme, -1);
        QCOMPARE(viewer.devicePath, std::string("/"));
        QCOMPARE(viewer.scanTimerId, -1);
        QVERIFY(viewer.openedDirectories.isEmpty());
        QVERIFY(viewer.thumbList.isEmpty());
        QCOMPARE(viewer.mountPoint, fixture.path());
    }

    void start_loadsTheFirstDevice_andShowsItsFirstProgramme()
    {
        ViewerFixture fixture;
        addArchive(fixture, "disk", {fixture.titled("one"), fixture.titled("two")});
        const Viewer &viewer = fixture.open();
        QCOMPARE(deviceTexts(viewer), QStringList(fixture.path("disk")));
        QCOMPARE(viewer.selectedDevice, fixture.path("disk"));
        QCOMPARE(viewer.devicePath, fixture.path("disk").toStdString());
        QCOMPARE(programmeTexts(viewer), QStringList({"one", "two"}));
        QCOMPARE(viewer.ui.summaryList->currentRow(), 0);
        QCOMPARE(viewer.currentProgramme, 0);
        QCOMPARE(viewer.ui.programmeEdit->text(), QString("one"));
        // The device list shows no selection of its own.
        QVERIFY(!viewer.ui.deviceList->currentItem());
        QVERIFY(viewer.ui.deviceList->selectedItems().isEmpty());
    }

    void start_setsAnIcon_inTwoDensities()
    {
        ViewerFixture fixture;
        const QIcon icon = fixture.open().windowIcon();
        QCOMPARE(QPixmap(":/Icons/quorvale-icon64.png").size(), QSize(64, 64));
        QCOMPARE(QPixmap(":/Icons/quorvale-icon128.png").size(), QSize(128, 128));
        const QList<QSize> sizes = icon.availableSizes(QIcon::Normal, QIcon::Off);
        QCOMPARE(sizes.size(), 2);
        QVERIFY(sizes.contains(QSize(64, 64)));
        QVERIFY(sizes.contains(QSize(128, 128)));
        QVERIFY(icon.availableSizes(QIcon::Disabled, QIcon::Off).isEmpty());
    }

    void start_registersThumbnailSeries_forQueuedSignals()
    {
        ViewerFixture fixture;
        fixture.open();
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
        QVERIFY(QMetaType::type("QVector<QPixmap *>") != QMetaType::UnknownType);
#else
        QVERIFY(QMetaType::fromName("QVector<QPixmap *>").isValid());
#endif
    }

    void slots_standInThisOrder()
    {
        QStringList signatures;
        const QMetaObject &type = Viewer::staticMetaObject;
        for (int i = type.methodOffset(); i < type.methodCount(); ++i) {
            QCOMPARE(type.method(i).methodType(), QMetaMethod::Slot);
            signatures.append(type.method(i).methodSignature());
        }
        QCOMPARE(
            signatures,
            QStringList({"About()", "Preferences()",
                         // Qt 5 calls it a vector, Qt 6 a list.
                         QMetaObject::normalizedSignature("SetThumbs(QString,QVector<QPixmap*>,QVector<QPixmap*>)"),
                         "exportMeta()", "openDVR()", "scanDrives()", "selectDevice(QTreeWidgetItem*,int)",
                         "collatedScan()", "openFinder()", "chooseProgramme(int)", "scanDone()"}));
    }

    void fields_areReadOnly_butTheTime()
    {
        ViewerFixture fixture;
        addArchive(fixture, "disk", {fixture.titled("one")});
        const Viewer &viewer = fixture.open();
        QCOMPARE(viewer.ui.dateEdit->minimumWidth(), 100); // of the window too, not only of the form
        QCOMPARE(viewer.ui.timeEdit->minimumWidth(), 100);
        for (QLineEdit *field : viewer.findChildren<QLineEdit *>()) {
            const QString before = field->text();
            field->setCursorPosition(0);
            QTest::keyClicks(field, "9");
            QCOMPARE(field->text(), field == viewer.ui.timeEdit ? '9' + before : before);
        }
        const QString description = viewer.ui.detailsEdit->toPlainText();
        QTest::keyClicks(viewer.ui.detailsEdit, "typed");
        QVERIFY(viewer.ui.detailsEdit->isReadOnly());
        QCOMPARE(viewer.ui.detailsEdit->toPlainText(), description);
    }

    void quitEntry_endsTheEventLoop()
    {
#ifdef Q_OS_MACOS
        QSKIP("Quitting is the application menu's business here.");
#endif
        ViewerFixture fixture;
        const Viewer &viewer = fixture.open();
        bool late = false;
        QTimer guard;
        connect(&guard, &QTimer::timeout, &guard, [&] {
            late = true;
            QCoreApplication::exit(1);
        });
        guard.start(5000);
        QTimer::singleShot(0, viewer.ui.actionQuit, &QAction::trigger);
        QCOMPARE(QCoreApplication::exec(), 0);
        QVERIFY(!late);
    }

    void diskChanges_startOneCoarseTimerOfASecond()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        viewer.collatedScan();
        const int id = viewer.scanTimerId;
        QVERIFY(id >= 0);
        viewer.collatedScan();
        viewer.collatedScan();
        QCOMPARE(viewer.scanTimerId, id);
        const auto timers = timersOf(&viewer);
        QCOMPARE(timers.size(), 1);
        QCOMPARE(timers.first().timerId, id);
        QCOMPARE(timers.first().interval, 1000);
        QCOMPARE(timers.first().timerType, Qt::CoarseTimer);
    }

    void diskChanges_causeOneRescan_howeverMany()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        addArchive(fixture, "late", {fixture.titled("one")});
        QSignalSpy rebuilt(viewer.ui.deviceList->model(), &QAbstractItemModel::modelReset);
        viewer.diskNotifier->Notify();
        for (const int delay : {300, 600, 900})
            QTimer::singleShot(delay, &viewer, [&] { viewer.diskNotifier->Notify(); });
        // Timers expire in the order in which they are due, also on a slow machine: this one after a second that begins
        // with the first change, and before a second that begins with the last.
        int rescansInTime = -1;
        QTimer::singleShot(1500, &viewer, [&] { rescansInTime = int(rebuilt.count()); });
        QTRY_COMPARE_WITH_TIMEOUT(rescansInTime, 1, 30000);
        QCOMPARE(viewer.scanTimerId, -1);
        QVERIFY(timersOf(&viewer).isEmpty()); // Nothing more is due.
        QCOMPARE(deviceTexts(viewer), QStringList(fixture.path("late")));
        // A rescan loads nothing.
        QCOMPARE(viewer.selectedDevice, fixture.path("late"));
        QVERIFY(viewer.programmes.empty());
        QCOMPARE(programmeTexts(viewer), QStringList());
    }

    void diskChanges_scanAgain_afterTheRescan()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        viewer.collatedScan();
        QTimerEvent due(viewer.scanTimerId);
        QCoreApplication::sendEvent(&viewer, &due);
        QCOMPARE(viewer.scanTimerId, -1);
        viewer.collatedScan();
        QVERIFY(viewer.scanTimerId >= 0);
    }

    void timerEvent_ignoresOtherTimers()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        QSignalSpy rebuilt(viewer.ui.deviceList->model(), &QAbstractItemModel::modelReset);
        viewer.collatedScan();
        QTimerEvent other(viewer.scanTimerId + 1);
        QCoreApplication::sendEvent(&viewer, &other);
        QCOMPARE(rebuilt.count(), 0);
        QVERIFY(viewer.scanTimerId >= 0);
    }

    void rescan_keepsTheProgrammes_whenTheVolumeHasGone()
    {
        ViewerFixture fixture;
        addArchive(fixture, "disk", {fixture.titled("one"), fixture.titled("two")});
        Viewer &viewer = fixture.open();
        viewer.SetThumbs(viewer.recordingFile(0), {new QPixmap(8, 6)}, {new QPixmap(16, 12)}); // owned by the window
        QVERIFY(QDir(fixture.path("disk")).removeRecursively());
        viewer.collatedScan();
        QTimerEvent due(viewer.scanTimerId);
        QCoreApplication::sendEvent(&viewer, &due);
        QCOMPARE(deviceTexts(viewer), QStringList());
        QCOMPARE(viewer.selectedDevice, QString());
        QCOMPARE(programmeTexts(viewer), QStringList({"one", "two"}));
        QCOMPARE(viewer.programmes.size(), std::size_t(2));
        QCOMPARE(viewer.currentProgramme, 0);
        QCOMPARE(viewer.ui.programmeEdit->text(), QString("one"));
        QCOMPARE(viewer.thumbnailCache.size(), 1);
        QCOMPARE(viewer.ui.thumbnailLabel->thumbs1x, viewer.thumbnailCache.first().x1);
    }

    void destroy_endsCleanly_whileARescanIsDue()
    {
        ViewerFixture fixture;
        addArchive(fixture, "disk", {fixture.titled("one")});
        fixture.open().collatedScan();
        fixture.close();
        QCOMPARE(fixture.settings().value("Main/mount_point").toString(), fixture.path());
    }
};

TEST_CLASS(TestViewer, QApplication)
#include "tst_viewer.moc"
