// The program, up to the moment when its window waits for the user.

#include "app/program.h"

#include <QApplication>
#include <QtTest>

#include <optional>
#include <thread>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace {

constexpr int kStatus = 7;

struct Program
{
    QString desktopFileName;
    QStringList windows;
    qint64 heapsOfItsThreads; ///< besides those that were there before
};
std::optional<Program> seen;

qint64 heaps()
{
    QByteArray facts(1 << 16, '\0');
#ifdef __GLIBC__
    std::FILE *file = fmemopen(facts.data(), std::size_t(facts.size()), "w");
    malloc_info(0, file);
    std::fclose(file);
#endif
    return facts.count("<heap nr=");
}

// All at once: each waits for the next.
void allocateOnThreads(int threads)
{
    std::thread([threads] {
        const QByteArray some(1000, 'x');
        if (threads > 1)
            allocateOnThreads(threads - 1);
    }).join();
}

void look()
{
    const qint64 before = heaps();
    allocateOnThreads(4);
    seen = Program{QGuiApplication::desktopFileName(), {}, heaps() - before};
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
        QCOMPARE(seen->heapsOfItsThreads, qint64{0});
        // By this name a desktop finds the entry, and with it the icon.
        const QString entry = seen->desktopFileName + QStringLiteral(".desktop");
        QVERIFY(QFile::exists(QFINDTESTDATA("../../packaging/linux/" + entry)));
        QVERIFY(!seen->desktopFileName.isEmpty());
    }
};

QTEST_APPLESS_MAIN(TestMain)
#include "tst_main.moc"
