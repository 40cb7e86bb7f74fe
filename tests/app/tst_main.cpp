// The program, up to the moment when its window waits for the user.

#include "app/program.h"

#include <QApplication>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <QtTest>

#include <optional>

namespace {

constexpr int kStatus = 7;

struct Program
{
    QString desktopFileName;
    QStringList windows;
};
std::optional<Program> seen;

void look()
{
    seen = Program{QGuiApplication::desktopFileName(), {}};
    for (const QWidget *window : QApplication::topLevelWidgets()) {
        if (window->isVisible())
            seen->windows.append(window->windowTitle());
    }
    QCoreApplication::exit(kStatus);
}

void lookOnceItWaits()
{
    if (!seen)
        QTimer::singleShot(0, qApp, look);
}
Q_COREAPP_STARTUP_FUNCTION(lookOnceItWaits)

} // namespace

class TestMain : public QObject
{
    Q_OBJECT

private slots:
    void main_showsTheWindow_ofTheDesktopsEntry()
    {
        const QTemporaryDir settings; // nobody's own: see ViewerFixture
        QSettings::setDefaultFormat(QSettings::IniFormat);
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings.path());
        int argc = 1;
        QByteArray name = "quorvale";
        char *argv[] = {name.data(), nullptr};
        QCOMPARE(quorvale::runProgram(argc, argv), kStatus);
        QVERIFY(seen);
        QCOMPARE(seen->windows, QStringList("Quorvale"));
        // By this name a desktop finds the entry, and with it the icon.
        const QString entry = seen->desktopFileName + QStringLiteral(".desktop");
        QVERIFY(QFile::exists(QFINDTESTDATA("../../packaging/linux/" + entry)));
        QVERIFY(!seen->desktopFileName.isEmpty());
    }
};

QTEST_APPLESS_MAIN(TestMain)
#include "tst_main.moc"
