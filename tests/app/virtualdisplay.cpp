#include "tests/app/virtualdisplay.h"

#include <QPoint>
#include <QStandardPaths>

namespace {

constexpr int kPatienceMs = 30000;

} // namespace

VirtualDisplay::~VirtualDisplay()
{
    m_server.terminate();
    m_server.waitForFinished(kPatienceMs);
}

QString VirtualDisplay::start()
{
    for (const char *program : {"Xvfb", "xdotool", "import"}) {
        if (QStandardPaths::findExecutable(program).isEmpty())
            return QStringLiteral("%1 is not installed").arg(program);
    }
    // It takes a free display number and writes it to the pipe once it is ready. Without the last option it would
    // restart, and refuse connections meanwhile, whenever its last window is closed.
    m_server.start("Xvfb", {"-displayfd", "1", "-screen", "0", "1280x1024x24", "-nolisten", "tcp", "-noreset"});
    while (!m_server.canReadLine()) {
        if (!m_server.waitForReadyRead(kPatienceMs))
            return "Xvfb did not start: " + QString::fromLocal8Bit(m_server.readAllStandardError());
    }
    m_name = ':' + QString::fromLatin1(m_server.readLine().trimmed());
    return {};
}

QByteArray VirtualDisplay::window(const QString &title) const
{
    return run("xdotool", {"search", "--onlyvisible", "--name", '^' + title + '$'}).split('\n').first();
}

QByteArray VirtualDisplay::windowOfClass(const QString &programClass) const
{
    return run("xdotool", {"search", "--onlyvisible", "--class", '^' + programClass + '$'}).split('\n').first();
}

QImage VirtualDisplay::picture(const QByteArray &window) const
{
    return QImage::fromData(run("import", {"-window", window, "png:-"}), "PNG").convertToFormat(QImage::Format_RGB32);
}

bool VirtualDisplay::click(const QByteArray &window, QPoint place) const
{
    bool succeeded = false;
    (void)run("xdotool",
              {"mousemove", "--window", window, QString::number(place.x()), QString::number(place.y()), "click", "1",
               "mousemove", "1279", "799"},
              &succeeded);
    return succeeded;
}

bool VirtualDisplay::press(const QByteArray &window, const QString &key) const
{
    bool succeeded = false;
    (void)run("xdotool", {"windowfocus", "--sync", window, "key", key}, &succeeded);
    return succeeded;
}

bool VirtualDisplay::hold(const QByteArray &window, const QString &key, int milliseconds) const
{
    bool succeeded = false;
    const QString seconds = QString::number(milliseconds / 1000.0);
    (void)run("xdotool", {"windowfocus", "--sync", window, "keydown", key, "sleep", seconds, "keyup", key}, &succeeded);
    return succeeded;
}

QByteArray VirtualDisplay::run(const QString &program, const QStringList &arguments, bool *succeeded) const
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", m_name);
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    const bool ended = process.waitForFinished(kPatienceMs);
    if (succeeded)
        *succeeded = ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    return process.readAllStandardOutput();
}
