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

RecordBytes newsRecord()
{
    RecordBytes record;
    record.title = "News";
    record.channel = "CH1";
    record.description = "Headlines.";
    record.year = 2016;
    record.month = 3;
    record.day = 5;
    return record;
}

} // namespace

class TestViewerExport : public QObject
{
    Q_OBJECT

private slots:
    void export_writesTheSelectedProgramme();
    void export_asksWithAnEmptyName_andAddsNothingToIt();
    void export_asksNothing_withoutProgramme();
    void export_writesNothing_whenCancelled();
    void export_replacesAFile_afterAsking();
    void export_isSilent_whenTheFileCannotBeOpened();
    void export_writesTheProgramme_thatIsSelectedWhenTheDialogCloses();
    void export_writesNothing_whenTheProgrammeHasGone_data();
    void export_writesNothing_whenTheProgrammeHasGone();
};

void TestViewerExport::export_writesTheSelectedProgramme()
{
    ViewerFixture fixture;
    fixture.settings().setValue("Main/dateformat", "ymd");
    RecordBytes other = newsRecord();
    other.title = "Other";
    QVERIFY(TestVolume::create(fixture.path("disk"), {other, newsRecord()}));
    Viewer &viewer = fixture.open();
    viewer.ui.summaryList->setCurrentRow(1);
    const QTemporaryDir out;
    WhenModal<QFileDialog> dialog([&](QFileDialog &d) { saveAs(d, out.filePath("news.txt")); });
    viewer.ui.actionExport_Description->trigger();
    QVERIFY(dialog.wasSeen());
    QCOMPARE(TestVolume::readFile(out.filePath("news.txt")), QByteArray("Show       : News\n"
                                                                        "Description:\n"
                                                                        "\n"
                                                                        "Headlines.\n"
                                                                        "\n"
                                                                        "Date       : 2016.03.05\n"
                                                                        "Time stamp : 18:00:07\n"
                                                                        "Channel    : CH1\n"));
}

void TestViewerExport::export_asksWithAnEmptyName_andAddsNothingToIt()
{
    ViewerFixture fixture;
    QVERIFY(TestVolume::create(fixture.path("disk"), {newsRecord()}));
    const Viewer &viewer = fixture.open();
    const QTemporaryDir out;
    // Compared after the dialog: a comparison that fails in there would leave it open.
    struct
    {
        QString title, fileName, suffix, directory;
        QStringList filters;
        QFileDialog::AcceptMode mode = QFileDialog::AcceptOpen;
        const QWidget *parent = nullptr;
    } seen;
    WhenModal<QFileDialog> dialog([&](QFileDialog &d) {
        seen.title = d.windowTitle();
        seen.fileName = d.findChild<QLineEdit *>("fileNameEdit")->text();
        seen.suffix = d.defaultSuffix();
        seen.directory = d.directory().absolutePath();
        seen.filters = d.nameFilters();
        seen.mode = d.acceptMode();
        seen.parent = d.parentWidget();
        saveAs(d, out.filePath("without suffix"));
    });
    viewer.ui.actionExport_Description->trigger();
    QVERIFY(dialog.wasSeen());
    QCOMPARE(seen.title, QString("Save meta file"));
    QCOMPARE(seen.fileName, QString());
    QCOMPARE(seen.suffix, QString());
    QCOMPARE(seen.directory, QDir::currentPath());
    QCOMPARE(seen.filters, QFileDialog(nullptr, QString(), QString(), QString()).nameFilters());
    QCOMPARE(seen.mode, QFileDialog::AcceptSave);
    QCOMPARE(seen.parent, static_cast<const QWidget *>(&viewer));
    QCOMPARE(QDir(out.path()).entryList(QDir::Files), QStringList("without suffix"));
}

void TestViewerExport::export_asksNothing_withoutProgramme()
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

void TestViewerExport::export_writesNothing_whenCancelled()
{
    ViewerFixture fixture;
    QVERIFY(TestVolume::create(fixture.path("disk"), {newsRecord()}));
    const Viewer &viewer = fixture.open();
    const QTemporaryDir out;
    WhenModal<QFileDialog> dialog([&](QFileDialog &d) {
        d.findChild<QLineEdit *>("fileNameEdit")->setText(out.filePath("cancelled.txt"));
        QTest::keyClick(&d, Qt::Key_Escape);
    });
    viewer.ui.actionExport_Description->trigger();
    QVERIFY(dialog.wasSeen());
    QVERIFY(QDir(out.path()).isEmpty());
}

void TestViewerExport::export_replacesAFile_afterAsking()
{
    ViewerFixture fixture;
    QVERIFY(TestVolume::create(fixture.path("disk"), {newsRecord()}));
    const Viewer &viewer = fixture.open();
    const QTemporaryDir out;
    const QString path = out.filePath("there.txt");
    QVERIFY(TestVolume::writeFile(path, QByteArray(5000, 'x')));
    bool asked = false;
    WhenModal<QFileDialog> dialog([&](QFileDialog &d) {
        WhenModal<QMessageBox> question(
            [](QMessageBox &box) { QTest::keyClick(box.button(QMessageBox::Yes), Qt::Key_Space); });
        saveAs(d, path);
        asked = question.wasSeen();
    });
    viewer.ui.actionExport_Description->trigger();
    QVERIFY(dialog.wasSeen());
    QVERIFY(asked);
    QVERIFY(TestVolume::readFile(path).startsWith("Show       : News\n"));
    QVERIFY(TestVolume::readFile(path).endsWith("Channel    : CH1\n"));
}

void TestViewerExport::export_isSilent_whenTheFileCannotBeOpened()
{
    ViewerFixture fixture;
    QVERIFY(TestVolume::create(fixture.path("disk"), {newsRecord()}));
    const Viewer &viewer = fixture.open();
    WhenModal<QFileDialog> dialog([&](QFileDialog &d) { saveAs(d, "/dev/null/impossible"); });
    WhenModal<QMessageBox> message([](QMessageBox &box) { box.reject(); });
    viewer.ui.actionExport_Description->trigger();
    QVERIFY(dialog.wasSeen());
    QVERIFY(!message.wasSeen());
    QVERIFY(!QApplication::activeModalWidget());
}

void TestViewerExport::export_writesTheProgramme_thatIsSelectedWhenTheDialogCloses()
{
    ViewerFixture fixture;
    RecordBytes other = newsRecord();
    other.title = "Other";
    QVERIFY(TestVolume::create(fixture.path("disk"), {newsRecord(), other}));
    const Viewer &viewer = fixture.open();
    QCOMPARE(viewer.currentProgramme, 0);
    const QTemporaryDir out;
    WhenModal<QFileDialog> dialog([&](QFileDialog &d) {
        viewer.ui.summaryList->setCurrentRow(1);
        saveAs(d, out.filePath("other.txt"));
    });
    viewer.ui.actionExport_Description->trigger();
    QVERIFY(dialog.wasSeen());
    QVERIFY(TestVolume::readFile(out.filePath("other.txt")).startsWith("Show       : Other\n"));
}

void TestViewerExport::export_writesNothing_whenTheProgrammeHasGone_data()
{
    QTest::addColumn<int>("programmesLeft");
    QTest::addColumn<int>("selected");
    QTest::newRow("with all others") << 0 << -1;
    QTest::newRow("and the selection was not told") << 1 << 1;
}

void TestViewerExport::export_writesNothing_whenTheProgrammeHasGone()
{
    QFETCH(int, programmesLeft);
    QFETCH(int, selected);
    ViewerFixture fixture;
    QVERIFY(TestVolume::create(fixture.path("disk"), {newsRecord(), newsRecord()}));
    Viewer &viewer = fixture.open();
    const QTemporaryDir out;
    WhenModal<QFileDialog> dialog([&](QFileDialog &d) {
        viewer.programmes.resize(static_cast<std::size_t>(programmesLeft));
        viewer.currentProgramme = selected;
        saveAs(d, out.filePath("gone.txt"));
    });
    viewer.ui.actionExport_Description->trigger();
    QVERIFY(dialog.wasSeen());
    QVERIFY(QDir(out.path()).isEmpty());
}

TEST_CLASS(TestViewerExport, QApplication)
#include "tst_viewer_export.moc"
