// What the window looks like with light and with dark colours, on screens of several densities: CTest runs this test
// once for each density, for a process has but one.

#include "tests/support/modaldialog.h"
#include "tests/support/testclass.h"
#include "tests/support/viewerfixture.h"

#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QStyleFactory>
#include <QTextEdit>
#include <QTreeWidget>
#include <QtTest>

#include <algorithm>
#include <cmath>

namespace {

// Least contrast of text and its background that people with weak eyes can read, by the guidelines for the web.
constexpr double kReadable = 4.5;

// Luminance from 0, black, to 1, white, as those guidelines define it.
double luminance(QRgb colour)
{
    const auto linear = [](int level) {
        const double part = level / 255.0;
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour)) + 0.0722 * linear(qBlue(colour));
}

struct Shades
{
    double darkest = 1;
    double lightest = 0;

    [[nodiscard]] double contrast() const { return (lightest + 0.05) / (darkest + 0.05); }
};

// The shades of a part of a widget as it is painted.
Shades shadesOf(QWidget &widget, const QRect &part)
{
    const QImage picture = widget.grab(part).toImage();
    Shades shades;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            shades.darkest = std::min(shades.darkest, luminance(picture.pixel(x, y)));
            shades.lightest = std::max(shades.lightest, luminance(picture.pixel(x, y)));
        }
    }
    return shades;
}

// The widgets below `root` whose text a person could not read.
QStringList unreadable(const QWidget &root)
{
    QList<QWidget *> written;
    for (auto *label : root.findChildren<QLabel *>())
        written.append(label->text().isEmpty() ? nullptr : label);
    for (auto *field : root.findChildren<QLineEdit *>())
        written.append(field->text().isEmpty() ? nullptr : field);
    for (auto *button : root.findChildren<QPushButton *>())
        written.append(button->isEnabled() ? button : nullptr);
    for (auto *box : root.findChildren<QComboBox *>())
        written.append(box);
    QStringList found;
    for (QWidget *widget : std::as_const(written)) {
        if (!widget || !widget->isVisible())
            continue;
        const double contrast = shadesOf(*widget, widget->rect().adjusted(4, 4, -4, -4)).contrast();
        if (contrast < kReadable)
            found.append(QStringLiteral("%1: %2").arg(widget->objectName()).arg(contrast));
    }
    return found;
}

QPalette paletteOf(const QColor &ground, const QColor &text)
{
    QPalette palette(ground, ground);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(role, text);
    palette.setColor(QPalette::Base, ground);
    palette.setColor(QPalette::Highlight, QColor(20, 80, 160));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    return palette;
}

} // namespace

class TestViewerAppearance : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QCOMPARE(qApp->devicePixelRatio(), qEnvironmentVariable("QT_SCALE_FACTOR", "1").toDouble());
        QApplication::setStyle(QStyleFactory::create("Fusion")); // which paints with the palette
        RecordBytes record = ViewerFixture::titled("News at seven");
        record.channel = "Channel";
        record.description = "A long evening in the mountains";
        QVERIFY(TestVolume::create(fixture.path("disk"), {record, ViewerFixture::titled("Weather")}));
    }

    void texts_areReadable_withAnyColours_data()
    {
        QTest::addColumn<QColor>("ground");
        QTest::addColumn<QColor>("text");
        QTest::newRow("light") << QColor(250, 250, 250) << QColor(20, 20, 20);
        QTest::newRow("dark") << QColor(35, 35, 38) << QColor(240, 240, 240);
    }

    void texts_areReadable_withAnyColours()
    {
        QFETCH(const QColor, ground);
        QFETCH(const QColor, text);
        QApplication::setPalette(paletteOf(ground, text));
        Viewer &viewer = fixture.open();
        viewer.ui.summaryList->setCurrentRow(0);
        QVERIFY(QTest::qWaitForWindowExposed(&viewer));

        QCOMPARE(unreadable(viewer), QStringList());
        // One row of the list is selected, the other is not; so is the device.
        QListWidget *list = viewer.ui.summaryList;
        for (const int row : {0, 1})
            QVERIFY(shadesOf(*list->viewport(), list->visualItemRect(list->item(row))).contrast() >= kReadable);
        QTreeWidget *tree = viewer.ui.deviceList;
        QVERIFY(shadesOf(*tree->viewport(), tree->visualItemRect(tree->topLevelItem(0))).contrast() >= kReadable);
        QWidget *details = viewer.ui.detailsEdit->viewport();
        QVERIFY(shadesOf(*details, details->rect()).contrast() >= kReadable);
        QStringList inDialogs;
        for (QAction *action : {viewer.ui.actionPreferences, viewer.ui.actionAbout}) {
            const WhenModal<QDialog> dialog([&](QDialog &d) {
                inDialogs += unreadable(d);
                d.reject();
            });
            action->trigger();
            QVERIFY(dialog.wasSeen());
        }
        QCOMPARE(inDialogs, QStringList());

        // The colours are those that were asked for, everywhere: no part of a dark window is bright.
        const double average =
            luminance(viewer.grab().toImage().scaled(1, 1, {}, Qt::SmoothTransformation).pixel(0, 0));
        QVERIFY2(std::abs(average - luminance(ground.rgb())) < 0.25, qPrintable(QString::number(average)));
    }

private:
    ViewerFixture fixture;
};

TEST_CLASS(TestViewerAppearance, QApplication)
#include "tst_viewer_appearance.moc"
