// The keys for what only the mouse can do in the form.

#include "app/windowkeys.h"
#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QShortcut>
#include <QSignalSpy>

Q_DECLARE_METATYPE(QTreeWidgetItem *)

namespace {

QList<QWidget *> whereTheFocusCanBe(const Viewer &viewer)
{
    const Ui_MainWindow &ui = viewer.ui;
    return {ui.summaryList, ui.deviceList, ui.programmeEdit, ui.timeEdit, ui.openButton, ui.detailsEdit};
}

// What the system tells of a key, by the time of its own clock.
void releaseAndPress(QWidget *focus, Qt::Key key, Qt::KeyboardModifiers modifiers, ulong released, ulong pressed)
{
    const QString text = key == Qt::Key_7 ? "7" : "";
    QKeyEvent release(QEvent::KeyRelease, key, modifiers, text);
    release.setTimestamp(released);
    QCoreApplication::sendEvent(focus, &release);
    if (qt_sendShortcutOverrideEvent(focus, pressed, key, modifiers, text))
        return;
    QKeyEvent press(QEvent::KeyPress, key, modifiers, text);
    press.setTimestamp(pressed);
    QCoreApplication::sendEvent(focus, &press);
}

/// Gives the menu another title.
class TitleTranslator : public QTranslator
{
public:
    explicit TitleTranslator(QString title)
        : m_title(std::move(title))
    {
    }
    QString translate(const char *, const char *source, const char *, int) const override
    {
        return QLatin1String(source) == QLatin1String("File") ? m_title : QString();
    }
    [[nodiscard]] bool isEmpty() const override { return false; }

private:
    QString m_title;
};

} // namespace

class TestViewerKeys : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<QTreeWidgetItem *>(); } // for what the spies record

    void deviceKey_doesOnceWhatAClickDoes_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("modifier");
        QTest::newRow("Return") << int(Qt::Key_Return) << int(Qt::NoModifier);
        QTest::newRow("Enter") << int(Qt::Key_Enter) << int(Qt::KeypadModifier);
        QTest::newRow("Space") << int(Qt::Key_Space) << int(Qt::NoModifier);
    }
    void deviceKey_doesOnceWhatAClickDoes()
    {
        QFETCH(int, key);
        QFETCH(int, modifier);
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(fixture.path("a"), {fixture.titled("one")}));
        QVERIFY(TestVolume::create(fixture.path("b"), {fixture.titled("two")}));
        Viewer &viewer = fixture.open();
        viewer.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&viewer));
        QTreeWidget *list = viewer.ui.deviceList;
        const QSignalSpy clicks(list, &QTreeWidget::itemClicked);
        const QSignalSpy activations(list, &QTreeWidget::itemActivated);
        list->setFocus();
        QTest::keyClick(list, Qt::Key_Down);
        QCOMPARE(list->currentItem(), list->topLevelItem(1));
        const QString other = list->topLevelItem(1)->text(0);
        QVERIFY(viewer.selectedDevice != other);
        QTest::keyClick(list, Qt::Key(key), Qt::KeyboardModifier(modifier));
        QCOMPARE(viewer.selectedDevice, other);
        QCOMPARE(programmeTexts(viewer), QStringList(other.endsWith("/a") ? "one" : "two"));
        QCOMPARE(clicks.size(), 1);
        QCOMPARE(activations.size(), 0);
        QCOMPARE(list->selectedItems(), QList<QTreeWidgetItem *>({list->topLevelItem(1)}));
    }

    void deviceKey_heldDown_doesItOnce()
    {
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(fixture.path("a"), {fixture.titled("one")}));
        QTreeWidget *list = fixture.open().ui.deviceList;
        const QSignalSpy clicks(list, &QTreeWidget::itemClicked);
        list->setCurrentItem(list->topLevelItem(0));
        for (const bool repeated : {false, true, true}) {
            QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, "\r", repeated);
            QCoreApplication::sendEvent(list, &press);
        }
        QCOMPARE(clicks.size(), 1);
        // A release and a press of the same moment are a repeat, too, where the system does not say so.
        for (const ulong moment : {ulong(5000), ulong(5040)})
            releaseAndPress(list, Qt::Key_Return, Qt::NoModifier, moment, moment);
        QCOMPARE(clicks.size(), 1);
        releaseAndPress(list, Qt::Key_Return, Qt::NoModifier, 5080, 5120);
        QCOMPARE(clicks.size(), 2);
    }

    void shortcut_heldDown_worksOnce()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        viewer.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&viewer));
        QTRY_VERIFY(!viewer.thumbnailScanRunning);
        const QShortcut *pause = nullptr;
        for (const QShortcut *shortcut : viewer.findChildren<QShortcut *>()) {
            if (shortcut->key() == QKeySequence("Ctrl+P"))
                pause = shortcut;
        }
        QVERIFY(pause);
        const QSignalSpy pauses(pause, &QShortcut::activated);
        QTest::keyClick(viewer.ui.timeEdit, Qt::Key_P, Qt::ControlModifier);
        QCOMPARE(pauses.size(), 1);
        for (const ulong moment : {ulong(5000), ulong(5040)})
            releaseAndPress(viewer.ui.timeEdit, Qt::Key_P, Qt::ControlModifier, moment, moment);
        QCOMPARE(pauses.size(), 1);
        releaseAndPress(viewer.ui.timeEdit, Qt::Key_P, Qt::ControlModifier, 5080, 5120);
        QCOMPARE(pauses.size(), 2);
    }

    // Letters are for the field that has the focus, however often they come.
    void letter_heldDown_isWrittenAgain()
    {
        ViewerFixture fixture;
        QLineEdit *field = fixture.open().ui.timeEdit;
        field->clear();
        for (const ulong moment : {ulong(5000), ulong(5040)})
            releaseAndPress(field, Qt::Key_7, Qt::NoModifier, moment, moment);
        QCOMPARE(field->text(), QString("77"));
    }

    void deviceKey_doesNothing_withoutDevice()
    {
        ViewerFixture fixture;
        QTreeWidget *list = fixture.open().ui.deviceList;
        const QSignalSpy clicks(list, &QTreeWidget::itemClicked);
        QTest::keyClick(list, Qt::Key_Return);
        QCOMPARE(clicks.size(), 0);
    }

    void menuKey_opensTheMenu_atItsFirstEntry_data()
    {
        QTest::addColumn<QKeySequence>("keys");
        QTest::addColumn<int>("closes");
        QTest::addColumn<QString>("title");
        QTest::newRow("F10") << QKeySequence("F10") << int(Qt::Key_F10) << "File";
        QTest::newRow("Alt+F") << QKeySequence("Alt+F") << int(Qt::Key_Escape) << "File";
        QTest::newRow("in another language") << QKeySequence("Alt+F") << int(Qt::Key_Escape) << "Datei";
    }
    void menuKey_opensTheMenu_atItsFirstEntry()
    {
        QFETCH(QKeySequence, keys);
        QFETCH(int, closes);
        QFETCH(QString, title);
        TitleTranslator translator(title);
        QVERIFY(QCoreApplication::installTranslator(&translator)); // removes itself
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        viewer.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&viewer));
        for (QWidget *focus : whereTheFocusCanBe(viewer)) {
            focus->setFocus();
            QTest::keySequence(focus, keys);
            QTRY_VERIFY2(viewer.ui.menuFile->isVisible(), qPrintable(focus->objectName()));
            QCOMPARE(viewer.ui.menuFile->activeAction(), viewer.ui.actionOpen_Directory);
            QTest::keyClick(viewer.ui.menuFile, Qt::Key(closes));
            QTRY_VERIFY(!viewer.ui.menuFile->isVisible());
            QVERIFY(focus->hasFocus() || closes == Qt::Key_Escape); // which goes back to the menu bar first
        }
        QCOMPARE(viewer.ui.menuFile->title(), title);
        QCOMPARE(viewer.ui.menuFile->actions().size(), 6);
    }

    // A translation may name a key itself: the same key twice would do nothing.
    void menuKey_leavesATextWithItsOwnKey_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("button");
        QTest::newRow("the menu") << "&Fichier"
                                  << "Ouvrir";
        QTest::newRow("another text") << "Tiedosto"
                                      << "&File";
    }
    void menuKey_leavesATextWithItsOwnKey()
    {
        QFETCH(QString, title);
        QFETCH(QString, button);
        QMainWindow window;
        QMenu *menu = window.menuBar()->addMenu(title);
        menu->addAction("entry");
        auto *other = new QPushButton(button, &window);
        const QSignalSpy presses(other, &QPushButton::pressed);
        window.setCentralWidget(other);
        quorvale::addMenuKeys(*window.menuBar());
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        QTest::keySequence(&window, QKeySequence("Alt+F"));
        QTRY_COMPARE(menu->isVisible(), title.startsWith('&'));
        QCOMPARE(presses.size(), button.startsWith('&') ? 1 : 0);
        menu->close();
    }

    void pauseKey_doesWhatAClickDoes_whereverTheFocusIs()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        viewer.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&viewer));
        MultiFrameThumb *pictures = viewer.ui.thumbnailLabel;
        QPixmap picture(16, 9);
        QVector<QPixmap *> series = {&picture};
        pictures->SetThumbs(series, series);
        for (QWidget *focus : whereTheFocusCanBe(viewer)) {
            for (const char *keys : {"Ctrl+P", "Pause"}) {
                QVERIFY(pictures->frameTimerId >= 0);
                focus->setFocus();
                QTest::keySequence(focus, QKeySequence(keys));
                QVERIFY2(pictures->frameTimerId == -1, qPrintable(focus->objectName() + ' ' + keys));
                QTest::keySequence(focus, QKeySequence(keys));
            }
        }
        QList<QKeySequence> known; // Tests cannot press the keys of media players.
        for (const QShortcut *shortcut : viewer.findChildren<QShortcut *>())
            known.append(shortcut->key());
        for (const Qt::Key key : {Qt::Key_MediaPlay, Qt::Key_MediaPause, Qt::Key_MediaTogglePlayPause})
            QVERIFY(known.contains(QKeySequence(key)));
        QCOMPARE(pictures->focusPolicy(), Qt::NoFocus); // The tab order is as it was.
        pictures->ClearThumbs();
    }
};

TEST_CLASS(TestViewerKeys, QApplication)
#include "tst_viewer_keys.moc"
