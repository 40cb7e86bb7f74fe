// The form's objects, compared with a table: the class, the parent, the place and the properties of each.

#include "tests/support/testclass.h"
#include "ui_mainwindow.h"

#include <QMainWindow>
#include <QTranslator>
#include <QtTest>

class TestMainWindowForm : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_window = std::make_unique<QMainWindow>();
        m_ui.setupUi(m_window.get());
    }

    void cleanup() { m_window.reset(); }

    void form_holdsTheseObjects_inThisOrder()
    {
        const auto describe = [](const QObject *object) {
            return object->objectName() + ' ' + object->metaObject()->className();
        };
        const auto named = [&](const QObject *parent) {
            QStringList found;
            for (const QObject *child : parent->children()) {
                // Qt gives its own helpers names that begin with "qt_" or "_".
                const QString name = child->objectName();
                if (!name.isEmpty() && !name.startsWith("qt_") && !name.startsWith('_'))
                    found.append(describe(child));
            }
            return found;
        };
        QCOMPARE(named(m_window.get()),
                 QStringList({"actionQuit QAction", "actionAbout QAction", "actionExport_Description QAction",
                              "actionOpen_Directory QAction", "actionPreferences QAction", "centralwidget QWidget",
                              "menubar QMenuBar"}));
        QCOMPARE(named(find<QWidget>("centralwidget")),
                 QStringList({"verticalLayout_2 QVBoxLayout", "summaryList QListWidget", "deviceList QTreeWidget",
                              "label QLabel", "programmeEdit QLineEdit", "label_2 QLabel", "channelEdit QLineEdit",
                              "label_3 QLabel", "dateEdit QLineEdit", "label_5 QLabel", "timeEdit QLineEdit",
                              "label_4 QLabel", "fileSizeEdit QLineEdit", "openButton QPushButton", "label_6 QLabel",
                              "watchedEdit QLineEdit", "thumbnailLabel MultiFrameThumb", "detailsEdit QTextEdit"}));
        QCOMPARE(named(find<QLayout>("verticalLayout_2")),
                 QStringList({"horizontalLayout QHBoxLayout", "verticalLayout QVBoxLayout"}));
        QCOMPARE(named(find<QLayout>("verticalLayout")), QStringList({"horizontalLayout_4 QHBoxLayout"}));
        QCOMPARE(named(find<QLayout>("horizontalLayout_4")), QStringList({"formLayout QFormLayout"}));
        QCOMPARE(named(find<QLayout>("formLayout")),
                 QStringList({"horizontalLayout_3 QHBoxLayout", "horizontalLayout_2 QHBoxLayout"}));
        QCOMPARE(named(find<QWidget>("menubar")), QStringList({"menuFile QMenu"}));
        QCOMPARE(m_window->findChildren<QWidget *>("statusbar").size(), 0);
    }

    void form_setsTheWindow()
    {
        QCOMPARE(m_window->objectName(), QString("MainWindow"));
        QCOMPARE(m_window->size(), QSize(602, 401));
        QCOMPARE(m_window->sizePolicy(), QSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred));
        QCOMPARE(m_window->windowTitle(), QString("Tessarine"));
        QCOMPARE(m_window->centralWidget(), find<QWidget>("centralwidget"));
        QCOMPARE(m_ui.menubar->geometry().size(), QSize(602, 22));
        QCOMPARE(m_ui.menubar->geometry().topLeft(), QPoint(0, 0));
    }

    void form_keepsTheWindowsName_whenItHasOne()
    {
        QMainWindow window;
        window.setObjectName("named");
        Ui_MainWindow ui;
        ui.setupUi(&window);
        QCOMPARE(window.objectName(), QString("named"));
    }

    void form_laysOutItsWidgets_inThisOrder()
    {
        QCOMPARE(itemsOf("verticalLayout_2"), QStringList({"horizontalLayout", "verticalLayout"}));
        QCOMPARE(itemsOf("horizontalLayout"), QStringList({"summaryList", "deviceList"}));
        QCOMPARE(itemsOf("verticalLayout"), QStringList({"horizontalLayout_4", "detailsEdit"}));
        QCOMPARE(itemsOf("horizontalLayout_4"), QStringList({"formLayout", "thumbnailLabel"}));
        QCOMPARE(itemsOf("horizontalLayout_3"), QStringList({"dateEdit", "label_5", "timeEdit"}));
        QCOMPARE(itemsOf("horizontalLayout_2"), QStringList({"fileSizeEdit", "(spacer)", "openButton"}));
        const QSpacerItem *spacer = find<QHBoxLayout>("horizontalLayout_2")->itemAt(1)->spacerItem();
        QVERIFY(spacer);
        QCOMPARE(spacer->sizeHint(), QSize(100, 14));
        QCOMPARE(spacer->sizePolicy(), QSizePolicy(QSizePolicy::Expanding, QSizePolicy::Minimum));
    }

    void form_placesTheDetails_inTheseRows()
    {
        const auto *form = find<QFormLayout>("formLayout");
        QStringList places;
        for (int row = 0; row < form->rowCount(); ++row) {
            for (const auto role : {QFormLayout::LabelRole, QFormLayout::FieldRole, QFormLayout::SpanningRole}) {
                const QLayoutItem *item = form->itemAt(row, role);
                if (!item)
                    continue;
                QLayoutItem *shown = form->itemAt(row, role);
                const QString name = shown->widget() ? shown->widget()->objectName() : shown->layout()->objectName();
                places.append(QString("%1.%2 %3").arg(row).arg(role).arg(name));
            }
        }
        QCOMPARE(places, QStringList({"0.0 label", "0.1 programmeEdit", "1.0 label_2", "1.1 channelEdit", "3.0 label_3",
                                      "3.1 horizontalLayout_3", "4.0 label_4", "4.1 horizontalLayout_2", "5.0 label_6",
                                      "5.1 watchedEdit"}));
    }

    void form_setsTheseProperties_onFields_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("readOnly");
        QTest::addColumn<QSize>("minimumSize");
        QTest::addColumn<int>("horizontalStretch");
        // A field's own policy is Expanding and Fixed.
        QTest::newRow("programmeEdit") << "programmeEdit" << true << QSize(300, 0) << 1;
        QTest::newRow("channelEdit") << "channelEdit" << true << QSize(300, 0) << 1;
        QTest::newRow("dateEdit") << "dateEdit" << true << QSize(100, 0) << 0;
        QTest::newRow("timeEdit") << "timeEdit" << false << QSize(100, 0) << 0;
        QTest::newRow("fileSizeEdit") << "fileSizeEdit" << true << QSize(0, 0) << 0;
        QTest::newRow("watchedEdit") << "watchedEdit" << true << QSize(0, 0) << 0;
    }

    void form_setsTheseProperties_onFields()
    {
        QFETCH(QString, name);
        QFETCH(int, horizontalStretch);
        const auto *field = m_window->findChild<QLineEdit *>(name);
        QVERIFY(field);
        QTEST(field->isReadOnly(), "readOnly");
        QTEST(field->minimumSize(), "minimumSize");
        QSizePolicy policy(QSizePolicy::Expanding, QSizePolicy::Fixed, QSizePolicy::LineEdit);
        policy.setHorizontalStretch(horizontalStretch);
        QCOMPARE(field->sizePolicy().horizontalPolicy(), policy.horizontalPolicy());
        QCOMPARE(field->sizePolicy().verticalPolicy(), policy.verticalPolicy());
        QCOMPARE(field->sizePolicy().horizontalStretch(), policy.horizontalStretch());
        QCOMPARE(field->sizePolicy().verticalStretch(), 0);
        QCOMPARE(field->placeholderText(), QString());
        QCOMPARE(field->text(), QString());
    }

    void form_setsTheseTexts_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("property");
        QTest::addColumn<QString>("text");
        const QStringList rows[] = {
            {"label", "text", "Programme:"},
            {"label_2", "text", "Channel:"},
            {"label_3", "text", "Date Recorded:"},
            {"label_4", "text", "File Size:"},
            {"label_5", "text", "Time:"},
            {"label_6", "text", "Play Position:"},
            {"openButton", "text", "Open"},
            {"openButton", "toolTip", "Open in Finder"},
            {"menuFile", "title", "File"},
            {"actionQuit", "text", "Quit"},
            {"actionAbout", "text", "About..."},
            {"actionExport_Description", "text", "Export Description..."},
            {"actionOpen_Directory", "text", "Open Directory..."},
            {"actionPreferences", "text", "Preferences..."},
        };
        for (const QStringList &row : rows)
            QTest::newRow(qPrintable(row[0] + ' ' + row[1])) << row[0] << row[1] << row[2];
    }

    void form_setsTheseTexts()
    {
        QFETCH(QString, name);
        QFETCH(QString, property);
        const auto *object = m_window->findChild<QObject *>(name);
        QVERIFY(object);
        QTEST(object->property(qPrintable(property)).toString(), "text");
        QCOMPARE(m_ui.deviceList->columnCount(), 1);
        QCOMPARE(m_ui.deviceList->headerItem()->text(0), QString("Devices"));
        QCOMPARE(m_ui.label_5->alignment(), Qt::AlignRight | Qt::AlignVCenter);
        QCOMPARE(m_ui.thumbnailLabel->minimumSize(), QSize(160, 120));
    }

    void form_hasOneMenu_withEntriesInThisOrder()
    {
        QCOMPARE(m_ui.menubar->actions(), QList<QAction *>({m_ui.menuFile->menuAction()}));
        QStringList entries;
        for (const QAction *action : m_ui.menuFile->actions())
            entries.append(action->isSeparator() ? "(separator)" : action->objectName());
        QCOMPARE(entries, QStringList({"actionOpen_Directory", "actionExport_Description", "(separator)", "actionAbout",
                                       "actionPreferences", "actionQuit"}));
    }

    void form_translatesItsTexts_inItsContext()
    {
        class Marking : public QTranslator
        {
        public:
            QString translate(const char *context, const char *text, const char *, int) const override
            {
                return QString("%1/%2").arg(context, text);
            }
            bool isEmpty() const override { return false; }
        } marking;
        QCoreApplication::installTranslator(&marking);
        m_ui.retranslateUi(m_window.get());
        QCoreApplication::removeTranslator(&marking);
        QCOMPARE(m_ui.label->text(), QString("MainWindow/Programme:"));
        QCOMPARE(m_ui.deviceList->headerItem()->text(0), QString("MainWindow/Devices"));
        QCOMPARE(m_ui.openButton->toolTip(), QString("MainWindow/Open in Finder"));
        QCOMPARE(m_ui.menuFile->title(), QString("MainWindow/File"));
    }

private:
    template <typename T>
    T *find(const char *name) const
    {
        return m_window->findChild<T *>(QLatin1String(name));
    }

    // The names of a layout's items; a spacer is "(spacer)".
    [[nodiscard]] QStringList itemsOf(const char *layoutName) const
    {
        QStringList names;
        const auto *layout = find<QLayout>(layoutName);
        for (int i = 0; layout && i < layout->count(); ++i) {
            QLayoutItem *item = layout->itemAt(i);
            if (item->widget())
                names.append(item->widget()->objectName());
            else if (item->layout())
                names.append(item->layout()->objectName());
            else
                names.append("(spacer)");
        }
        return names;
    }

    std::unique_ptr<QMainWindow> m_window;
    Ui_MainWindow m_ui;
};

TEST_CLASS(TestMainWindowForm, QApplication)
#include "tst_mainwindowform.moc"
