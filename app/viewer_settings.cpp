// The two settings, their store and their dialog.

#include "app/viewer.h"

#include "app/dateorder.h"
#include "app/listhints.h"
#include "app/qtversion.h"

#include <QComboBox>
#include <QDialog>
#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QLineEdit>
#include <QSettings>
#include <QStandardPaths>

#include <algorithm>
#include <memory>

using namespace quorvale;

namespace {

constexpr char kOrganisation[] = "quorvale.org";
constexpr char kApplication[] = "quorvale";
constexpr char kGroup[] = "Main";
constexpr char kMountPointKey[] = "mount_point";
constexpr char kDateFormatKey[] = "dateformat";

constexpr int kDialogSpacing = 10;
constexpr int kFormSpacing = 5;
constexpr int kPathWidth = 300; // a usual mount point fits

/// Where Qt would wait for a pipe, or read a device.
bool isNoFile(const QString &path)
{
    const QFileInfo file(path);
    return file.exists() && !file.isFile();
}

/// The two settings, in the store of Qt's default format: the system's own, unless the program has chosen another one
/// before the first window. Tests and trial.cpp choose a text file, because on macOS the system's store cannot be moved
/// away from the user's own. Where a pipe or a device is in the place of the file, there are the defaults, and nothing
/// is stored. Qt takes what is missing from files of the organisation and of the system: if one of these is none, from
/// none of them.
class SettingsStore
{
public:
    SettingsStore()
    {
        const QString application =
            QStringLiteral("/%1/%2.").arg(QLatin1String(kOrganisation), QLatin1String(kApplication));
        const QString organisation = QStringLiteral("/%1.").arg(QLatin1String(kOrganisation));
        const QFileInfo user = besideFilesOf(QSettings::UserScope);
        const QString own = user.path() + application + user.suffix();
        if (isNoFile(own) || isNoFile(own + QLatin1String(".lock"))) // which Qt reads before it writes
            return;
        QStringList folders = QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation);
        folders << user.path() << besideFilesOf(QSettings::SystemScope).path();
        const bool isAlone = std::any_of(folders.cbegin(), folders.cend(), [&](const QString &folder) {
            return isNoFile(folder + application + user.suffix()) || isNoFile(folder + organisation + user.suffix());
        });
        if (isAlone)
            m_settings = std::make_unique<QSettings>(own, QSettings::defaultFormat());
        else
            m_settings = std::make_unique<QSettings>(QSettings::defaultFormat(), QSettings::UserScope,
                                                     QLatin1String(kOrganisation), QLatin1String(kApplication));
        useUtf8(*m_settings);
        m_settings->beginGroup(QLatin1String(kGroup));
    }

    [[nodiscard]] QString value(const char *key, const QString &otherwise) const
    {
        return m_settings ? m_settings->value(QLatin1String(key), otherwise).toString() : otherwise;
    }
    void setValue(const char *key, const QString &value)
    {
        if (m_settings)
            m_settings->setValue(QLatin1String(key), value);
    }

private:
    // Qt names the folder of the files with one in it, which it opens; this one is not there.
    static QFileInfo besideFilesOf(QSettings::Scope scope)
    {
        return QFileInfo(QSettings(QSettings::defaultFormat(), scope, QLatin1String("beside.quorvale.org")).fileName());
    }

    std::unique_ptr<QSettings> m_settings; ///< null where Qt must not open it
};

} // namespace

void Viewer::loadSettings()
{
    const SettingsStore settings;
    mountPoint = settings.value(kMountPointKey, QStringLiteral("/Volumes"));
    // A missing date order means year first, but an unknown one leaves the order as it is.
    const QString stored = settings.value(kDateFormatKey, storedWord(DateOrder::YearFirst));
    if (const std::optional<DateOrder> order = dateOrderStoredAs(stored))
        dateFormat = static_cast<int>(*order);
}

void Viewer::saveSettings()
{
    const std::optional<DateOrder> order = dateOrder(dateFormat);
    SettingsStore settings;
    settings.setValue(kMountPointKey, mountPoint);
    settings.setValue(kDateFormatKey, order ? storedWord(*order) : QString());
}

void Viewer::Preferences()
{
    QDialog dialog(this);
    dialog.setWindowTitle(tr("Settings"));
    auto *layout = new QVBoxLayout(&dialog); // owned by the dialog, as is what follows
    layout->setSpacing(kDialogSpacing);
    auto *form = new QFormLayout;
    form->setSpacing(kFormSpacing);
    layout->addLayout(form);

    auto *mountPointEdit = new QLineEdit(mountPoint);
    mountPointEdit->setMinimumWidth(kPathWidth);
    mountPointEdit->setLayoutDirection(Qt::LeftToRight); // as paths read on every desktop
    form->addRow(tr("Drive Mount Point:"), mountPointEdit);
    auto *dateFormatBox = new QComboBox;
    for (const DateOrder order : kDateOrders)
        dateFormatBox->addItem(dateOrderText(order));
    dateFormatBox->setCurrentIndex(static_cast<int>(dateOrder(dateFormat).value_or(DateOrder::DayFirst)));
    form->addRow(tr("Date Format:"), dateFormatBox);

    dialog.exec(); // its content counts, however it is closed

    if (mountPoint != mountPointEdit->text()) {
        mountPoint = mountPointEdit->text();
        hintAtDevices(MountPointScan::Due);
    }
    if (const std::optional<DateOrder> chosen = dateOrder(dateFormatBox->currentIndex()))
        dateFormat = static_cast<int>(*chosen);
    if (currentProgramme >= 0)
        chooseProgramme(currentProgramme);
}
