#include "tests/app/programrun.h"

#include "tests/support/imagenumber.h"
#include "tests/support/viewerfixture.h"

#include <QtTest>

namespace {

constexpr int kPatienceMs = 30000;
constexpr const char *kThreadName = "Quorvale-Thumbn"; // The system keeps 15 letters of it.

QPoint placeIn(const QWidget &window, const QWidget *part, const QRect &rect)
{
    return part->mapTo(&window, rect.center());
}

bool differ(QRgb a, QRgb b)
{
    constexpr int kVisible = 8;
    return qAbs(qRed(a) - qRed(b)) > kVisible || qAbs(qGreen(a) - qGreen(b)) > kVisible ||
           qAbs(qBlue(a) - qBlue(b)) > kVisible;
}

// How many pixels differ from the window's plain background, which is seen at its lower left corner.
int paintedPixels(const QImage &look, const QRect &area)
{
    const QRgb background = look.pixel(2, look.height() - 3);
    int painted = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x)
            painted += differ(look.pixel(x, y), background) ? 1 : 0;
    }
    return painted;
}

} // namespace

WindowLayout WindowLayout::measure()
{
    ViewerFixture fixture;
    const Viewer &viewer = fixture.open();
    for (const char *name : {"one", "two", "three"}) {
        viewer.ui.summaryList->addItem(name);
        viewer.ui.deviceList->addTopLevelItem(new QTreeWidgetItem({name})); // owned by the list
    }
    QCoreApplication::processEvents();

    WindowLayout layout;
    layout.window = viewer.size();
    const QWidget *thumb = viewer.ui.thumbnailLabel;
    layout.pictures = QRect(thumb->mapTo(&viewer, QPoint()), thumb->size());
    layout.time = QRect(viewer.ui.timeEdit->mapTo(&viewer, QPoint()), viewer.ui.timeEdit->size());
    for (int i = 0; i < 3; ++i) {
        const QListWidget *list = viewer.ui.summaryList;
        const QTreeWidget *tree = viewer.ui.deviceList;
        layout.rows.push_back(placeIn(viewer, list->viewport(), list->visualItemRect(list->item(i))));
        layout.devices.push_back(placeIn(viewer, tree->viewport(), tree->visualItemRect(tree->topLevelItem(i))));
    }
    return layout;
}

ProgramRun::ProgramRun(const VirtualDisplay &display, const WindowLayout &layout)
    : m_display(display)
    , m_layout(layout)
{
}

ProgramRun::~ProgramRun()
{
    m_process.kill();
    m_process.waitForFinished(kPatienceMs);
}

QString ProgramRun::start(const QString &mountPoint, std::optional<int> dotsPerInch)
{
    const QString settings = m_folder.filePath("quorvale.org/quorvale.conf");
    QDir(m_folder.path()).mkpath("quorvale.org");
    QSettings(settings, QSettings::IniFormat).setValue("Main/mount_point", mountPoint);

    const QString opener = m_folder.filePath("xdg-open");
    if (!TestVolume::writeFile(opener, "#!/bin/sh\necho \"$*\" >>\"${0%/*}/opened\"\n") ||
        !QFile::setPermissions(opener, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
        return QStringLiteral("no stand-in for the desktop's opener");

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", m_display.name());
    environment.insert("QT_QPA_PLATFORM", "xcb");
    environment.insert("XDG_CONFIG_HOME", m_folder.path());
    environment.insert("XDG_RUNTIME_DIR", m_folder.path());
    environment.remove("WAYLAND_DISPLAY");
    if (dotsPerInch)
        environment.insert("QT_FONT_DPI", QString::number(*dotsPerInch));
    environment.insert("PATH", m_folder.path() + ':' + environment.value("PATH")); // for its own xdg-open
    environment.insert("LD_PRELOAD", QUORVALE_WAITING_OPEN);
    m_process.setProcessEnvironment(environment);
    m_process.start(QUORVALE_PROGRAM, QStringList());

    QElapsedTimer waiting;
    waiting.start();
    // A window can be found before it is as large as it will be.
    while (m_window.isEmpty() || look().size() != m_layout.window) {
        if (waiting.hasExpired(kPatienceMs) || !m_process.waitForStarted(kPatienceMs))
            return QStringLiteral("no window of the size that is expected");
        QTest::qWait(20);
        if (!isRunning())
            return "it ended at once: " + QString::fromLocal8Bit(said());
        m_window = m_display.window("Quorvale");
    }
    return {};
}

QByteArray ProgramRun::opened() const
{
    const QString log = m_folder.filePath("opened");
    return QFile::exists(log) ? TestVolume::readFile(log) : QByteArray();
}

std::optional<int> ProgramRun::exitCode()
{
    if (isRunning() && !m_process.waitForFinished(kPatienceMs))
        return std::nullopt;
    if (m_process.exitStatus() != QProcess::NormalExit)
        return std::nullopt;
    return m_process.exitCode();
}

QByteArray ProgramRun::said()
{
    m_said += m_process.readAllStandardError();
    return m_said;
}

int ProgramRun::scanThreads() const
{
    int threads = 0;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(m_process.processId()));
    for (const QString &task : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile name(tasks.filePath(task + "/comm"));
        threads += name.open(QIODevice::ReadOnly) && name.readAll().trimmed() == kThreadName ? 1 : 0;
    }
    return threads;
}

QByteArray ProgramRun::descriptorLimit() const
{
    QFile limits(QStringLiteral("/proc/%1/limits").arg(m_process.processId()));
    if (!limits.open(QIODevice::ReadOnly))
        return {};
    for (const QByteArray &line : limits.readAll().split('\n')) {
        const QList<QByteArray> words = line.simplified().split(' '); // Max open files 1024 4096 files
        if (line.startsWith("Max open files") && words.size() > 4)
            return words.at(3) + " of " + words.at(4);
    }
    return {};
}

QByteArray ProgramRun::settings() const
{
    QFile file(m_folder.filePath("quorvale.org/quorvale.conf"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool ProgramRun::showsRing(const QImage &look) const
{
    const QRect place = m_layout.pictures;
    QRect ring(0, 0, qMin(place.width(), place.height()) / 4, qMin(place.width(), place.height()) / 4);
    ring.moveCenter(place.center());
    const QRect beside(place.left(), place.top(), place.width() / 4, place.height());
    return paintedPixels(look, ring) > 0 && paintedPixels(look, beside) == 0;
}

QImage ProgramRun::picture(const QImage &look) const
{
    QRect area = m_layout.pictures;
    const auto isEmptyRow = [&](int y) {
        return paintedPixels(look, QRect(area.left(), y, area.width(), 1)) < area.width() / 2;
    };
    while (area.height() > 0 && isEmptyRow(area.top()))
        area.setTop(area.top() + 1);
    while (area.height() > 0 && isEmptyRow(area.bottom()))
        area.setBottom(area.bottom() - 1);
    return area.height() > 0 ? look.copy(area) : QImage();
}

std::optional<unsigned> ProgramRun::shownNumber(const QImage &look) const
{
    const QImage shown = picture(look);
    return shown.isNull() ? std::nullopt : numberIn(shown);
}
