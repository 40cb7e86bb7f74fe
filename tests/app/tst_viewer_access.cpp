// Accessibility: names for screen readers, tab order, texts that do not fit, the system's keys.

#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <QAccessible>
#include <QHelpEvent>
#include <QToolTip>
#include <QtTest>

namespace {

QString tipAt(QWidget *widget, const QPoint &place)
{
    QToolTip::hideText(); // The tip shown before takes a moment to go.
    if (!QTest::qWaitFor([] { return !QToolTip::isVisible(); }))
        return QStringLiteral("the tip shown before stays");
    QHelpEvent event(QEvent::ToolTip, place, widget->mapToGlobal(place));
    QCoreApplication::sendEvent(widget, &event);
    return QToolTip::isVisible() ? QToolTip::text() : QString();
}

QList<QLineEdit *> fieldsOf(const Ui_MainWindow &ui)
{
    return {ui.programmeEdit, ui.channelEdit, ui.dateEdit, ui.timeEdit, ui.fileSizeEdit, ui.watchedEdit};
}

// The width of a field whose text just fits. Qt recommends room for seventeen "x"; the rest of what it
// recommends lies around the text.
int fittingWidth(const QLineEdit &field)
{
    const QFontMetrics metrics = field.fontMetrics();
    return field.sizeHint().width() - 17 * metrics.horizontalAdvance('x') + metrics.horizontalAdvance(field.text());
}

} // namespace

class TestViewerAccess : public QObject
{
    Q_OBJECT

private slots:
    void labels_areBuddiesOfTheirFields()
    {
        ViewerFixture fixture;
        const Ui_MainWindow &ui = fixture.open().ui;
        QCOMPARE(ui.label->buddy(), static_cast<QWidget *>(ui.programmeEdit));
        QCOMPARE(ui.label_2->buddy(), static_cast<QWidget *>(ui.channelEdit));
        QCOMPARE(ui.label_3->buddy(), static_cast<QWidget *>(ui.dateEdit));
        QCOMPARE(ui.label_4->buddy(), static_cast<QWidget *>(ui.fileSizeEdit));
        QCOMPARE(ui.label_5->buddy(), static_cast<QWidget *>(ui.timeEdit));
        QCOMPARE(ui.label_6->buddy(), static_cast<QWidget *>(ui.watchedEdit));
    }

    void fields_haveAccessibleNames()
    {
        ViewerFixture fixture;
        const Ui_MainWindow &ui = fixture.open().ui;
        const std::pair<QWidget *, const char *> names[] = {
            {ui.programmeEdit, "Programme"}, {ui.channelEdit, "Channel"},    {ui.dateEdit, "Date Recorded"},
            {ui.timeEdit, "Time"},           {ui.fileSizeEdit, "File Size"}, {ui.watchedEdit, "Play Position"},
            {ui.summaryList, "Programmes"},  {ui.deviceList, "Devices"},     {ui.detailsEdit, "Description"},
            {ui.thumbnailLabel, "Pictures"},
        };
        for (const auto &[widget, name] : names) {
            QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(widget);
            QVERIFY(interface);
            QCOMPARE(interface->text(QAccessible::Name), QString(name));
        }
    }

    void openButton_isDescribed_byItsTip()
    {
        ViewerFixture fixture;
        QPushButton *button = fixture.open().ui.openButton;
        QVERIFY(!button->toolTip().isEmpty());
        QAccessibleInterface *interface = QAccessible::queryAccessibleInterface(button);
        QVERIFY(interface);
        QCOMPARE(button->accessibleDescription(), button->toolTip());
        QCOMPARE(interface->text(QAccessible::Description), button->toolTip());
    }

    void tab_walksInTheOrderOfTheForm()
    {
        ViewerFixture fixture;
        Viewer &viewer = fixture.open();
        viewer.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&viewer));
        viewer.ui.summaryList->setFocus();
        QStringList order;
        for (int i = 0; i < 11; ++i) {
            order.append(QApplication::focusWidget()->objectName());
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(order,
                 QStringList({"summaryList", "deviceList", "programmeEdit", "channelEdit", "dateEdit", "timeEdit",
                              "fileSizeEdit", "openButton", "watchedEdit", "detailsEdit", "summaryList"}));
    }

    void keys_areTheSystemsOwn()
    {
        ViewerFixture fixture;
        const Ui_MainWindow &ui = fixture.open().ui;
        QCOMPARE(ui.actionOpen_Directory->shortcuts(), QKeySequence::keyBindings(QKeySequence::Open));
        QCOMPARE(ui.actionPreferences->shortcuts(), QKeySequence::keyBindings(QKeySequence::Preferences));
        QCOMPARE(ui.actionQuit->shortcuts(), QKeySequence::keyBindings(QKeySequence::Quit));
        QCOMPARE(ui.actionOpen_Directory->shortcut(), QKeySequence("Ctrl+O"));
    }

    void fieldTip_showsTheWholeText_onlyWhenItIsCutOff()
    {
        ViewerFixture fixture;
        const Viewer &viewer = fixture.openDisk({fixture.titled("Short")});
        for (QLineEdit *field : fieldsOf(viewer.ui)) {
            field->setText("Short");
            QCOMPARE(tipAt(field, field->rect().center()), QString());
            const QString text = field->objectName() + QString(" word").repeated(60);
            field->setText(text);
            QVERIFY2(tipAt(field, field->rect().center()).contains(text), qPrintable(field->objectName()));
            QCOMPARE(field->toolTip(), QString());
            QCOMPARE(field->text(), text);
        }
    }

    void fieldTip_appears_withTheFirstPixelThatIsMissing()
    {
        ViewerFixture fixture;
        const Viewer &viewer = fixture.open();
        const QString text = QString("word").repeated(30); // wider than any field must be
        for (QLineEdit *field : fieldsOf(viewer.ui)) {
            field->setText(text);
            const int fitting = fittingWidth(*field);
            field->setFixedWidth(fitting);
            QCOMPARE(tipAt(field, QPoint(10, 5)), QString());
            QCOMPARE(field->width(), fitting);
            field->setFixedWidth(fitting - 1);
            QVERIFY2(tipAt(field, QPoint(10, 5)).contains(text), qPrintable(field->objectName()));
            QCOMPARE(field->width(), fitting - 1);
        }
    }

    void programmeTip_showsTheWholeTitle_onlyWhenItIsCutOff()
    {
        ViewerFixture fixture;
        const QString title = QString("word").repeated(60);
        RecordBytes record = fixture.titled(title.toUtf8());
        record.fileName = "long";
        Viewer &viewer = fixture.openDisk({record, fixture.titled("Short")});
        QListWidget *list = viewer.ui.summaryList;
        const auto tipOf = [list](int row) {
            return tipAt(list->viewport(), QPoint(10, list->visualItemRect(list->item(row)).center().y()));
        };
        QVERIFY(tipOf(0).contains(title));
        QCOMPARE(tipOf(1), QString());
        viewer.resize(8000, viewer.height());
        QTRY_VERIFY(list->viewport()->width() > 3000);
        QCOMPARE(tipOf(0), QString());
    }

    void deviceTip_showsTheWholePath_onlyWhenItIsCutOff()
    {
        ViewerFixture fixture;
        const QString deep = QString("deep").repeated(30);
        QVERIFY(TestVolume::create(fixture.path(deep), {fixture.titled("one")}));
        Viewer &viewer = fixture.open();
        QTreeWidget *list = viewer.ui.deviceList;
        const QPoint place = list->visualItemRect(list->topLevelItem(0)).center();
        QVERIFY(tipAt(list->viewport(), place).contains(deep));
        QCOMPARE(tipAt(list->viewport(), QPoint(place.x(), list->viewport()->height() - 1)), QString());
        viewer.resize(4000, viewer.height());
        QTRY_VERIFY(list->viewport()->width() > 1500);
        QCOMPARE(tipAt(list->viewport(), place), QString());
    }

    void tip_showsMarkup_asItIs()
    {
        ViewerFixture fixture;
        QLineEdit *field = fixture.open().ui.programmeEdit;
        field->setText("<b>" + QString("word ").repeated(60) + "</b>");
        QVERIFY(tipAt(field, field->rect().center()).contains("&lt;b&gt;"));
    }

    void items_carryNothingButTheirText()
    {
        ViewerFixture fixture;
        const Viewer &viewer = fixture.openDisk({fixture.titled("one")});
        const QTreeWidgetItem *item = viewer.ui.deviceList->topLevelItem(0);
        QCOMPARE(item->columnCount(), 1);
        QVERIFY(item->toolTip(0).isEmpty());
        QVERIFY(!item->data(0, Qt::UserRole).isValid());
    }
};

TEST_CLASS(TestViewerAccess, QApplication)
#include "tst_viewer_access.moc"
