// Giving recordings to other programs: a stand-in for the desktop's opener records what it is asked for.

#include "app/recordingcommands.h"
#include "platform/desktopopener.h"
#include "tests/support/capturedoutput.h"
#include "tests/support/modaldialog.h"
#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QDrag>
#include <QMenu>
#include <QMessageBox>

#include <fstream>

class TestViewerRecordings : public QObject
{
    Q_OBJECT

public:
    static void initMain() { qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"); }

private slots:
    void init()
    {
        desktop = std::make_unique<QTemporaryDir>();
        qputenv("PATH", desktop->path().toLocal8Bit());
        fixture = std::make_unique<ViewerFixture>();
        RecordBytes first = ViewerFixture::titled("one");
        first.description = "<b>Long</b> evening";
        RecordBytes second = ViewerFixture::titled("two");
        second.description.clear();
        QVERIFY(TestVolume::create(fixture->path("disk"), {first, second}));
        for (const char *piece : {"one.ts", "one.ts1", "one.ts2", "one.ts4"})
            QVERIFY(TestVolume::writeFile(fixture->path("disk/DVR/RECS/") + piece, "x"));
        viewer = &fixture->open();
        viewer->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(viewer));
        viewer->ui.summaryList->setFocus();
        childrenAtFirst = int(viewer->children().size());
    }

    void cleanup()
    {
        fixture.reset();
        desktop.reset();
    }

    void play_opensTheMainFile_byKeyAndDoubleClick_once()
    {
        installOpener(0);
        QListWidget *list = viewer->ui.summaryList;
        const QByteArray line = QUrl::fromLocalFile(viewer->recordingFile(0)).toEncoded() + '\n';
        QTest::keyClick(list, Qt::Key_Return);
        QTRY_COMPARE(opened(), line);
        QTest::keyClick(list, Qt::Key_Enter, Qt::KeypadModifier);
        QTRY_COMPARE(opened(), line + line);
        const QPoint place = list->visualItemRect(list->item(0)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, place);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, place);
        QTRY_VERIFY(!isAnythingOpening());
        QCOMPARE(opened(), line + line + line);
        QVERIFY(!QApplication::activeModalWidget());
    }

    void play_saysThatThereIsNoFile()
    {
        installOpener(0);
        viewer->ui.summaryList->setCurrentRow(1);
        const QString text = messageAfter(*viewer, [&] { QTest::keyClick(viewer->ui.summaryList, Qt::Key_Return); });
        QVERIFY2(text.startsWith("There is no file ") && text.contains(viewer->recordingFile(1)), qPrintable(text));
        QCOMPARE(opened(), QByteArray());
    }

    void play_findsAFile_whoseNameIsNoText()
    {
        installOpener(0);
        const QByteArray name = "caf\xE9";
        const QByteArray file = fixture->path("disk/DVR/RECS/").toLocal8Bit() + name + ".ts";
        std::ofstream(file.toStdString()) << 'x';
        quorvale::playRecording({file.toStdString(), {}}, *viewer);
        QTRY_VERIFY(opened().endsWith("/caf%E9.ts\n"));
    }

    // A player that ends with an error may well have played.
    void play_saysNothing_aboutAnyOtherError()
    {
        installOpener(1);
        QTest::keyClick(viewer->ui.summaryList, Qt::Key_Return);
        QTRY_VERIFY(!opened().isEmpty() && !isAnythingOpening());
        QVERIFY(!QApplication::activeModalWidget());
    }

    void play_saysThatThereIsNoPlayer()
    {
        for (const int code : {0, 2, 3, 4, 126, 127}) {
            if (code > 0) // else there is none
                installOpener(code);
            const QString text =
                messageAfter(*viewer, [&] { QTest::keyClick(viewer->ui.summaryList, Qt::Key_Return); });
            QVERIFY2(text.contains("could not be played") && text.contains(viewer->recordingFile(0)), qPrintable(text));
        }
    }

    void play_doesNothing_forARowWithoutProgramme()
    {
        installOpener(0);
        viewer->programmes.clear(); // The list may show more rows than there are programmes.
        QListWidget *list = viewer->ui.summaryList;
        QTest::keyClick(list, Qt::Key_Return);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(0)).center());
        QTRY_VERIFY(!isAnythingOpening());
        QCOMPARE(opened(), QByteArray());
    }

    void menu_hasTheseEntries_fromMouseAndKeyboard()
    {
        for (const auto reason : {QContextMenuEvent::Mouse, QContextMenuEvent::Keyboard}) {
            QPointer<QMenu> menu = openMenuAt(*viewer, 0, reason);
            QVERIFY(menu);
            QStringList texts;
            for (const QAction *action : menu->actions())
                texts.append(action->text());
            QCOMPARE(texts, QStringList({"Play", "Show in File Manager", "Copy Description"}));
            QCOMPARE(menu->defaultAction(), menu->actions().constFirst());
            QTest::keyClick(menu, Qt::Key_Escape);
            QTRY_VERIFY(!menu); // Nothing of it stays in the window.
        }
    }

    void menu_opensNowhere_withoutProgramme()
    {
        viewer->programmes.clear();
        QVERIFY(!openMenuAt(*viewer, 0, QContextMenuEvent::Mouse));
        QVERIFY(!openMenuAt(*viewer, 0, QContextMenuEvent::Keyboard));
        viewer->ui.summaryList->clear();
        QVERIFY(!openMenuAt(*viewer, 0, QContextMenuEvent::Keyboard));
    }

    void menu_showsTheFileInTheFileManager()
    {
        installOpener(0);
        QAction *show = entry(*viewer, "Show in File Manager");
        QVERIFY(show);
        CapturedOutput errors(stderr);
        show->trigger();
        // No file manager answers on a bus here: the folder is opened.
        QTRY_COMPARE(opened(), QUrl::fromLocalFile(fixture->path("disk/DVR/RECS")).toEncoded() + '\n');
        QVERIFY(errors.text().contains("Opening file " + viewer->recordingFile(0).toLocal8Bit() + '\n'));
        QApplication::activePopupWidget()->close();
    }

    void menu_saysThatThereIsNoFileManager()
    {
        QAction *show = entry(*viewer, "Show in File Manager");
        QVERIFY(show);
        const QString text = messageAfter(*viewer, [&] {
            show->trigger();
            QApplication::activePopupWidget()->close();
        });
        QVERIFY2(text.contains("could not be shown"), qPrintable(text));
    }

    void menu_saysThatThereIsNoFile_toShow()
    {
        installOpener(0);
        const QString text = messageAfter(*viewer, [&] {
            const quorvale::Recording missing{viewer->recordingFile(1).toStdString(), {}};
            quorvale::showRecording(missing, *viewer);
        });
        QVERIFY2(text.startsWith("There is no file "), qPrintable(text));
        QCOMPARE(opened(), QByteArray());
    }

    void failure_isForgotten_withWhoeverAsked()
    {
        int heard = 0;
        bool isLateHeard = false;
        auto gone = std::make_unique<QObject>();
        quorvale::showInFileManager("/d/1", gone.get(), [&] { isLateHeard = true; });
        gone.reset();
        for (int i = 1; i <= 3; ++i) { // The first would have been heard before the last.
            quorvale::showInFileManager("/d/1", viewer, [&] { ++heard; });
            QTRY_COMPARE(heard, i);
        }
        QVERIFY(!isLateHeard);
    }

    void menu_opensWithinTheList_forARowOutOfSight()
    {
        QListWidget *list = viewer->ui.summaryList;
        for (int i = 0; i < 100; ++i)
            list->addItem("row"); // without a programme
        list->setCurrentRow(0);
        list->scrollToBottom();
        QVERIFY(!list->viewport()->rect().intersects(list->visualItemRect(list->item(0))));
        QMenu *menu = openMenuAt(*viewer, 0, QContextMenuEvent::Keyboard);
        QVERIFY(menu);
        QVERIFY(list->viewport()->rect().contains(list->viewport()->mapFromGlobal(menu->pos())));
        menu->close();
    }

    void menu_copiesTheDescription_asItReads()
    {
        QAction *copy = entry(*viewer, "Copy Description");
        QVERIFY(copy && copy->isEnabled());
        copy->trigger();
        QCOMPARE(QApplication::clipboard()->text(), QString("Long evening"));
        QApplication::activePopupWidget()->close();
        QMenu *menu = openMenuAt(*viewer, 1, QContextMenuEvent::Mouse);
        QVERIFY(menu && !menu->actions().last()->isEnabled()); // There is none.
        menu->close();
    }

    void drag_carriesAllPieces_forCopyingAlone()
    {
        QListWidget *list = viewer->ui.summaryList;
        const QPoint from = list->visualItemRect(list->item(0)).center();
        QTest::mousePress(list->viewport(), Qt::LeftButton, {}, from);
        const Dragged dragged = draggedTo(from + QPoint(60, 0));
        const QString main = viewer->recordingFile(0);
        QCOMPARE(dragged.files, QStringList({main, main + "1", main + "2"}));
        QCOMPARE(dragged.offered, Qt::DropActions(Qt::CopyAction));
        const QRect row = list->visualItemRect(list->item(0)) & list->viewport()->rect();
        QCOMPARE(dragged.picture.toImage(), list->viewport()->grab(row).toImage());
        QCOMPARE(dragged.held, from - row.topLeft());
    }

    void drag_hasNoPicture_ofARowThatHasMoved()
    {
        QListWidget *list = viewer->ui.summaryList;
        const QPoint from = list->visualItemRect(list->item(0)).center();
        QTest::mousePress(list->viewport(), Qt::LeftButton, {}, from);
        list->insertItem(0, "row");
        const Dragged dragged = draggedTo(from + QPoint(60, 0));
        QCOMPARE(dragged.files.size(), 3);
        QVERIFY(dragged.picture.isNull());
    }

    void drag_leavesTheChosenRow_andEndsWithTheButton()
    {
        QListWidget *list = viewer->ui.summaryList;
        const QPoint from(5, list->visualItemRect(list->item(0)).bottom()); // one further is the next row
        QTest::mousePress(list->viewport(), Qt::LeftButton, {}, from);
        const QPoint near = from + QPoint(0, 1);
        QCOMPARE(list->row(list->itemAt(near)), 1);
        QCOMPARE(draggedTo(near).files, QStringList());
        QTest::mouseRelease(list->viewport(), Qt::LeftButton, {}, near);
        QCOMPARE(list->currentRow(), 0);
        QVERIFY(!quorvale::recordingFiles({viewer->recordingFile(1).toStdString(), {}})); // no file, nothing to drag
        QCOMPARE(draggedTo(from + QPoint(60, 0)).files, QStringList());
    }

    void drag_carriesFiles_whoseNamesAreNoText()
    {
        const QByteArray file = fixture->path("disk/DVR/RECS/").toLocal8Bit() + "50% caf\xE9.ts";
        for (const char *piece : {"", "1"})
            std::ofstream((file + piece).toStdString()) << 'x';
        const std::unique_ptr<QMimeData> files(quorvale::recordingFiles({file.toStdString(), {}}));
        QVERIFY(files);
        QByteArray uris;
        for (const char *piece : {"", "1"})
            uris += "file://" + (file + piece).toPercentEncoding("/") + "\r\n";
        QCOMPARE(files->data("text/uri-list"), uris);
    }

private:
    // Makes the stand-in for the desktop's opener end with this code.
    void installOpener(int code) const
    {
        const QString opener = desktop->filePath("xdg-open");
        QVERIFY(
            TestVolume::writeFile(opener, "#!/bin/sh\necho \"$*\" >>\"${0%/*}/opened\"\necho a player talks\nexit " +
                                              QByteArray::number(code) + "\n"));
        QVERIFY(QFile::setPermissions(opener, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }

    [[nodiscard]] QByteArray opened() const
    {
        const QString log = desktop->filePath("opened");
        return QFile::exists(log) ? TestVolume::readFile(log) : QByteArray();
    }

    struct Dragged
    {
        QStringList files;
        Qt::DropActions offered;
        QPixmap picture;
        QPoint held;
    };

    // Moves the pointer with the button held. On some displays a drag lasts until the pointer lets go, on others it
    // ends at once.
    Dragged draggedTo(const QPoint &place) const
    {
        QListWidget *list = viewer->ui.summaryList;
        Dragged dragged;
        const auto note = [&] {
            if (const auto *drag = list->findChild<QDrag *>()) {
                dragged = {{}, drag->supportedActions(), drag->pixmap(), drag->hotSpot()};
                for (const QUrl &url : drag->mimeData()->urls())
                    dragged.files.append(url.toLocalFile());
            }
        };
        QTimer::singleShot(0, list, [&] {
            note();
            QDrag::cancel();
        });
        QMouseEvent move(QEvent::MouseMove, place, list->viewport()->mapToGlobal(place), Qt::NoButton, Qt::LeftButton,
                         Qt::NoModifier);
        QCoreApplication::sendEvent(list->viewport(), &move);
        note();
        QCoreApplication::processEvents();
        return dragged;
    }

    // While an opener runs, the window has a child that waits for its report; a message is a child, too.
    [[nodiscard]] bool isAnythingOpening() const { return viewer->children().size() > childrenAtFirst; }

    static QMenu *openMenuAt(const Viewer &viewer, int row, QContextMenuEvent::Reason reason)
    {
        QListWidget *list = viewer.ui.summaryList;
        const QPoint place = list->visualItemRect(list->item(row)).center();
        QWidget *receiver = reason == QContextMenuEvent::Keyboard ? list : list->viewport();
        QContextMenuEvent event(reason, place, receiver->mapToGlobal(place));
        QCoreApplication::sendEvent(receiver, &event);
        return qobject_cast<QMenu *>(QApplication::activePopupWidget());
    }

    QAction *entry(const Viewer &window, const QString &text) const
    {
        const QMenu *menu = openMenuAt(window, 0, QContextMenuEvent::Mouse);
        const QList<QAction *> actions = menu ? menu->actions() : QList<QAction *>();
        for (QAction *action : actions) {
            if (action->text() == text)
                return action;
        }
        return nullptr;
    }

    // What a message says that comes up over the window while `act` and a while after.
    QString messageAfter(Viewer &window, const std::function<void()> &act) const
    {
        QString text;
        const WhenModal<QMessageBox> message([&](QMessageBox &box) {
            text = box.parentWidget() == &window ? box.text() : "the message belongs to another window";
            if (box.textFormat() != Qt::PlainText)
                text = "a path could be markup";
            box.reject();
        });
        act();
        return QTest::qWaitFor([&] { return message.wasSeen(); }) ? text : QString("no message");
    }

    std::unique_ptr<QTemporaryDir> desktop;
    std::unique_ptr<ViewerFixture> fixture;
    Viewer *viewer = nullptr;
    int childrenAtFirst = 0;
};

TEST_CLASS(TestViewerRecordings, QApplication)
#include "tst_viewer_recordings.moc"
