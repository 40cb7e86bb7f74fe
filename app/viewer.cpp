#include "app/viewer.h"

#include "app/descriptiondocument.h"
#include "app/scanprogress.h"

#include <QIcon>
#include <QVector>

using namespace quorvale;

namespace {

constexpr qreal kDoubleDensity = 2.0;

} // namespace

// A static library's resources register only when asked to, and the macro needs the global namespace.
static void registerResources()
{
    Q_INIT_RESOURCE(viewer);
}

Viewer::Viewer(QWidget *parent, Qt::WindowFlags flags)
    : QMainWindow(parent, flags)
    , scanProgress(std::make_unique<ScanProgress>())
{
    registerResources();
    ui.setupUi(this);
    setWindowTitle(QStringLiteral("Quorvale"));
    // Thumbnails arrive from the scanner's thread by queued signal.
    qRegisterMetaType<QVector<QPixmap *>>("QVector<QPixmap *>");

    makeAccessible();
    makeHints();
    makeProgrammeCommands();
    ui.detailsEdit->setDocument(new DescriptionDocument(ui.detailsEdit)); // owned by the field
    ui.detailsEdit->setReadOnly(true);
    show();
    makeRoomForDates();
    connectForm();

    loadSettings();
    setWindowIcons();
    scanDrives();
    scanDisk();

    diskNotifier = new NewDiskNotifier;
    connect(diskNotifier, &NewDiskNotifier::disksChanged, this, &Viewer::collatedScan);
    diskWatch = std::make_unique<DiskWatch>(diskNotifier);
}

Viewer::~Viewer()
{
    if (scanTimerId >= 0)
        killTimer(scanTimerId);
    saveSettings();
    ui.thumbnailLabel->ClearThumbs();
    deleteThumbs();
    delete diskNotifier;
    diskWatch.reset();
}

void Viewer::connectForm()
{
    connect(ui.deviceList, &QTreeWidget::itemClicked, this, &Viewer::selectDevice);
    connect(ui.summaryList, &QListWidget::currentRowChanged, this, &Viewer::chooseProgramme);
    connect(ui.openButton, &QPushButton::clicked, this, &Viewer::openFinder);
    connect(ui.actionAbout, &QAction::triggered, this, &Viewer::About);
    connect(ui.actionPreferences, &QAction::triggered, this, &Viewer::Preferences);
    connect(ui.actionOpen_Directory, &QAction::triggered, this, &Viewer::openDVR);
    connect(ui.actionExport_Description, &QAction::triggered, this, &Viewer::exportMeta);
#ifndef Q_OS_MACOS
    // On macOS quitting belongs to the application menu, which finds the entry by its text.
    connect(ui.actionQuit, &QAction::triggered, qApp, &QCoreApplication::quit);
#endif
}

void Viewer::setWindowIcons()
{
    QPixmap dense(QStringLiteral(":/Icons/quorvale-icon128.png"));
    dense.setDevicePixelRatio(kDoubleDensity);
    QIcon icon;
    icon.addPixmap(QPixmap(QStringLiteral(":/Icons/quorvale-icon64.png")), QIcon::Normal, QIcon::Off);
    icon.addPixmap(dense, QIcon::Normal, QIcon::Off);
    setWindowIcon(icon);
}
