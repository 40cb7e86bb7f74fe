// The window and the desktop around it: disks that come and go, the file manager, the about box.

#include "tests/support/capturedoutput.h"
#include "tests/support/modaldialog.h"
#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <QMessageBox>

class TestViewerDesktop : public QObject
{
    Q_OBJECT

public:
    static void initMain()
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"); // Nobody's file manager is asked,
        qputenv("PATH", "/nonexistent");                               // and no folder is opened.
    }

private slots:
    void notifier_makesOneRescanDue_fromAnyThread()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        QVERIFY(viewer.diskNotifier);
        std::unique_ptr<QThread> other(QThread::create([&] { viewer.diskNotifier->Notify(); }));
        other->start();
        QVERIFY(other->wait(5000));
        QCOMPARE(viewer.scanTimerId, -1); // queued
        QCoreApplication::processEvents();
        QVERIFY(viewer.scanTimerId >= 0);
        viewer.scanTimerId = -1;
        viewer.diskNotifier->Notify();
        QVERIFY(viewer.scanTimerId >= 0);
    }

    void notifier_livesInTheMainThread_withoutParent()
    {
        ViewerFixture fixture;
        QPointer<NewDiskNotifier> notifier = fixture.open().diskNotifier;
        QVERIFY(!notifier->parent());
        QCOMPARE(notifier->thread(), QCoreApplication::instance()->thread());
        fixture.close();
        QVERIFY(!notifier);
    }

    void openButton_namesTheRecordingOfTheListsRow()
    {
        ViewerFixture fixture;
        const QByteArray name = "caf\xC3\xA9 \xFF%20 \"x\"";
        const Viewer &viewer = fixture.openDisk({fixture.titled(name)});
        CapturedOutput errors(stderr);
        QTest::mouseClick(viewer.ui.openButton, Qt::LeftButton);
        QVERIFY(
            errors.text().startsWith("Opening file " + fixture.path("disk/DVR/RECS/").toLocal8Bit() + name + ".ts\n"));
    }

    void openButton_usesTheListsRow_notTheShownProgramme()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one"), fixture.titled("two")});
        viewer.chooseProgramme(1); // shown, while row 0 stays current
        CapturedOutput errors(stderr);
        viewer.openFinder();
        QVERIFY(errors.text().contains("/one.ts\n"));
    }

    void openButton_waitsForTheRelease_onIt()
    {
        ViewerFixture fixture;
        const Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        CapturedOutput errors(stderr);
        QTest::mousePress(viewer.ui.openButton, Qt::LeftButton);
        QTest::mouseRelease(viewer.ui.openButton, Qt::LeftButton, Qt::NoModifier, QPoint(-50, -50));
        QCOMPARE(errors.text(), QByteArray());
    }

    void openButton_doesNothing_withoutRecordingOrDevice()
    {
        ViewerFixture fixture;
        CapturedOutput errors(stderr);
        QTest::mouseClick(fixture.open().ui.openButton, Qt::LeftButton);
        Viewer &viewer = fixture.openDisk({fixture.titled("one"), fixture.titled("two")});
        viewer.ui.summaryList->setCurrentRow(1);
        viewer.programmes.pop_back(); // The list may show more rows than there are programmes.
        viewer.openFinder();
        viewer.ui.summaryList->setCurrentRow(-1);
        viewer.openFinder();
        viewer.ui.summaryList->clear();
        viewer.openFinder();
        QCOMPARE(errors.text(), QByteArray());
    }

    void aboutBox_saysThis()
    {
        ViewerFixture fixture;
        const Viewer &viewer = fixture.open();
        QString title, text;
        WhenModal<QMessageBox> about([&](QMessageBox &box) {
            title = box.windowTitle();
            text = box.text();
            QCOMPARE(box.parentWidget(), static_cast<const QWidget *>(&viewer));
            QTest::keyClick(&box, Qt::Key_Escape);
        });
        viewer.ui.actionAbout->trigger();
        QVERIFY(about.wasSeen());
        QCOMPARE(title, QString("About Quorvale"));
        QCOMPARE(text, QString("Quorvale\nDVR browser\n") + QChar(0xA9) + QString(" 2016 The Quorvale Project\n"));
    }
};

TEST_CLASS(TestViewerDesktop, QApplication)
#include "tst_viewer_desktop.moc"
