// The export entry of the menu, with its file dialog.

#include "tests/support/modaldialog.h"
#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <QFileDialog>
#include <QMessageBox>
#include <QtTest>

namespace {

void saveAs(QFileDialog &dialog, const QString &path)
{
    auto *name = dialog.findChild<QLineEdit *>("fileNameEdit");
    name->setFocus();
    name->setText(path); // typed letter by letter, a list of completions could open and take the Return key
    QTest::keyClick(name, Qt::Key_Return);
}

RecordBytes newsRecord(const QByteArray &title = "News")
{
    RecordBytes record;
    record.title = title;
    record.channel = "CH1";
    record.description = "Headlines.";
    return record;
}

/// A window on a disk with these programmes, and a folder to write to.
struct Exporting : ViewerFixture
{
    explicit Exporting(const QList<RecordBytes> &records = {newsRecord()})
    {
        const bool created = TestVolume::create(path("disk"), records);
        [&] { QVERIFY(created && out.isValid()); }();
    }

    /// Chooses the entry of the menu and does this to its dialog. False where there was none.
    bool exportBy(const std::function<void(QFileDialog &)> &act)
    {
        const WhenModal<QFileDialog> dialog(act);
        viewer->ui.actionExport_Description->trigger();
        return dialog.wasSeen();
    }
    bool exportTo(const QString &file)
    {
        return exportBy([&](QFileDialog &dialog) { saveAs(dialog, file); });
    }

    const QTemporaryDir out;
};

} // namespace

class TestViewerExport : public QObject
{
    Q_OBJECT

private slots:
    void export_writesTheSelectedProgramme()
    {
        Exporting fixture({newsRecord("Other"), newsRecord()});
        fixture.settings().setValue("Main/dateformat", "ymd");
        fixture.open().ui.summaryList->setCurrentRow(1);
        const QString path = fixture.out.filePath("news.txt");
        QVERIFY(fixture.exportTo(path));
        QCOMPARE(TestVolume::readFile(path),
                 QByteArray("Show       : News\nDescription:\n\nHeadlines.\n\n"
                            "Date       : 2016.03.05\nTime stamp : 18:00:07\nChannel    : CH1\n"));
    }

    void export_asksWithAnEmptyName_andAddsNothingToIt()
    {
        Exporting fixture;
        const Viewer &viewer = fixture.open();
        // Compared after the dialog: a comparison that fails in there would leave it open.
        struct
        {
            QString title, fileName, suffix, directory;
            QStringList filters;
            QFileDialog::AcceptMode mode = QFileDialog::AcceptOpen;
            const QWidget *parent = nullptr;
        } seen;
        QVERIFY(fixture.exportBy([&](QFileDialog &d) {
            seen.title = d.windowTitle();
            seen.fileName = d.findChild<QLineEdit *>("fileNameEdit")->text();
            seen.suffix = d.defaultSuffix();
            seen.directory = d.directory().absolutePath();
            seen.filters = d.nameFilters();
            seen.mode = d.acceptMode();
            seen.parent = d.parentWidget();
            saveAs(d, fixture.out.filePath("without suffix"));
        }));
        QCOMPARE(seen.title, QString("Save meta file"));
        QCOMPARE(seen.fileName, QString());
        QCOMPARE(seen.suffix, QString());
        QCOMPARE(seen.directory, QDir::currentPath());
        QCOMPARE(seen.filters, QFileDialog(nullptr, QString(), QString(), QString()).nameFilters());
        QCOMPARE(seen.mode, QFileDialog::AcceptSave);
        QCOMPARE(seen.parent, static_cast<const QWidget *>(&viewer));
        QCOMPARE(QDir(fixture.out.path()).entryList(QDir::Files), QStringList("without suffix"));
    }

    void export_asksNothing_withoutProgramme()
    {
        ViewerFixture fixture;
        QVERIFY(TestVolume::create(fixture.path("disk"), QByteArray()));
        const Viewer &viewer = fixture.open();
        QCOMPARE(viewer.currentProgramme, -1);
        bool asked = false;
        QTimer closer;
        connect(&closer, &QTimer::timeout, &closer, [&] {
            if (auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget())) {
                asked = true;
                dialog->reject();
            }
        });
        closer.start(10);
        viewer.ui.actionExport_Description->trigger();
        QVERIFY(!asked);
    }

    void export_writesNothing_whenCancelled()
    {
        Exporting fixture;
        fixture.open();
        QVERIFY(fixture.exportBy([&](QFileDialog &d) {
            d.findChild<QLineEdit *>("fileNameEdit")->setText(fixture.out.filePath("cancelled.txt"));
            QTest::keyClick(&d, Qt::Key_Escape);
        }));
        QVERIFY(QDir(fixture.out.path()).isEmpty());
    }

    void export_replacesAFile_afterAsking()
    {
        Exporting fixture;
        fixture.open();
        const QString path = fixture.out.filePath("there.txt");
        QVERIFY(TestVolume::writeFile(path, QByteArray(5000, 'x')));
        bool asked = false;
        QVERIFY(fixture.exportBy([&](QFileDialog &d) {
            const WhenModal<QMessageBox> question(
                [](QMessageBox &box) { QTest::keyClick(box.button(QMessageBox::Yes), Qt::Key_Space); });
            saveAs(d, path);
            asked = question.wasSeen();
        }));
        QVERIFY(asked);
        QVERIFY(TestVolume::readFile(path).startsWith("Show       : News\n"));
        QVERIFY(TestVolume::readFile(path).endsWith("Channel    : CH1\n"));
    }

    void export_isSilent_whenTheFileCannotBeOpened()
    {
        Exporting fixture;
        fixture.open();
        const WhenModal<QMessageBox> message([](QMessageBox &box) { box.reject(); });
        QVERIFY(fixture.exportTo("/dev/null/impossible"));
        QVERIFY(!message.wasSeen());
        QVERIFY(!QApplication::activeModalWidget());
    }

    void export_writesTheProgramme_thatIsSelectedWhenTheDialogCloses()
    {
        Exporting fixture({newsRecord(), newsRecord("Other")});
        const Viewer &viewer = fixture.open();
        QCOMPARE(viewer.currentProgramme, 0);
        const QString path = fixture.out.filePath("other.txt");
        QVERIFY(fixture.exportBy([&](QFileDialog &d) {
            viewer.ui.summaryList->setCurrentRow(1);
            saveAs(d, path);
        }));
        QVERIFY(TestVolume::readFile(path).startsWith("Show       : Other\n"));
    }

    void export_writesNothing_whenTheProgrammeHasGone_data()
    {
        QTest::addColumn<int>("programmesLeft");
        QTest::addColumn<int>("selected");
        QTest::newRow("with all others") << 0 << -1;
        QTest::newRow("and the selection was not told") << 1 << 1;
    }

    void export_writesNothing_whenTheProgrammeHasGone()
    {
        QFETCH(int, programmesLeft);
        QFETCH(int, selected);
        Exporting fixture({newsRecord(), newsRecord()});
        Viewer &viewer = fixture.open();
        QVERIFY(fixture.exportBy([&](QFileDialog &d) {
            viewer.programmes.resize(static_cast<std::size_t>(programmesLeft));
            viewer.currentProgramme = selected;
            saveAs(d, fixture.out.filePath("gone.txt"));
        }));
        QVERIFY(QDir(fixture.out.path()).isEmpty());
    }
};

TEST_CLASS(TestViewerExport, QApplication)
#include "tst_viewer_export.moc"
