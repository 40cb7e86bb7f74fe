// Every text of the window can be translated. A translator that marks and lengthens texts shows which texts are not
// passed to it, and whether longer ones still have room.

#include "app/listhints.h"
#include "app/picturestext.h"
#include "app/recordingcommands.h"
#include "archive/archivepaths.h"
#include "tests/support/modaldialog.h"
#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <QComboBox>
#include <QContextMenuEvent>
#include <QFileDialog>
#include <QHeaderView>
#include <QMessageBox>

namespace {

using Message = QPair<QString, QString>; // context and source text

constexpr QChar kOpening(0x27E6);
constexpr QChar kClosing(0x27E7);

QString marked(const QString &text)
{
    return kOpening + text + QString(text.size() / 3, QChar('~')) + kClosing;
}

class MarkingTranslator : public QTranslator
{
public:
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        if (QLatin1String(context) != QLatin1String("Viewer") && QLatin1String(context) != QLatin1String("MainWindow"))
            return {}; // Qt's own
        asked.insert({QLatin1String(context), QString::fromUtf8(source)});
        return QByteArray(source).isEmpty() ? QString() : marked(QString::fromUtf8(source));
    }
    [[nodiscard]] bool isEmpty() const override { return false; }

    mutable QSet<Message> asked;
};

QSet<Message> catalogue()
{
    QSet<Message> messages;
    QFile file(QFINDTESTDATA("../../translations/quorvale.ts"));
    if (!file.open(QIODevice::ReadOnly))
        return messages;
    QXmlStreamReader xml(&file);
    QString context;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("name"))
            context = xml.readElementText();
        else if (xml.name() == QLatin1String("source"))
            messages.insert({context, xml.readElementText()});
    }
    return messages;
}

/// The texts below `root` that a person reads or hears and that did not pass the translator.
QStringList unmarkedTexts(const QWidget &root, const QSet<QString> &data)
{
    QStringList texts;
    QList<const QWidget *> widgets = {&root};
    for (const auto *widget : root.findChildren<QWidget *>())
        widgets.append(widget);
    for (const auto *widget : widgets) {
        texts += {widget->toolTip(), widget->accessibleName(), widget->accessibleDescription(), widget->statusTip()};
        if (widget->isWindow())
            texts.append(widget->windowTitle());
        if (const auto *label = qobject_cast<const QLabel *>(widget))
            texts.append(label->text());
        if (const auto *field = qobject_cast<const QLineEdit *>(widget))
            texts += {field->text(), field->placeholderText()};
        if (const auto *menu = qobject_cast<const QMenu *>(widget))
            texts.append(menu->title());
        if (const auto *box = qobject_cast<const QComboBox *>(widget)) {
            for (int i = 0; i < box->count(); ++i)
                texts.append(box->itemText(i));
        }
        if (const auto *tree = qobject_cast<const QTreeWidget *>(widget))
            texts.append(tree->headerItem()->text(0));
        if (const auto *button = qobject_cast<const QPushButton *>(widget))
            texts.append(button->text());
    }
    for (const auto *action : root.findChildren<QAction *>())
        texts += {action->text(), action->toolTip()};
    QStringList unmarked;
    static const QRegularExpression translated(QStringLiteral("%1[^%2]*%2").arg(kOpening).arg(kClosing));
    static const QRegularExpression letters(QStringLiteral("\\p{L}"));
    for (const QString &text : texts) {
        if (!data.contains(text) && QString(text).remove(translated).contains(letters))
            unmarked.append(text);
    }
    return unmarked;
}

/// The widgets that have less room than their text needs.
QStringList cutOffTexts(const QWidget &root)
{
    QStringList texts;
    for (const auto *label : root.findChildren<QLabel *>()) {
        if (label->isVisible() &&
            (label->width() < label->sizeHint().width() || label->height() < label->minimumSizeHint().height()))
            texts.append(label->text());
    }
    for (const auto *button : root.findChildren<QPushButton *>()) {
        const QSize needed = button->sizeHint();
        if (button->isVisible() && (button->width() < needed.width() || button->height() < needed.height()))
            texts.append(button->text());
    }
    for (const auto *field : root.findChildren<QLineEdit *>()) {
        const int margins = field->minimumSizeHint().width() - field->fontMetrics().maxWidth();
        const int needed = field->fontMetrics().horizontalAdvance(field->text()) + margins;
        if (field->text().contains(kOpening) && field->width() < needed)
            texts.append(QStringLiteral("%1 (%2 of %3)").arg(field->text()).arg(field->width()).arg(needed));
    }
    for (const auto *box : root.findChildren<QComboBox *>()) {
        if (box->width() < box->sizeHint().width())
            texts.append(box->currentText());
    }
    for (const auto *header : root.findChildren<QHeaderView *>()) {
        if (header->isVisible() && header->sectionSize(0) < header->sectionSizeHint(0))
            texts.append(header->model()->headerData(0, Qt::Horizontal).toString());
    }
    return texts;
}

} // namespace

class TestViewerTranslation : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        translator = std::make_unique<MarkingTranslator>();
        QVERIFY(QCoreApplication::installTranslator(translator.get()));
    }
    void cleanup() { QCoreApplication::removeTranslator(translator.get()); }

    void window_translatesEverythingItSays_andHasRoomForIt()
    {
        ViewerFixture fixture;
        const QDate today = QDate::currentDate();
        QList<RecordBytes> records;
        for (const int daysBack : {0, 1}) {
            const QDate date = today.addDays(-daysBack);
            RecordBytes record = fixture.titled("news");
            record.channel = "channel";
            record.year = date.year();
            record.month = date.month();
            record.day = date.day();
            record.playPosition = 65535;
            records.append(record);
        }
        // The first has a file, the second none, the third one of more than a gigabyte.
        records.append(records.last());
        records[0].fileName = "first";
        records[2].fileName = "third";
        QVERIFY(TestVolume::create(fixture.path("disk"), records));
        const std::string device = fixture.path("disk").toStdString();
        QVERIFY(TestVolume::writeFile(QString::fromStdString(recordingPath(device, "first")), "x"));
        QVERIFY(TestVolume::writeSparseFile(QString::fromStdString(recordingPath(device, "third")), qint64{3} << 30));
        for (const int row : {0, 1, 2}) {
            Viewer &viewer = fixture.open();
            viewer.ui.summaryList->setCurrentRow(row);
            QVERIFY(QTest::qWaitForWindowExposed(&viewer));
            const QSet<QString> data = {"Quorvale", // a name
                                        "news", "channel", viewer.ui.timeEdit->text(), viewer.recordingFile(row)};
            QCOMPARE(unmarkedTexts(viewer, data).join(QChar(0x7C)), QString());
            QCOMPARE(cutOffTexts(viewer).join(QChar(0x7C)), QString());
            QCOMPARE(viewer.ui.dateEdit->minimumWidth(), 100); // the form's
        }
    }

    void dialogs_translateWhatTheySay_andHaveRoomForIt()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();

        QStringList unmarked, cutOff;
        WhenModal<QDialog> settings([&](QDialog &dialog) {
            unmarked = unmarkedTexts(dialog, {viewer.mountPoint});
            cutOff = cutOffTexts(dialog);
            dialog.reject();
        });
        viewer.Preferences();
        QVERIFY(settings.wasSeen());
        QCOMPARE(unmarked.join(QChar(0x7C)), QString());
        QCOMPARE(cutOff.join(QChar(0x7C)), QString());

        QString title, text;
        WhenModal<QMessageBox> about([&](QMessageBox &box) {
            title = box.windowTitle();
            text = box.text();
            cutOff = cutOffTexts(box);
            box.reject();
        });
        viewer.About();
        QVERIFY(about.wasSeen());
        QVERIFY(title.startsWith(kOpening));
        QVERIFY(text.startsWith(kOpening));
        QCOMPARE(cutOff.join(QChar(0x7C)), QString());

        WhenModal<QFileDialog> exporting([&](QFileDialog &dialog) {
            title = dialog.windowTitle();
            dialog.reject();
        });
        QVERIFY(TestVolume::create(fixture.path("disk"), {fixture.titled("news")}));
        Viewer &filled = fixture.open();
        filled.exportMeta();
        QVERIFY(exporting.wasSeen());
        QVERIFY(title.startsWith(kOpening));

        const QTemporaryDir withoutArchive;
        QString warningTitle, warningText;
        WhenModal<QMessageBox> warning([&](QMessageBox &box) {
            warningTitle = box.windowTitle();
            warningText = box.text();
            cutOff = cutOffTexts(box);
            box.reject();
        });
        WhenModal<QFileDialog> opening([&](QFileDialog &dialog) {
            title = dialog.windowTitle();
            auto *name = dialog.findChild<QLineEdit *>("fileNameEdit");
            name->setText(withoutArchive.path());
            QTest::keyClick(name, Qt::Key_Return);
        });
        filled.openDVR();
        QVERIFY(opening.wasSeen());
        QVERIFY(warning.wasSeen());
        QVERIFY(title.startsWith(kOpening));
        QVERIFY(warningTitle.startsWith(kOpening));
        QVERIFY(warningText.startsWith(kOpening));
        QCOMPARE(cutOff.join(QChar(0x7C)), QString());
    }

    void hints_areTranslated()
    {
        using namespace quorvale;
        const QTemporaryDir empty;
        const QTemporaryDir disk;
        QVERIFY(TestVolume::create(disk.path(), QByteArray()));
        QPixmap picture(1, 1);
        const QVector<QPixmap *> one = {&picture};
        const QVector<QPixmap *> two = {&picture, &picture};
        for (const QString &text :
             {noDeviceText({}, MountPointScan::Done, {}), noDeviceText("/nonexistent", MountPointScan::Done, "/usual"),
              noDeviceText(disk.path(), MountPointScan::Done, {}), noDeviceText(empty.path(), MountPointScan::Done, {}),
              noDeviceText(empty.path(), MountPointScan::Due, {}), nothingLoadedText(), unreadableDeviceText("/disk"),
              emptyDeviceText("/disk"), picturesText({"file", {}, {}}), picturesText({"file", one, one}),
              picturesText({"file", two, two}), noPicturesText(ScanProgress::Turn::Awaited),
              noPicturesText(ScanProgress::Turn::InVain), noPicturesText(ScanProgress::Turn::Unknown)})
            QVERIFY2(text.startsWith(kOpening) && text.endsWith(kClosing), qPrintable(text));
    }

    void commandsOnProgrammes_areTranslated()
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"); // Nobody's file manager is asked,
        qputenv("PATH", "/nonexistent");                               // and nobody's player.
        ViewerFixture fixture;
        Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        QListWidget *list = viewer.ui.summaryList;
        QContextMenuEvent event(QContextMenuEvent::Keyboard, {}, {});
        QCoreApplication::sendEvent(list, &event);
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        QVERIFY(menu);
        for (const QAction *action : menu->actions())
            QVERIFY2(action->text().startsWith(kOpening), qPrintable(action->text()));
        menu->close();

        const auto messageAfter = [](const std::function<void()> &act) {
            QString text;
            const WhenModal<QMessageBox> message([&](QMessageBox &box) {
                text = box.text();
                box.reject();
            });
            act();
            return QTest::qWaitFor([&] { return message.wasSeen(); }) ? text : QString();
        };
        const quorvale::Recording recording{viewer.recordingFile(0).toStdString(), {}};
        QVERIFY(messageAfter([&] { playRecording(recording, viewer); }).contains(kOpening));
        QVERIFY(messageAfter([&] { showRecording(recording, viewer); }).contains(kOpening));
        QVERIFY(TestVolume::writeFile(viewer.recordingFile(0), "x"));
        QVERIFY(messageAfter([&] { playRecording(recording, viewer); }).contains(kOpening));
        QVERIFY(messageAfter([&] { showRecording(recording, viewer); }).contains(kOpening));
    }

    void catalogue_holdsWhatIsAskedFor_andNothingElse()
    {
        translator->asked.clear();
        window_translatesEverythingItSays_andHasRoomForIt();
        dialogs_translateWhatTheySay_andHaveRoomForIt();
        hints_areTranslated();
        commandsOnProgrammes_areTranslated();
        QSet<Message> asked = translator->asked;
        asked.remove({"MainWindow", QString()}); // the form sets an empty placeholder
        const QSet<Message> known = catalogue();
        QVERIFY(!known.isEmpty());
        for (const Message &message : known)
            QVERIFY2(asked.contains(message), qPrintable("never asked for: " + message.second));
        for (const Message &message : std::as_const(asked))
            QVERIFY2(known.contains(message), qPrintable("not in the catalogue: " + message.second));
    }

private:
    std::unique_ptr<MarkingTranslator> translator;
};

TEST_CLASS(TestViewerTranslation, QApplication)
#include "tst_viewer_translation.moc"
